// The spooler's bidi object answers bidi Get requests from the simulated machine's printers, with
// the HRESULTs Windows gives for each bad call.
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "testbstr.h"

#include <bidispl.h>
#include <msxml6.h>
#include <objbase.h>
#include <platform/simulatedmachine.h>
#include <platform/text.h>
#include <wrl/client.h>

#include "testmachine.h"

using Microsoft::WRL::ComPtr;

namespace {

const std::wstring kBidi = L"http://schemas.microsoft.com/windows/2005/03/printing/bidi";

using testsupport::Bstr;

std::wstring GetRequest(const std::wstring& schema)
{
    return L"<bidi:Get xmlns:bidi=\"" + kBidi + L"\"><Query schema='" + schema + L"'/></bidi:Get>";
}

platform::PrinterDescription Printer(const std::wstring& name, bool reachable)
{
    platform::PrinterDescription printer;
    printer.name = name;
    printer.port = L"USB001";
    printer.driverName = L"QX Mesa Class Driver";
    printer.bidiReachable = reachable;
    printer.bidiValues = {
        {L"\\Printer.DeviceInfo:MachineWidth", {L"BIDI_STRING", L"QXMESA_1118x2000"}},
        {L"\\Printer.DeviceInfo:Model", {L"BIDI_TEXT", L"Mesa <&> 'Large'"}},
        {L"\\Printer.PaperSource:DefaultSource", {L"BIDI_INT", L"2"}},
        {L"\\Printer.PaperSource:NotReady", {L"BIDI_INT", L"0"}},
        {L"\\Printer.PaperSource.Source1:Width", {L"BIDI_INT", L"25920"}},
        {L"\\Printer.PaperSource.Source1:InputInstalled", {L"BIDI_ENUM", L"installed"}},
        {L"\\Printer.PaperSource.Source2:Width", {L"BIDI_INT", L"31680"}},
        {L"\\Printer.PaperSourceTable:Rows", {L"BIDI_INT", L"9"}},  // a sibling name, not a member
    };
    return printer;
}

class Bidi : public testing::Test {
protected:
    void SetUp() override
    {
        testsupport::TestMachine::Get();
        platform::SimulatedMachine::AddPrinter(Printer(L"QX Mesa", true));
        platform::SimulatedMachine::AddPrinter(Printer(L"QX Offline", false));
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
        ASSERT_EQ(CoCreateInstance(CLSID_BidiSpl, nullptr, CLSCTX_INPROC_SERVER, IID_IBidiSpl2,
                                   reinterpret_cast<void**>(bidi_.GetAddressOf())),
                  S_OK);
    }
    void TearDown() override
    {
        bidi_.Reset();
        CoUninitialize();
    }

    std::wstring Ask(const std::wstring& request)
    {
        Bstr response;
        EXPECT_EQ(bidi_->SendRecvXMLString(Bstr(request), response.Out()), S_OK);
        return response.Text();
    }

    // The answer as the paper source reader reads it: Schema elements by name, through MSXML.
    ComPtr<IXMLDOMDocument2> Parse(const std::wstring& response)
    {
        ComPtr<IXMLDOMDocument2> doc;
        EXPECT_EQ(CoCreateInstance(CLSID_DOMDocument60, nullptr, CLSCTX_ALL, IID_IXMLDOMDocument2,
                                   reinterpret_cast<void**>(doc.GetAddressOf())),
                  S_OK);
        VARIANT_BOOL ok = VARIANT_FALSE;
        EXPECT_EQ(doc->loadXML(Bstr(response), &ok), S_OK) << platform::ToUtf8(response);
        return doc;
    }

    static std::wstring ValueOf(IXMLDOMDocument2* doc, const std::wstring& schema, const std::wstring& type)
    {
        ComPtr<IXMLDOMNode> node;
        const HRESULT hr = doc->selectSingleNode(Bstr(L"//Schema[@name='" + schema + L"']/" + type), &node);
        if (hr != S_OK) {
            return L"<absent>";
        }
        Bstr text;
        node->get_text(text.Out());
        return text.Text();
    }

