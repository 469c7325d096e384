// The spooler's bidi object answers bidi Get requests from the simulated machine's printers, with
// the HRESULTs Windows gives for each bad call.
#include <string>

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

    ComPtr<IBidiSpl2> bidi_;
};

TEST_F(Bidi, TheMesaWidthQueryIsAnsweredInTheResponseSchema)
{
    ASSERT_EQ(bidi_->BindDevice(L"QX Mesa", BIDI_ACCESS_USER), S_OK);
    const std::wstring response = Ask(GetRequest(L"\\Printer.DeviceInfo"));
    ComPtr<IXMLDOMDocument2> doc = Parse(response);
    EXPECT_EQ(ValueOf(doc.Get(), L"\\Printer.DeviceInfo:MachineWidth", L"BIDI_STRING"), L"QXMESA_1118x2000");
    EXPECT_EQ(ValueOf(doc.Get(), L"\\Printer.DeviceInfo:Model", L"BIDI_TEXT"), L"Mesa <&> 'Large'");

    ComPtr<IXMLDOMElement> root;
    ASSERT_EQ(doc->get_documentElement(&root), S_OK);
    Bstr text;
    root->get_baseName(text.Out());
    EXPECT_EQ(text.Text(), L"Get");
    root->get_namespaceURI(text.Out());
    EXPECT_EQ(text.Text(), kBidi);
    ComPtr<IXMLDOMNode> query;
    ASSERT_EQ(root->selectSingleNode(Bstr(L"Query/@schema"), &query), S_OK);
    query->get_text(text.Out());
    EXPECT_EQ(text.Text(), L"\\Printer.DeviceInfo");
    EXPECT_EQ(bidi_->UnbindDevice(), S_OK);
}

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
    ComPtr<IXMLDOMNodeList> schemas;
    ASSERT_EQ(doc->selectNodes(Bstr(L"//Schema"), &schemas), S_OK);
    long count = 0;
    schemas->get_length(&count);
    EXPECT_EQ(count, 5);

    // Every Query of a request is answered, in order.
    doc = Parse(Ask(L"<bidi:Get xmlns:bidi='" + kBidi + L"'><Query schema='\\Printer.PaperSource.Source2'/>"
                    L"<Query schema='\\Printer.DeviceInfo:MachineWidth'/></bidi:Get>"));
    ASSERT_EQ(doc->selectNodes(Bstr(L"//Query"), &schemas), S_OK);
    schemas->get_length(&count);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(ValueOf(doc.Get(), L"\\Printer.PaperSource.Source2:Width", L"BIDI_INT"), L"31680");
    EXPECT_EQ(ValueOf(doc.Get(), L"\\Printer.DeviceInfo:MachineWidth", L"BIDI_STRING"), L"QXMESA_1118x2000");
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

TEST_F(Bidi, BindingAnswersLikeTheSpooler)
{
    EXPECT_EQ(bidi_->BindDevice(L"No Such Printer", BIDI_ACCESS_USER), HRESULT_FROM_WIN32(ERROR_INVALID_PRINTER_NAME));
    EXPECT_EQ(bidi_->BindDevice(L"QX Offline", BIDI_ACCESS_USER), HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED));
    EXPECT_EQ(bidi_->BindDevice(nullptr, BIDI_ACCESS_USER), HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED));
    EXPECT_EQ(bidi_->BindDevice(L"QX Mesa", 0), E_INVALIDARG);
    EXPECT_EQ(bidi_->UnbindDevice(), E_HANDLE) << "nothing is bound after failed binds";

    EXPECT_EQ(bidi_->BindDevice(L"QX Mesa", BIDI_ACCESS_USER), S_OK);
    EXPECT_EQ(bidi_->BindDevice(L"QX Mesa", BIDI_ACCESS_USER), S_OK) << "binding again rebinds";
    EXPECT_EQ(bidi_->UnbindDevice(), S_OK);
    EXPECT_EQ(bidi_->UnbindDevice(), E_HANDLE);
}

TEST_F(Bidi, ARequestNeedsABoundPrinter)
{
    Bstr response;
    EXPECT_EQ(bidi_->SendRecvXMLString(Bstr(GetRequest(L"\\Printer.DeviceInfo")), response.Out()), E_HANDLE);
    ASSERT_EQ(bidi_->BindDevice(L"QX Mesa", BIDI_ACCESS_USER), S_OK);
    ASSERT_EQ(bidi_->UnbindDevice(), S_OK);
    EXPECT_EQ(bidi_->SendRecvXMLString(Bstr(GetRequest(L"\\Printer.DeviceInfo")), response.Out()), E_HANDLE);
    EXPECT_EQ(bidi_->SendRecvXMLString(Bstr(GetRequest(L"\\Printer.DeviceInfo")), nullptr), E_POINTER);
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
}

}  // namespace