    static long CountOf(IXMLDOMDocument2* doc, const std::wstring& path)
    {
        ComPtr<IXMLDOMNodeList> nodes;
        EXPECT_EQ(doc->selectNodes(Bstr(path), &nodes), S_OK);
        long count = 0;
        nodes->get_length(&count);
        return count;
    }

    ComPtr<IBidiSpl2> bidi_;
};

TEST_F(Bidi, TheResponseTextIsExact)
{
    ASSERT_EQ(bidi_->BindDevice(L"QX Mesa", BIDI_ACCESS_ADMINISTRATOR), S_OK);
    EXPECT_EQ(Ask(GetRequest(L"\\Printer.DeviceInfo:MachineWidth")),
              L"<bidi:Get xmlns:bidi=\"" + kBidi + L"\"><Query schema='\\Printer.DeviceInfo:MachineWidth'>"
              L"<Schema name='\\Printer.DeviceInfo:MachineWidth'><BIDI_STRING>QXMESA_1118x2000</BIDI_STRING></Schema>"
              L"</Query></bidi:Get>");
}

TEST_F(Bidi, AQueryAnswersEveryValueBelowItsSchemaName)
{
    ASSERT_EQ(bidi_->BindDevice(L"QX Mesa", BIDI_ACCESS_USER), S_OK);
    ComPtr<IXMLDOMDocument2> doc = Parse(Ask(GetRequest(L"\\Printer.PaperSource")));
    EXPECT_EQ(ValueOf(doc.Get(), L"\\Printer.PaperSource:DefaultSource", L"BIDI_INT"), L"2");
    EXPECT_EQ(ValueOf(doc.Get(), L"\\Printer.PaperSource:NotReady", L"BIDI_INT"), L"0");
    EXPECT_EQ(ValueOf(doc.Get(), L"\\Printer.PaperSource.Source1:Width", L"BIDI_INT"), L"25920");
    EXPECT_EQ(ValueOf(doc.Get(), L"\\Printer.PaperSource.Source1:InputInstalled", L"BIDI_ENUM"), L"installed");
    EXPECT_EQ(ValueOf(doc.Get(), L"\\Printer.PaperSource.Source2:Width", L"BIDI_INT"), L"31680");
    EXPECT_EQ(ValueOf(doc.Get(), L"\\Printer.PaperSourceTable:Rows", L"BIDI_INT"), L"<absent>");
    EXPECT_EQ(CountOf(doc.Get(), L"//Schema"), 5);

    // Every Query of a request is answered, in order, and markup in a text survives the answer.
    doc = Parse(Ask(L"<bidi:Get xmlns:bidi='" + kBidi + L"'><Query schema='\\Printer.PaperSource.Source2'/>"
                    L"<Query schema='\\Printer.DeviceInfo'/></bidi:Get>"));
    EXPECT_EQ(CountOf(doc.Get(), L"//Query"), 2);
    EXPECT_EQ(ValueOf(doc.Get(), L"\\Printer.PaperSource.Source2:Width", L"BIDI_INT"), L"31680");
    EXPECT_EQ(ValueOf(doc.Get(), L"\\Printer.DeviceInfo:MachineWidth", L"BIDI_STRING"), L"QXMESA_1118x2000");
    EXPECT_EQ(ValueOf(doc.Get(), L"\\Printer.DeviceInfo:Model", L"BIDI_TEXT"), L"Mesa <&> 'Large'");
}

TEST_F(Bidi, AQueryThePrinterCannotAnswerGivesAnEmptyQuery)
{
    ASSERT_EQ(bidi_->BindDevice(L"QX Mesa", BIDI_ACCESS_USER), S_OK);
    EXPECT_EQ(Ask(GetRequest(L"\\Printer.Layout")),
              L"<bidi:Get xmlns:bidi=\"" + kBidi + L"\"><Query schema='\\Printer.Layout'/></bidi:Get>");
    EXPECT_EQ(Ask(GetRequest(L"\\Printer.Paper")),
              L"<bidi:Get xmlns:bidi=\"" + kBidi + L"\"><Query schema='\\Printer.Paper'/></bidi:Get>")
        << "a name is matched by whole segments";
}

TEST_F(Bidi, BindingAnswersLikeTheSpoolerAndARequestNeedsABoundPrinter)
{
    Bstr response;
    EXPECT_EQ(bidi_->SendRecvXMLString(Bstr(GetRequest(L"\\Printer.DeviceInfo")), response.Out()), E_HANDLE);
    EXPECT_EQ(bidi_->BindDevice(L"No Such Printer", BIDI_ACCESS_USER), HRESULT_FROM_WIN32(ERROR_INVALID_PRINTER_NAME));
    EXPECT_EQ(bidi_->BindDevice(L"QX Offline", BIDI_ACCESS_USER), HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED));
    EXPECT_EQ(bidi_->BindDevice(nullptr, BIDI_ACCESS_USER), HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED));
    EXPECT_EQ(bidi_->BindDevice(L"QX Mesa", 0), E_INVALIDARG);
    EXPECT_EQ(bidi_->UnbindDevice(), E_HANDLE) << "nothing is bound after failed binds";

    EXPECT_EQ(bidi_->BindDevice(L"QX Mesa", BIDI_ACCESS_USER), S_OK);
    EXPECT_EQ(bidi_->BindDevice(L"QX Mesa", BIDI_ACCESS_USER), S_OK) << "binding again rebinds";
    EXPECT_EQ(bidi_->SendRecvXMLString(Bstr(GetRequest(L"\\Printer.DeviceInfo")), nullptr), E_POINTER);
    EXPECT_EQ(bidi_->UnbindDevice(), S_OK);
    EXPECT_EQ(bidi_->UnbindDevice(), E_HANDLE);
    EXPECT_EQ(bidi_->SendRecvXMLString(Bstr(GetRequest(L"\\Printer.DeviceInfo")), response.Out()), E_HANDLE);
}

TEST_F(Bidi, AMalformedRequestIsAnInvalidArgument)
{
    ASSERT_EQ(bidi_->BindDevice(L"QX Mesa", BIDI_ACCESS_USER), S_OK);
    const struct {
        std::wstring request;
        const char* why;
    } cases[] = {
        {L"", "empty"},
        {L"not xml", "not XML"},
        {L"<bidi:Get xmlns:bidi='" + kBidi + L"'><Query schema='\\Printer.DeviceInfo'>", "unclosed"},
        {L"<Get><Query schema='\\Printer.DeviceInfo'/></Get>", "no bidi namespace"},
        {L"<bidi:Get xmlns:bidi='urn:other'><Query schema='\\Printer.DeviceInfo'/></bidi:Get>", "another namespace"},
        {L"<bidi:Ask xmlns:bidi='" + kBidi + L"'><Query schema='\\Printer.DeviceInfo'/></bidi:Ask>", "unknown action"},
        {L"<bidi:Get xmlns:bidi='" + kBidi + L"'><Query/></bidi:Get>", "query without schema"},
        {L"<bidi:Get xmlns:bidi='" + kBidi + L"'><Question schema='\\Printer'/></bidi:Get>", "unknown element"},
        {L"<bidi:Get xmlns:bidi='" + kBidi + L"'>text</bidi:Get>", "stray text"},
        {L"<!DOCTYPE x [<!ENTITY e 'e'>]><bidi:Get xmlns:bidi='" + kBidi + L"'><Query schema='&e;'/></bidi:Get>", "DTD"},
    };
    for (const auto& c : cases) {
        Bstr response;
        EXPECT_EQ(bidi_->SendRecvXMLString(Bstr(c.request), response.Out()), E_INVALIDARG) << c.why;
        EXPECT_EQ(static_cast<BSTR>(response), nullptr) << c.why;
    }
    Bstr response;
    EXPECT_EQ(bidi_->SendRecvXMLString(nullptr, response.Out()), E_INVALIDARG);
}

TEST_F(Bidi, ThePrinterIsAskedAtEachRequest)
{
    ASSERT_EQ(bidi_->BindDevice(L"QX Mesa", BIDI_ACCESS_USER), S_OK);
    platform::PrinterDescription changed = Printer(L"QX Mesa", true);
    changed.bidiValues[L"\\Printer.DeviceInfo:MachineWidth"].text = L"QXMESA_914x2000";
    platform::SimulatedMachine::AddPrinter(changed);
    EXPECT_EQ(ValueOf(Parse(Ask(GetRequest(L"\\Printer.DeviceInfo"))).Get(), L"\\Printer.DeviceInfo:MachineWidth",
                      L"BIDI_STRING"),
              L"QXMESA_914x2000");

    changed.bidiReachable = false;
    platform::SimulatedMachine::AddPrinter(changed);
    Bstr response;
    EXPECT_EQ(bidi_->SendRecvXMLString(Bstr(GetRequest(L"\\Printer.DeviceInfo")), response.Out()),
              HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED));
    EXPECT_TRUE(response.IsNull());
    platform::SimulatedMachine::Clear();
    EXPECT_EQ(bidi_->SendRecvXMLString(Bstr(GetRequest(L"\\Printer.DeviceInfo")), response.Out()),
              HRESULT_FROM_WIN32(ERROR_PRINTER_DELETED));
}

// ---- paper sources

platform::PaperSource Source(DWORD number, const std::wstring& type, const std::wstring& installed,
                             std::optional<LONG> width, std::optional<LONG> length)
{
    platform::PaperSource source;
    source.number = number;
    source.type = type;
    source.installed = installed;
    source.width = width;
    source.length = length;
    return source;
}

// A loaded roll the printer has not measured yet, then the same roll measured.
platform::PaperSourceAnswer RollAnswer(LONG width)
{
    platform::PaperSourceAnswer answer;
    answer.sources = {Source(0, L"continuousRoll", L"engaged", width, 1000)};
    return answer;
}

class PaperSources : public Bidi {
protected:
    void Declare(const std::vector<platform::PaperSourceAnswer>& answers)
    {
        platform::PrinterDescription printer = Printer(L"QX Mesa", true);
        printer.paperSourceAnswers = answers;
        platform::SimulatedMachine::AddPrinter(printer);
    }

    std::wstring WidthOfSource1(const std::wstring& query = L"\\Printer.PaperSource")
    {
        return ValueOf(Parse(Ask(GetRequest(query))).Get(), L"\\Printer.PaperSource.Source1:Width", L"BIDI_INT");
    }
};

TEST_F(PaperSources, EachDeclaredValueIsOneEntryOfTheBidiSchema)
{
    platform::PaperSource tray = Source(0, L"sheetFeedAutoNonRemovableTray", L"installed", 31680, 50400);
    tray.notReady = false;
    tray.mediaProtected = 2;
    tray.id = 7;
    tray.name = L"Tray <1>";
    tray.vendor = L"QX Inc";
    platform::PaperSource manual = Source(3, L"sheetFeedManual", L"2", std::nullopt, std::nullopt);
    manual.installedType = L"BIDI_STRING";
    manual.notReady = true;
    platform::PaperSourceAnswer answer;
    answer.sources = {tray, manual};
    answer.defaultSource = 3;
    answer.notReadyMask = 6;
    Declare({answer});
    ASSERT_EQ(bidi_->BindDevice(L"QX Mesa", BIDI_ACCESS_USER), S_OK);

    const ComPtr<IXMLDOMDocument2> doc = Parse(Ask(GetRequest(L"\\Printer.PaperSource")));
    const struct {
        const wchar_t* schema;
        const wchar_t* type;
        const wchar_t* text;
    } entries[] = {
        {L"\\Printer.PaperSource.Source1:Width", L"BIDI_INT", L"31680"},
        {L"\\Printer.PaperSource.Source1:Length", L"BIDI_INT", L"50400"},
        {L"\\Printer.PaperSource.Source1:Type", L"BIDI_ENUM", L"sheetFeedAutoNonRemovableTray"},
        {L"\\Printer.PaperSource.Source1:InputInstalled", L"BIDI_ENUM", L"installed"},
        {L"\\Printer.PaperSource.Source1:NotReady", L"BIDI_BOOL", L"false"},
        {L"\\Printer.PaperSource.Source1:MediaProtected", L"BIDI_INT", L"2"},
        {L"\\Printer.PaperSource.Source1:Id", L"BIDI_INT", L"7"},
        {L"\\Printer.PaperSource.Source1:Name", L"BIDI_STRING", L"Tray <1>"},
        {L"\\Printer.PaperSource.Source1:Vendor", L"BIDI_STRING", L"QX Inc"},
        {L"\\Printer.PaperSource.Source3:Type", L"BIDI_ENUM", L"sheetFeedManual"},
        {L"\\Printer.PaperSource.Source3:InputInstalled", L"BIDI_STRING", L"2"},
        {L"\\Printer.PaperSource.Source3:NotReady", L"BIDI_BOOL", L"true"},
        {L"\\Printer.PaperSource:DefaultSource", L"BIDI_INT", L"3"},
        {L"\\Printer.PaperSource:NotReady", L"BIDI_INT", L"6"},
        // Declared besides the answer, and answered with it.
        {L"\\Printer.PaperSource.Source2:Width", L"BIDI_INT", L"31680"},
    };
    for (const auto& entry : entries) {
        EXPECT_EQ(ValueOf(doc.Get(), entry.schema, entry.type), entry.text) << platform::ToUtf8(entry.schema);
    }
    EXPECT_EQ(CountOf(doc.Get(), L"//Schema"), static_cast<long>(std::size(entries)))
        << "values left unset are not reported, and each entry is answered once";
    EXPECT_EQ(CountOf(doc.Get(), L"//Schema[starts-with(@name, '\\Printer.PaperSource.Source3:')]"), 3);
}

TEST_F(PaperSources, EachPaperSourceQueryTakesTheNextAnswerAndTheLastRepeats)
{
    Declare({RollAnswer(0), RollAnswer(31680)});
    ASSERT_EQ(bidi_->BindDevice(L"QX Mesa", BIDI_ACCESS_USER), S_OK);
    EXPECT_EQ(platform::SimulatedMachine::PaperSourceQueries(L"QX Mesa"), 0u);

    EXPECT_EQ(WidthOfSource1(), L"0") << "the roll is loaded but not measured yet";
    // A request for other values is not a paper source query and leaves the sequence where it is.
    Ask(GetRequest(L"\\Printer.DeviceInfo"));
    EXPECT_EQ(platform::SimulatedMachine::PaperSourceQueries(L"qx mesa"), 1u);
    EXPECT_EQ(WidthOfSource1(L"\\Printer.PaperSource.Source1:Width"), L"31680");
    EXPECT_EQ(WidthOfSource1(L"\\Printer"), L"31680");
    EXPECT_EQ(platform::SimulatedMachine::PaperSourceQueries(L"QX Mesa"), 3u);

    // One request with two paper source queries is one query of the printer: both see one answer.
    Declare({RollAnswer(0), RollAnswer(31680)});
    const ComPtr<IXMLDOMDocument2> doc =
        Parse(Ask(L"<bidi:Get xmlns:bidi='" + kBidi + L"'><Query schema='\\Printer.PaperSource.Source1'/>"
                  L"<Query schema='\\Printer.PaperSource:DefaultSource'/></bidi:Get>"));
    EXPECT_EQ(ValueOf(doc.Get(), L"\\Printer.PaperSource.Source1:Width", L"BIDI_INT"), L"0")
        << "a printer added anew starts its answers over";
    EXPECT_EQ(platform::SimulatedMachine::PaperSourceQueries(L"QX Mesa"), 1u);
    EXPECT_EQ(WidthOfSource1(), L"31680");
}

}  // namespace
