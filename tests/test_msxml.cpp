// The MSXML 6 DOM stand-in answers as MSXML does: exact HRESULTs, XPath 1.0 with the namespace
// axis over Print Schema tickets, safe loading, and edits that show in the markup.
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include <msxml6.h>
#include <objbase.h>
#include <platform/machine.h>
#include <platform/text.h>
#include <wrl/client.h>

#include "testmachine.h"

using Microsoft::WRL::ComPtr;
namespace fs = std::filesystem;

namespace {

const std::wstring kPsf = L"http://schemas.microsoft.com/windows/2003/08/printing/printschemaframework";
const std::wstring kPsk = L"http://schemas.microsoft.com/windows/2003/08/printing/printschemakeywords";
const std::wstring kXsi = L"http://www.w3.org/2001/XMLSchema-instance";
const std::wstring kXsd = L"http://www.w3.org/2001/XMLSchema";
const std::wstring kPrivate = L"http://schemas.example.com/lfp/ptpc/2006/1";

// An owned BSTR.
class Bstr {
public:
    Bstr() = default;
    Bstr(const std::wstring& text) : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
    ~Bstr() { SysFreeString(text_); }
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;

    operator BSTR() const { return text_; }
    BSTR* Out()
    {
        SysFreeString(text_);
        text_ = nullptr;
        return &text_;
    }
    std::wstring Text() const { return text_ == nullptr ? std::wstring() : std::wstring(text_, SysStringLen(text_)); }
    bool IsNull() const { return text_ == nullptr; }

private:
    BSTR text_ = nullptr;
};

// An owned VARIANT.
class Variant {
public:
    Variant() { VariantInit(&value_); }
    static Variant Text(const std::wstring& text)
    {
        Variant v;
        v.value_.vt = VT_BSTR;
        v.value_.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
        return v;
    }
    static Variant Int(LONG number)
    {
        Variant v;
        v.value_.vt = VT_I4;
        v.value_.lVal = number;
        return v;
    }
    static Variant Bool(bool flag)
    {
        Variant v;
        v.value_.vt = VT_BOOL;
        v.value_.boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE;
        return v;
    }
    static Variant Unknown(IUnknown* object)
    {
        Variant v;
        v.value_.vt = VT_UNKNOWN;
        v.value_.punkVal = object;
        object->AddRef();
        return v;
    }
    Variant(Variant&& other) noexcept : value_(other.value_) { VariantInit(&other.value_); }
    ~Variant() { VariantClear(&value_); }
    Variant(const Variant&) = delete;
    Variant& operator=(const Variant&) = delete;

    operator VARIANT() const { return value_; }
    VARIANT* Out()
    {
        VariantClear(&value_);
        return &value_;
    }
    const VARIANT& Get() const { return value_; }

private:
    VARIANT value_;
};

const std::wstring kTicket = L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                             L"<psf:PrintTicket xmlns:psf=\"" + kPsf + L"\"\n"
                             L"    xmlns:psk=\"" + kPsk + L"\"\n"
                             L"    xmlns:xsi=\"" + kXsi + L"\" xmlns:xsd=\"" + kXsd + L"\"\n"
                             L"    xmlns:ns0001=\"" + kPrivate + L"\" version=\"1\">\n"
                             L"  <psf:Feature name=\"ns0001:JobInputBin\">\n"
                             L"    <psf:Option name=\"ns0001:Roll\"/>\n"
                             L"  </psf:Feature>\n"
                             L"  <psf:Feature name=\"psk:JobInputBin\">\n"
                             L"    <psf:Option name=\"psk:AutoSelect\"/>\n"
                             L"  </psf:Feature>\n"
                             L"  <psf:Feature name=\"psk:PageMediaSize\">\n"
                             L"    <psf:Option name=\"psk:ISOA4\">\n"
                             L"      <psf:ScoredProperty name=\"psk:MediaSizeWidth\">\n"
                             L"        <psf:Value xsi:type=\"xsd:integer\">210000</psf:Value>\n"
                             L"      </psf:ScoredProperty>\n"
                             L"    </psf:Option>\n"
                             L"  </psf:Feature>\n"
                             L"  <psf:ParameterInit name=\"psk:JobCopiesAllDocuments\">\n"
                             L"    <psf:Value xsi:type=\"xsd:integer\">3</psf:Value>\n"
                             L"  </psf:ParameterInit>\n"
                             L"  <psf:ParameterInit name=\"ns0001:JobPin\">\n"
                             L"    <psf:Value xsi:type=\"xsd:string\">12&amp;34</psf:Value>\n"
                             L"  </psf:ParameterInit>\n"
                             L"</psf:PrintTicket>\n";

// The same ticket as another producer writes it: other prefixes for every namespace.
const std::wstring kTicketWithOtherPrefixes =
    L"<f:PrintTicket xmlns:f=\"" + kPsf + L"\" xmlns:ns0002=\"" + kPsk + L"\" xmlns:i=\"" + kXsi +
    L"\" xmlns:s=\"" + kXsd + L"\" version=\"1\">"
    L"<f:Feature name=\"ns0002:JobInputBin\"><f:Option name=\"ns0002:AutoSelect\"/></f:Feature>"
    L"<f:ParameterInit name=\"ns0002:JobCopiesAllDocuments\"><f:Value i:type=\"s:integer\">3</f:Value></f:ParameterInit>"
    L"</f:PrintTicket>";

std::wstring OptionQuery(const std::wstring& feature, const std::wstring& uri)
{
    return L"psf:PrintTicket/psf:Feature[substring-after(@name,':')='" + feature + L"'][name(namespace::*[.='" + uri +
           L"'])=substring-before(@name,':')]/psf:Option/@name";
}

std::wstring ParameterQuery(const std::wstring& parameter, const std::wstring& uri)
{
    return L"psf:PrintTicket/psf:ParameterInit[substring-after(@name,':')='" + parameter + L"'][name(namespace::*[.='" +
           uri + L"'])=substring-before(@name,':')]/psf:Value";
}

class Dom : public testing::Test {
protected:
    void SetUp() override
    {
        testsupport::TestMachine::Get();
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
        ASSERT_EQ(CoCreateInstance(CLSID_DOMDocument60, nullptr, CLSCTX_ALL, IID_IXMLDOMDocument2,
                                   reinterpret_cast<void**>(doc_.GetAddressOf())),
                  S_OK);
    }
    void TearDown() override
    {
        doc_.Reset();
        CoUninitialize();
    }

    HRESULT LoadXml(const std::wstring& text, VARIANT_BOOL* ok = nullptr)
    {
        VARIANT_BOOL success = VARIANT_TRUE;
        const HRESULT hr = doc_->loadXML(Bstr(text), &success);
        if (ok != nullptr) {
            *ok = success;
        }
        return hr;
    }
    void LoadTicket(const std::wstring& text)
    {
        VARIANT_BOOL ok = VARIANT_FALSE;
        ASSERT_EQ(LoadXml(text, &ok), S_OK);
        ASSERT_EQ(ok, VARIANT_TRUE);
        ASSERT_EQ(doc_->setProperty(Bstr(L"SelectionNamespaces"), Variant::Text(L"xmlns:psf='" + kPsf + L"'")), S_OK);
    }
    ComPtr<IXMLDOMNode> Select(const std::wstring& query, IXMLDOMNode* context = nullptr)
    {
        ComPtr<IXMLDOMNode> node;
        const HRESULT hr = (context != nullptr ? context : doc_.Get())->selectSingleNode(Bstr(query), &node);
        EXPECT_EQ(hr, S_OK) << "query " << platform::ToUtf8(query);
        return node;
    }
    static std::wstring TypedValue(IXMLDOMNode* node)
    {
        Variant value;
        EXPECT_EQ(node->get_nodeTypedValue(value.Out()), S_OK);
        EXPECT_EQ(value.Get().vt, VT_BSTR);
        return value.Get().vt == VT_BSTR ? std::wstring(value.Get().bstrVal) : std::wstring();
    }
    static std::wstring TextOf(IXMLDOMNode* node)
    {
        Bstr text;
        EXPECT_EQ(node->get_text(text.Out()), S_OK);
        return text.Text();
    }
    static std::wstring XmlOf(IXMLDOMNode* node)
    {
        Bstr xml;
        EXPECT_EQ(node->get_xml(xml.Out()), S_OK);
        return xml.Text();
    }
    ComPtr<IXMLDOMElement> Root()
    {
        ComPtr<IXMLDOMElement> root;
        EXPECT_EQ(doc_->get_documentElement(&root), S_OK);
        return root;
    }

    ComPtr<IXMLDOMDocument2> doc_;
};

// ---------------------------------------------------------------------------------------------
// Creation and identity

TEST_F(Dom, IsServedByCoCreateInstanceWithItsInterfaceChain)
{
    ComPtr<IXMLDOMDocument> document;
    EXPECT_EQ(doc_.As(&document), S_OK);
    ComPtr<IXMLDOMNode> node;
    EXPECT_EQ(doc_.As(&node), S_OK);
    ComPtr<IXMLDOMElement> element;
    EXPECT_EQ(doc_.As(&element), E_NOINTERFACE);

    DOMNodeType type = NODE_INVALID;
    EXPECT_EQ(doc_->get_nodeType(&type), S_OK);
    EXPECT_EQ(type, NODE_DOCUMENT);
    Bstr name;
    EXPECT_EQ(doc_->get_nodeName(name.Out()), S_OK);
    EXPECT_EQ(name.Text(), L"#document");
    ComPtr<IXMLDOMElement> root;
    EXPECT_EQ(doc_->get_documentElement(&root), S_FALSE) << "a new document is empty";
    EXPECT_EQ(root.Get(), nullptr);
    ComPtr<IXMLDOMDocument> owner;
    EXPECT_EQ(doc_->get_ownerDocument(&owner), S_FALSE);
}

TEST_F(Dom, PropertiesFollowMsxml6)
{
    Variant value;
    EXPECT_EQ(doc_->getProperty(Bstr(L"SelectionLanguage"), value.Out()), S_OK);
    EXPECT_EQ(std::wstring(value.Get().bstrVal), L"XPath");
    EXPECT_EQ(doc_->setProperty(Bstr(L"SelectionLanguage"), Variant::Text(L"XPath")), S_OK);
    EXPECT_EQ(doc_->setProperty(Bstr(L"SelectionLanguage"), Variant::Text(L"XSLPattern")), E_FAIL);

    const std::wstring namespaces = L"xmlns:psf='" + kPsf + L"' xmlns:psk=\"" + kPsk + L"\"";
    EXPECT_EQ(doc_->setProperty(Bstr(L"SelectionNamespaces"), Variant::Text(namespaces)), S_OK);
    EXPECT_EQ(doc_->getProperty(Bstr(L"SelectionNamespaces"), value.Out()), S_OK);
    EXPECT_EQ(std::wstring(value.Get().bstrVal), namespaces);
    for (const wchar_t* malformed : {L"xmlns:psf=" , L"psf='x'", L"xmlns:psf='x", L"xmlns:1a='x'", L"xmlns:a='x'xmlns:b='y'"}) {
        EXPECT_EQ(doc_->setProperty(Bstr(L"SelectionNamespaces"), Variant::Text(malformed)), E_FAIL) << platform::ToUtf8(malformed);
    }
    EXPECT_EQ(doc_->setProperty(Bstr(L"SelectionNamespaces"), Variant::Int(1)), E_INVALIDARG);

    EXPECT_EQ(doc_->getProperty(Bstr(L"ProhibitDTD"), value.Out()), S_OK);
    EXPECT_EQ(value.Get().vt, VT_BOOL);
    EXPECT_EQ(value.Get().boolVal, VARIANT_TRUE);
    EXPECT_EQ(doc_->getProperty(Bstr(L"MaxElementDepth"), value.Out()), S_OK);
    EXPECT_EQ(value.Get().lVal, 256);

    EXPECT_EQ(doc_->setProperty(Bstr(L"NoSuchProperty"), Variant::Int(1)), E_FAIL);
    EXPECT_EQ(doc_->getProperty(Bstr(L"NoSuchProperty"), value.Out()), E_FAIL);
}

// ---------------------------------------------------------------------------------------------
// Loading

TEST_F(Dom, LoadsATicketFromAnIStreamReadToItsEnd)
{
    const std::string bytes = platform::ToUtf8(kTicket);
    ComPtr<IStream> stream;
    ASSERT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, &stream), S_OK);
    ULONG written = 0;
    ASSERT_EQ(stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written), S_OK);
    LARGE_INTEGER start{};
    ASSERT_EQ(stream->Seek(start, STREAM_SEEK_SET, nullptr), S_OK);

    VARIANT_BOOL ok = VARIANT_FALSE;
    EXPECT_EQ(doc_->load(Variant::Unknown(stream.Get()), &ok), S_OK);
    EXPECT_EQ(ok, VARIANT_TRUE);
    Bstr tag;
    ASSERT_EQ(Root()->get_tagName(tag.Out()), S_OK);
    EXPECT_EQ(tag.Text(), L"psf:PrintTicket");
}

TEST_F(Dom, LoadsAStreamInTheEncodingItDeclares)
{
    const std::u16string utf16 = platform::ToUtf16(L"<?xml version=\"1.0\" encoding=\"UTF-16\"?><r>\u00e9\u20ac</r>");
    std::string bytes = "\xFF\xFE";
    for (char16_t unit : utf16) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    ComPtr<IStream> stream;
    ASSERT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, &stream), S_OK);
    ASSERT_EQ(stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr), S_OK);
    LARGE_INTEGER start{};
    ASSERT_EQ(stream->Seek(start, STREAM_SEEK_SET, nullptr), S_OK);
    VARIANT_BOOL ok = VARIANT_FALSE;
    EXPECT_EQ(doc_->load(Variant::Unknown(stream.Get()), &ok), S_OK);
    EXPECT_EQ(TextOf(Root().Get()), L"\u00e9\u20ac");
    EXPECT_EQ(XmlOf(Root().Get()), L"<r>\u00e9\u20ac</r>");

    // loadXML takes wide text: a declared encoding does not apply to it.
    EXPECT_EQ(LoadXml(L"<?xml version=\"1.0\" encoding=\"UTF-16\"?><r>\u00e9</r>", &ok), S_OK);
    EXPECT_EQ(TextOf(Root().Get()), L"\u00e9");
}

TEST_F(Dom, LoadsAFileOfTheMachineByItsWindowsPathButNothingElse)
{
    const auto host = platform::HostPathOf(L"C:\\Tickets\\ticket.xml");
    ASSERT_TRUE(host);
    fs::create_directories(fs::path(*host).parent_path());
    std::ofstream(*host) << platform::ToUtf8(kTicket);

    VARIANT_BOOL ok = VARIANT_FALSE;
    EXPECT_EQ(doc_->load(Variant::Text(L"C:\\Tickets\\ticket.xml"), &ok), S_OK);
    EXPECT_EQ(ok, VARIANT_TRUE);
    EXPECT_EQ(doc_->load(Variant::Text(L"C:\\Tickets\\missing.xml"), &ok), S_FALSE);
    EXPECT_EQ(ok, VARIANT_FALSE);
    EXPECT_EQ(doc_->load(Variant::Text(L"http://127.0.0.1:1/ticket.xml"), &ok), S_FALSE);
    EXPECT_EQ(doc_->load(Variant::Int(5), &ok), E_INVALIDARG);
}

TEST_F(Dom, AFailedLoadAnswersSFalseAndLeavesTheDocumentEmpty)
{
    LoadTicket(kTicket);
    const struct {
        const wchar_t* text;
        const char* why;
    } cases[] = {
        {L"", "empty"},
        {L"garbage", "no markup"},
        {L"<a><b></a>", "mismatched tags"},
        {L"<a/><b/>", "two document elements"},
        {L"<a xmlns:p='urn:p'><q:b/></a>", "undeclared prefix"},
        {L"<a>&undefined;</a>", "undefined entity"},
    };
    for (const auto& c : cases) {
        VARIANT_BOOL ok = VARIANT_TRUE;
        EXPECT_EQ(LoadXml(c.text, &ok), S_FALSE) << c.why;
        EXPECT_EQ(ok, VARIANT_FALSE) << c.why;
        ComPtr<IXMLDOMElement> root;
        EXPECT_EQ(doc_->get_documentElement(&root), S_FALSE) << c.why;
        ComPtr<IXMLDOMParseError> error;
        ASSERT_EQ(doc_->get_parseError(&error), S_OK);
        Bstr reason;
        EXPECT_EQ(error->get_reason(reason.Out()), S_OK) << c.why;
        EXPECT_FALSE(reason.Text().empty()) << c.why;
    }
    LoadTicket(kTicket);
    ComPtr<IXMLDOMParseError> error;
    ASSERT_EQ(doc_->get_parseError(&error), S_OK);
    long code = -1;
    EXPECT_EQ(error->get_errorCode(&code), S_FALSE);
    EXPECT_EQ(code, 0);
}

TEST_F(Dom, WhitespaceOnlyTextIsDroppedUnlessPreserved)
{
    LoadTicket(kTicket);
    ComPtr<IXMLDOMNode> first;
    ASSERT_EQ(Root()->get_firstChild(&first), S_OK);
    DOMNodeType type = NODE_INVALID;
    first->get_nodeType(&type);
    EXPECT_EQ(type, NODE_ELEMENT);

    ASSERT_EQ(doc_->put_preserveWhiteSpace(VARIANT_TRUE), S_OK);
    LoadTicket(kTicket);
    ASSERT_EQ(Root()->get_firstChild(&first), S_OK);
    first->get_nodeType(&type);
    EXPECT_EQ(type, NODE_TEXT);
}

// ---------------------------------------------------------------------------------------------
// Safe parsing

TEST_F(Dom, ABillionLaughsDocumentIsRefusedQuickly)
{
    std::wstring lol = L"<?xml version=\"1.0\"?><!DOCTYPE lolz [<!ENTITY lol \"lol\">";
    for (int level = 1; level <= 9; ++level) {
        lol += L"<!ENTITY lol" + std::to_wstring(level) + L" \"";
        for (int i = 0; i < 10; ++i) {
            lol += level == 1 ? L"&lol;" : L"&lol" + std::to_wstring(level - 1) + L";";
        }
        lol += L"\">";
    }
    lol += L"]><lolz>&lol9;</lolz>";

    for (const bool prohibitDtd : {true, false}) {
        ASSERT_EQ(doc_->setProperty(Bstr(L"ProhibitDTD"), Variant::Bool(prohibitDtd)), S_OK);
        const auto started = std::chrono::steady_clock::now();
        VARIANT_BOOL ok = VARIANT_TRUE;
        EXPECT_EQ(LoadXml(lol, &ok), S_FALSE) << "ProhibitDTD " << prohibitDtd;
        EXPECT_EQ(ok, VARIANT_FALSE);
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
    }
}

TEST_F(Dom, ExternalEntitiesAndDtdsAreNeverFetched)
{
    const fs::path secret = testsupport::TestMachine::Get().Root() / "secret.txt";
    std::ofstream(secret) << "TOPSECRET";
    const std::wstring url = L"file://" + platform::FromUtf8(secret.string());
    const std::wstring entity = L"<!DOCTYPE r [<!ENTITY x SYSTEM \"" + url + L"\">]><r>&x;</r>";
    const std::wstring externalDtd = L"<!DOCTYPE r SYSTEM \"" + url + L"\"><r/>";

    VARIANT_BOOL ok = VARIANT_TRUE;
    EXPECT_EQ(LoadXml(entity, &ok), S_FALSE) << "MSXML 6 prohibits DTDs by default";
    ComPtr<IXMLDOMParseError> error;
    ASSERT_EQ(doc_->get_parseError(&error), S_OK);
    Bstr reason;
    error->get_reason(reason.Out());
    EXPECT_NE(reason.Text().find(L"DTD"), std::wstring::npos);

    ASSERT_EQ(doc_->setProperty(Bstr(L"ProhibitDTD"), Variant::Bool(false)), S_OK);
    for (const std::wstring& text : {entity, externalDtd}) {
        EXPECT_EQ(LoadXml(text, &ok), S_OK) << "an allowed DTD loads, without what it refers to";
        EXPECT_EQ(XmlOf(doc_.Get()).find(L"TOPSECRET"), std::wstring::npos);
        EXPECT_EQ(TextOf(doc_.Get()).find(L"TOPSECRET"), std::wstring::npos);
    }
    EXPECT_EQ(LoadXml(L"<!DOCTYPE r [<!ENTITY e 'inner'>]><r>a&e;b</r>", &ok), S_OK);
    EXPECT_EQ(TextOf(doc_.Get()), L"ainnerb") << "an internal entity still reads as its text";
}

TEST_F(Dom, NestingDeeperThanTheLimitIsRefused)
{
    const auto nested = [](int depth) {
        std::wstring text;
        for (int i = 0; i < depth; ++i) {
            text += L"<e>";
        }
        for (int i = 0; i < depth; ++i) {
            text += L"</e>";
        }
        return text;
    };
    EXPECT_EQ(LoadXml(nested(256)), S_OK);
    EXPECT_EQ(LoadXml(nested(257)), S_FALSE);
    EXPECT_EQ(LoadXml(nested(100000)), S_FALSE);
    ASSERT_EQ(doc_->setProperty(Bstr(L"MaxElementDepth"), Variant::Int(10)), S_OK);
    EXPECT_EQ(LoadXml(nested(10)), S_OK);
    EXPECT_EQ(LoadXml(nested(11)), S_FALSE);
    EXPECT_EQ(doc_->setProperty(Bstr(L"MaxElementDepth"), Variant::Int(-1)), E_INVALIDARG);
}

// ---------------------------------------------------------------------------------------------
// XPath over Print Schema tickets

TEST_F(Dom, KeywordsAreFoundByNamespaceUriWhateverTheirPrefix)
{
    for (const std::wstring& ticket : {kTicket, kTicketWithOtherPrefixes}) {
        LoadTicket(ticket);
        ComPtr<IXMLDOMNode> option = Select(OptionQuery(L"JobInputBin", kPsk));
        ASSERT_TRUE(option);
        const std::wstring name = TypedValue(option.Get());
        EXPECT_EQ(name.substr(name.find(L':') + 1), L"AutoSelect");
        DOMNodeType type = NODE_INVALID;
        EXPECT_EQ(option->get_nodeType(&type), S_OK);
        EXPECT_EQ(type, NODE_ATTRIBUTE);

        ComPtr<IXMLDOMNode> copies = Select(ParameterQuery(L"JobCopiesAllDocuments", kPsk));
        ASSERT_TRUE(copies);
        EXPECT_EQ(TypedValue(copies.Get()), L"3");
    }
}

TEST_F(Dom, AKeywordBoundToAnotherNamespaceIsNotTaken)
{
    LoadTicket(kTicket);
    ComPtr<IXMLDOMNode> option = Select(OptionQuery(L"JobInputBin", kPrivate));
    ASSERT_TRUE(option);
    EXPECT_EQ(TypedValue(option.Get()), L"ns0001:Roll");
    option = Select(OptionQuery(L"JobInputBin", kPsk));
    ASSERT_TRUE(option);
    EXPECT_EQ(TypedValue(option.Get()), L"psk:AutoSelect") << "the first feature is the private one";

    ComPtr<IXMLDOMNode> pin = Select(ParameterQuery(L"JobPin", kPrivate));
    ASSERT_TRUE(pin);
    EXPECT_EQ(TypedValue(pin.Get()), L"12&34");
    ComPtr<IXMLDOMNode> none;
    EXPECT_EQ(doc_->selectSingleNode(Bstr(ParameterQuery(L"JobPin", kPsk)), &none), S_FALSE);
    EXPECT_EQ(none.Get(), nullptr);
}

TEST_F(Dom, ScoredPropertiesAndOptionPresenceAreQueried)
{
    LoadTicket(kTicket);
    const std::wstring scored =
        L"psf:PrintTicket/psf:Feature[substring-after(@name,':')='PageMediaSize'][name(namespace::*[.='" + kPsk +
        L"'])=substring-before(@name,':')]/*/psf:ScoredProperty[substring-after(@name,':')='MediaSizeWidth'][name("
        L"namespace::*[.='" + kPsk + L"'])=substring-before(@name,':')]/psf:Value";
    ComPtr<IXMLDOMNode> width = Select(scored);
    ASSERT_TRUE(width);
    EXPECT_EQ(TypedValue(width.Get()), L"210000");
    Variant value;
    EXPECT_EQ(width->get_nodeValue(value.Out()), S_FALSE) << "an element has no value";
    EXPECT_EQ(value.Get().vt, VT_NULL);

    const std::wstring presence = L"psf:PrintTicket/psf:Feature[substring-after(@name,':')='PageMediaSize'][name(namespace::*[.='" +
                                  kPsk + L"'])=substring-before(@name,':')]/psf:Option[substring-after(@name,':')='ISOA4']";
    EXPECT_TRUE(Select(presence));
}

TEST_F(Dom, NamespaceNodesAreAttributeLikeAndOutliveTheirQuery)
{
    LoadTicket(kTicket);
    ComPtr<IXMLDOMElement> root = Root();
    ComPtr<IXMLDOMNode> ns = Select(L"namespace::node()[.='" + kPsk + L"']", root.Get());
    ASSERT_TRUE(ns);
    // Other queries run in between; the node holds its own copy of the namespace.
    EXPECT_TRUE(Select(L"namespace::*[.='" + kXsi + L"']", root.Get()));
    root.Reset();

    Bstr text;
    EXPECT_EQ(ns->get_baseName(text.Out()), S_OK);
    EXPECT_EQ(text.Text(), L"psk");
    EXPECT_EQ(ns->get_nodeName(text.Out()), S_OK);
    EXPECT_EQ(text.Text(), L"xmlns:psk");
    EXPECT_EQ(ns->get_prefix(text.Out()), S_OK);
    EXPECT_EQ(text.Text(), L"xmlns");
    EXPECT_EQ(ns->get_text(text.Out()), S_OK);
    EXPECT_EQ(text.Text(), kPsk);
    EXPECT_EQ(TypedValue(ns.Get()), kPsk);
    DOMNodeType type = NODE_INVALID;
    EXPECT_EQ(ns->get_nodeType(&type), S_OK);
    EXPECT_EQ(type, NODE_ATTRIBUTE);
    EXPECT_EQ(XmlOf(ns.Get()), L"xmlns:psk=\"" + kPsk + L"\"");
    ComPtr<IXMLDOMNode> parent;
    EXPECT_EQ(ns->get_parentNode(&parent), S_FALSE);
    ComPtr<IXMLDOMNode> element = Select(L"..", ns.Get());
    ASSERT_TRUE(element) << "in XPath its parent is its element";
    EXPECT_EQ(element->get_nodeName(text.Out()), S_OK);
    EXPECT_EQ(text.Text(), L"psf:PrintTicket");
    ComPtr<IXMLDOMNode> self = Select(L"self::node()", ns.Get());
    ASSERT_TRUE(self);
    EXPECT_EQ(TextOf(self.Get()), kPsk);

    LoadTicket(L"<r xmlns='urn:default'/>");
    ns = Select(L"/*/namespace::*[.='urn:default']");
    ASSERT_TRUE(ns);
    EXPECT_EQ(ns->get_baseName(text.Out()), S_FALSE) << "the default namespace has no prefix";
    EXPECT_TRUE(text.IsNull());
}

TEST_F(Dom, NameFunctionsAndNodeNamesFollowXPath)
{
    LoadTicket(kTicket);
    const struct {
        std::wstring query;
        std::wstring name;
        std::wstring baseName;
    } cases[] = {
        {L"/*[local-name()='PrintTicket']", L"psf:PrintTicket", L"PrintTicket"},
        {L"//*[name()='psf:Option' and @name='psk:ISOA4']", L"psf:Option", L"Option"},
        {L"//*[namespace-uri()='" + kPsf + L"' and local-name()='ScoredProperty']", L"psf:ScoredProperty", L"ScoredProperty"},
        {L"//psf:Value/@*[local-name()='type']", L"xsi:type", L"type"},
        {L"/psf:PrintTicket/@version", L"version", L"version"},
    };
    for (const auto& c : cases) {
        ComPtr<IXMLDOMNode> node = Select(c.query);
        ASSERT_TRUE(node) << platform::ToUtf8(c.query);
        Bstr text;
        EXPECT_EQ(node->get_nodeName(text.Out()), S_OK);
        EXPECT_EQ(text.Text(), c.name);
        EXPECT_EQ(node->get_baseName(text.Out()), S_OK);
        EXPECT_EQ(text.Text(), c.baseName);
    }
    ComPtr<IXMLDOMNode> value = Select(L"//psf:Value");
    Bstr uri;
    EXPECT_EQ(value->get_namespaceURI(uri.Out()), S_OK);
    EXPECT_EQ(uri.Text(), kPsf);
    ComPtr<IXMLDOMNode> version = Select(L"/psf:PrintTicket/@version");
    EXPECT_EQ(version->get_namespaceURI(uri.Out()), S_FALSE);
    EXPECT_EQ(version->get_prefix(uri.Out()), S_FALSE);
}

TEST_F(Dom, SelectionAnswersWithMsxmlsHresults)
{
    LoadTicket(kTicket);
    const struct {
        std::wstring query;
        HRESULT expected;
    } cases[] = {
        {L"psf:PrintTicket/psf:Nothing", S_FALSE},
        {L"psk:PrintTicket", E_FAIL},          // psk is not a selection namespace
        {L"psf:PrintTicket[", E_FAIL},         // invalid expression
        {L"count(//psf:Feature)", E_FAIL},     // not a node set
        {L"", E_FAIL},
        {L"/", S_OK},
    };
    for (const auto& c : cases) {
        ComPtr<IXMLDOMNode> node;
        EXPECT_EQ(doc_->selectSingleNode(Bstr(c.query), &node), c.expected) << platform::ToUtf8(c.query);
        EXPECT_EQ(node.Get() != nullptr, c.expected == S_OK) << platform::ToUtf8(c.query);
    }
    ComPtr<IXMLDOMNode> documentNode = Select(L"/");
    EXPECT_EQ(documentNode.Get(), static_cast<IXMLDOMNode*>(doc_.Get())) << "the document node is the document";

    ComPtr<IXMLDOMNodeList> list;
    ASSERT_EQ(doc_->selectNodes(Bstr(L"//psf:Feature"), &list), S_OK);
    long length = 0;
    EXPECT_EQ(list->get_length(&length), S_OK);
    EXPECT_EQ(length, 3);
    ComPtr<IXMLDOMNode> item;
    EXPECT_EQ(list->get_item(3, &item), S_FALSE);
    int walked = 0;
    while (list->nextNode(&item) == S_OK) {
        ++walked;
    }
    EXPECT_EQ(walked, 3);
    EXPECT_EQ(doc_->selectNodes(Bstr(L"//psf:Nothing"), &list), S_OK);
    EXPECT_EQ(list->get_length(&length), S_OK);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(doc_->selectNodes(Bstr(L"//x:y"), &list), E_FAIL);
}

// ---------------------------------------------------------------------------------------------
// Editing

TEST_F(Dom, CreatedNodesAppendedToTheTicketShowInItsMarkupAndQueries)
{
    LoadTicket(kTicket);
    ComPtr<IXMLDOMElement> root = Root();

    // A feature, as the ticket model builds a custom page size: a framework element with a
    // keyword name, holding a value typed through the ticket's own xsi and xsd prefixes.
    ComPtr<IXMLDOMNode> node;
    ASSERT_EQ(doc_->createNode(Variant::Int(NODE_ELEMENT), Bstr(L"psf:ParameterInit"), Bstr(kPsf), &node), S_OK);
    ComPtr<IXMLDOMElement> parameter;
    ASSERT_EQ(node.As(&parameter), S_OK);
    ComPtr<IXMLDOMAttribute> name;
    ASSERT_EQ(doc_->createAttribute(Bstr(L"name"), &name), S_OK);
    ASSERT_EQ(name->put_value(Variant::Text(L"psk:PageMediaSizeMediaSizeWidth")), S_OK);
    ComPtr<IXMLDOMAttribute> replaced;
    ASSERT_EQ(parameter->setAttributeNode(name.Get(), &replaced), S_OK);
    EXPECT_EQ(replaced.Get(), nullptr);

    ASSERT_EQ(doc_->createNode(Variant::Int(NODE_ELEMENT), Bstr(L"psf:Value"), Bstr(kPsf), &node), S_OK);
    ComPtr<IXMLDOMElement> value;
    ASSERT_EQ(node.As(&value), S_OK);
    ComPtr<IXMLDOMAttribute> type;
    ASSERT_EQ(doc_->createAttribute(Bstr(L"xsi:type"), &type), S_OK);
    ASSERT_EQ(type->put_value(Variant::Text(L"xsd:integer")), S_OK);
    ASSERT_EQ(value->setAttributeNode(type.Get(), nullptr), S_OK);
    ASSERT_EQ(value->put_text(Bstr(L"914400")), S_OK);

    ComPtr<IXMLDOMNode> appended;
    ASSERT_EQ(parameter->appendChild(value.Get(), &appended), S_OK);
    ASSERT_EQ(root->appendChild(parameter.Get(), &appended), S_OK);

    ComPtr<IXMLDOMNode> found = Select(ParameterQuery(L"PageMediaSizeMediaSizeWidth", kPsk));
    ASSERT_TRUE(found);
    EXPECT_EQ(TypedValue(found.Get()), L"914400");
    // As in MSXML, a prefix in a name given to createAttribute binds to nothing while the element
    // is on its own; the markup reads the same.
    EXPECT_TRUE(Select(L"//psf:Value[@*[name()='xsi:type']='xsd:integer' and .='914400']"));

    const std::wstring markup = XmlOf(doc_.Get());
    EXPECT_NE(markup.find(L"<psf:ParameterInit name=\"psk:PageMediaSizeMediaSizeWidth\"><psf:Value xsi:type=\"xsd:integer\">"
                          L"914400</psf:Value></psf:ParameterInit></psf:PrintTicket>"),
              std::wstring::npos)
        << platform::ToUtf8(markup);
}

TEST_F(Dom, ANamespaceDeclaredByAttributeIsSeenByTheNamespaceAxis)
{
    LoadTicket(L"<psf:PrintTicket xmlns:psf='" + kPsf + L"'/>");
    ComPtr<IXMLDOMElement> root = Root();
    ComPtr<IXMLDOMNode> ns;
    EXPECT_EQ(root->selectSingleNode(Bstr(L"namespace::node()[.='" + kPrivate + L"']"), &ns), S_FALSE);

    ComPtr<IXMLDOMAttribute> declaration;
    ASSERT_EQ(doc_->createAttribute(Bstr(L"xmlns:ns0000"), &declaration), S_OK);
    ASSERT_EQ(declaration->put_value(Variant::Text(kPrivate)), S_OK);
    ASSERT_EQ(root->setAttributeNode(declaration.Get(), nullptr), S_OK);

    ns = Select(L"namespace::node()[.='" + kPrivate + L"']", root.Get());
    ASSERT_TRUE(ns);
    Bstr prefix;
    EXPECT_EQ(ns->get_baseName(prefix.Out()), S_OK);
    EXPECT_EQ(prefix.Text(), L"ns0000");
    Variant declared;
    EXPECT_EQ(root->getAttribute(Bstr(L"xmlns:ns0000"), declared.Out()), S_OK);
    EXPECT_EQ(std::wstring(declared.Get().bstrVal), kPrivate);
    EXPECT_EQ(root->setAttribute(Bstr(L"xmlns:ns0000"), Variant::Text(L"urn:other")), E_FAIL) << "a prefix is not rebound";
    EXPECT_EQ(XmlOf(root.Get()), L"<psf:PrintTicket xmlns:psf=\"" + kPsf + L"\" xmlns:ns0000=\"" + kPrivate + L"\"/>");
}

TEST_F(Dom, ANodeInANamespaceTheDocumentDoesNotDeclareCarriesItsDeclaration)
{
    LoadTicket(L"<r/>");
    ComPtr<IXMLDOMNode> node;
    ASSERT_EQ(doc_->createNode(Variant::Text(L"element"), Bstr(L"zz:thing"), Bstr(L"urn:zz"), &node), S_OK);
    ASSERT_EQ(Root()->appendChild(node.Get(), nullptr), S_OK);
    EXPECT_EQ(XmlOf(Root().Get()), L"<r><zz:thing xmlns:zz=\"urn:zz\"/></r>");
    Bstr uri;
    EXPECT_EQ(node->get_namespaceURI(uri.Out()), S_OK);
    EXPECT_EQ(uri.Text(), L"urn:zz");
}

TEST_F(Dom, ACreatedNodeDeclaresItsNamespaceUntilItIsLinkedWhereItIsInScope)
{
    LoadTicket(kTicket);
    ComPtr<IXMLDOMNode> value;
    ASSERT_EQ(doc_->createNode(Variant::Int(NODE_ELEMENT), Bstr(L"psf:Value"), Bstr(kPsf), &value), S_OK);
    EXPECT_EQ(XmlOf(value.Get()), L"<psf:Value xmlns:psf=\"" + kPsf + L"\"/>");
    ComPtr<IXMLDOMNode> parent = Select(L"//psf:ParameterInit");
    ASSERT_EQ(parent->appendChild(value.Get(), nullptr), S_OK);
    EXPECT_EQ(XmlOf(value.Get()), L"<psf:Value/>");

    // Under another prefix for the same URI, the node keeps its own prefix and declaration.
    LoadTicket(kTicketWithOtherPrefixes);
    ASSERT_EQ(doc_->createNode(Variant::Int(NODE_ELEMENT), Bstr(L"psf:Value"), Bstr(kPsf), &value), S_OK);
    ASSERT_EQ(Root()->appendChild(value.Get(), nullptr), S_OK);
    EXPECT_EQ(XmlOf(value.Get()), L"<psf:Value xmlns:psf=\"" + kPsf + L"\"/>");
    ComPtr<IXMLDOMNodeList> values;
    ASSERT_EQ(doc_->selectNodes(Bstr(L"psf:PrintTicket/psf:Value"), &values), S_OK);
    long length = 0;
    values->get_length(&length);
    EXPECT_EQ(length, 1);
}

TEST_F(Dom, ADocumentIsBuiltFromNothing)
{
    ComPtr<IXMLDOMElement> root;
    ASSERT_EQ(doc_->createElement(Bstr(L"root"), &root), S_OK);
    ComPtr<IXMLDOMNode> out;
    ASSERT_EQ(doc_->appendChild(root.Get(), &out), S_OK);
    ComPtr<IXMLDOMElement> element;
    ASSERT_EQ(doc_->get_documentElement(&element), S_OK);

    ComPtr<IXMLDOMElement> a, b, c;
    ASSERT_EQ(doc_->createElement(Bstr(L"a"), &a), S_OK);
    ASSERT_EQ(doc_->createElement(Bstr(L"b"), &b), S_OK);
    ASSERT_EQ(doc_->createElement(Bstr(L"c"), &c), S_OK);
    ASSERT_EQ(root->appendChild(c.Get(), nullptr), S_OK);
    ASSERT_EQ(root->insertBefore(a.Get(), Variant::Unknown(c.Get()), nullptr), S_OK);
    ComPtr<IXMLDOMComment> comment;
    ASSERT_EQ(doc_->createComment(Bstr(L" note "), &comment), S_OK);
    ASSERT_EQ(root->insertBefore(comment.Get(), Variant(), nullptr), S_OK);
    EXPECT_EQ(XmlOf(doc_.Get()), L"<root><a/><c/><!-- note --></root>\r\n");

    ComPtr<IXMLDOMNode> old;
    ASSERT_EQ(root->replaceChild(b.Get(), c.Get(), &old), S_OK);
    Bstr name;
    old->get_nodeName(name.Out());
    EXPECT_EQ(name.Text(), L"c");
    EXPECT_EQ(XmlOf(root.Get()), L"<root><a/><b/><!-- note --></root>");
    EXPECT_EQ(root->insertBefore(c.Get(), Variant::Unknown(c.Get()), nullptr), E_INVALIDARG) << "c is no child";

    ComPtr<IXMLDOMNodeList> list;
    ASSERT_EQ(root->getElementsByTagName(Bstr(L"*"), &list), S_OK);
    long length = 0;
    list->get_length(&length);
    EXPECT_EQ(length, 2);
}

TEST_F(Dom, RemovingAFeatureTakesItOutOfTheTicketButLeavesItReadable)
{
    LoadTicket(kTicket);
    const std::wstring featureQuery = L"psf:PrintTicket/psf:Feature[substring-after(@name,':')='PageMediaSize'][name("
                                      L"namespace::*[.='" + kPsk + L"'])=substring-before(@name,':')]";
    ComPtr<IXMLDOMNode> feature = Select(featureQuery);
    ASSERT_TRUE(feature);
    ComPtr<IXMLDOMElement> root = Root();
    ComPtr<IXMLDOMNode> removed;
    ASSERT_EQ(root->removeChild(feature.Get(), &removed), S_OK);
    EXPECT_TRUE(removed);
    ComPtr<IXMLDOMNode> none;
    EXPECT_EQ(doc_->selectSingleNode(Bstr(featureQuery), &none), S_FALSE);
    EXPECT_EQ(root->removeChild(feature.Get(), &removed), E_INVALIDARG) << "no longer a child";

    // The removed subtree keeps its namespaces: its markup declares what it uses.
    const std::wstring markup = XmlOf(feature.Get());
    EXPECT_EQ(markup.find(L"<psf:Feature xmlns:psf=\"" + kPsf + L"\""), 0u) << platform::ToUtf8(markup);
    EXPECT_NE(markup.find(L"210000"), std::wstring::npos);
    ComPtr<IXMLDOMNode> parent;
    EXPECT_EQ(feature->get_parentNode(&parent), S_FALSE);

    // ...and can go back.
    ASSERT_EQ(root->appendChild(feature.Get(), nullptr), S_OK);
    EXPECT_TRUE(Select(featureQuery));
}

TEST_F(Dom, BadEditsAnswerWithMsxmlsHresults)
{
    LoadTicket(kTicket);
    ComPtr<IXMLDOMElement> root = Root();
    ComPtr<IXMLDOMNode> feature = Select(L"//psf:Feature");
    ComPtr<IXMLDOMNode> option = Select(L"//psf:Option");
    ComPtr<IXMLDOMNode> out;
    EXPECT_EQ(root->appendChild(nullptr, &out), E_INVALIDARG);
    EXPECT_EQ(option->appendChild(root.Get(), &out), E_FAIL) << "an ancestor cannot become a child";
    EXPECT_EQ(root->removeChild(option.Get(), &out), E_INVALIDARG) << "a grandchild is not a child";
    ComPtr<IXMLDOMAttribute> attribute;
    ASSERT_EQ(doc_->createAttribute(Bstr(L"a"), &attribute), S_OK);
    EXPECT_EQ(root->appendChild(attribute.Get(), &out), E_FAIL);
    ComPtr<IXMLDOMElement> second;
    ASSERT_EQ(doc_->createElement(Bstr(L"second"), &second), S_OK);
    EXPECT_EQ(doc_->appendChild(second.Get(), &out), E_FAIL) << "one document element";
    EXPECT_EQ(doc_->createElement(Bstr(L"bad name"), &second), E_FAIL);
    EXPECT_EQ(doc_->createElement(Bstr(L""), &second), E_FAIL);
    EXPECT_EQ(doc_->createNode(Variant::Int(NODE_DOCUMENT), Bstr(L"x"), Bstr(L""), &out), E_INVALIDARG);
    EXPECT_EQ(doc_->createNode(Variant::Int(42), Bstr(L"x"), Bstr(L""), &out), E_INVALIDARG);
    EXPECT_EQ(root->put_nodeValue(Variant::Text(L"x")), E_FAIL) << "an element has no value";

    ComPtr<IXMLDOMDocument2> other;
    ASSERT_EQ(CoCreateInstance(CLSID_DOMDocument60, nullptr, CLSCTX_ALL, IID_IXMLDOMDocument2,
                               reinterpret_cast<void**>(other.GetAddressOf())),
              S_OK);
    ComPtr<IXMLDOMElement> foreign;
    ASSERT_EQ(other->createElement(Bstr(L"foreign"), &foreign), S_OK);
    EXPECT_EQ(root->appendChild(foreign.Get(), &out), E_INVALIDARG);
}

TEST_F(Dom, AttributesAreReadWrittenAndListed)
{
    LoadTicket(kTicket);
    ComPtr<IXMLDOMNode> node = Select(L"//psf:Feature");
    ComPtr<IXMLDOMElement> feature;
    ASSERT_EQ(node.As(&feature), S_OK);
    Variant value;
    EXPECT_EQ(feature->getAttribute(Bstr(L"name"), value.Out()), S_OK);
    EXPECT_EQ(std::wstring(value.Get().bstrVal), L"ns0001:JobInputBin");
    EXPECT_EQ(feature->getAttribute(Bstr(L"missing"), value.Out()), S_FALSE);
    EXPECT_EQ(value.Get().vt, VT_NULL);

    EXPECT_EQ(feature->setAttribute(Bstr(L"name"), Variant::Text(L"psk:Other<&>")), S_OK);
    EXPECT_EQ(feature->setAttribute(Bstr(L"count"), Variant::Int(7)), S_OK);
    EXPECT_EQ(XmlOf(feature.Get()).find(L"<psf:Feature name=\"psk:Other&lt;&amp;&gt;\" count=\"7\">"), 0u)
        << platform::ToUtf8(XmlOf(feature.Get()));

    ComPtr<IXMLDOMNamedNodeMap> attributes;
    ASSERT_EQ(Root()->get_attributes(&attributes), S_OK);
    long length = 0;
    EXPECT_EQ(attributes->get_length(&length), S_OK);
    EXPECT_EQ(length, 6) << "five namespace declarations and version";
    ComPtr<IXMLDOMNode> item;
    EXPECT_EQ(attributes->getNamedItem(Bstr(L"xmlns:ns0001"), &item), S_OK);
    EXPECT_EQ(TextOf(item.Get()), kPrivate);
    EXPECT_EQ(attributes->getNamedItem(Bstr(L"version"), &item), S_OK);
    EXPECT_EQ(attributes->getNamedItem(Bstr(L"nothing"), &item), S_FALSE);
    EXPECT_EQ(feature->removeAttribute(Bstr(L"count")), S_OK);
    EXPECT_EQ(feature->removeAttribute(Bstr(L"count")), S_FALSE);
}

TEST_F(Dom, TextNodesStaySeparateAndReplacingTextKeepsHeldNodesUsable)
{
    LoadTicket(L"<r>one</r>");
    ComPtr<IXMLDOMElement> root = Root();
    ComPtr<IXMLDOMNode> first;
    ASSERT_EQ(root->get_firstChild(&first), S_OK);
    ComPtr<IXMLDOMText> second;
    ASSERT_EQ(doc_->createTextNode(Bstr(L"two"), &second), S_OK);
    ASSERT_EQ(root->appendChild(second.Get(), nullptr), S_OK);
    ComPtr<IXMLDOMNodeList> children;
    ASSERT_EQ(root->get_childNodes(&children), S_OK);
    long length = 0;
    children->get_length(&length);
    EXPECT_EQ(length, 2);
    EXPECT_EQ(TextOf(root.Get()), L"onetwo");

    ASSERT_EQ(root->put_text(Bstr(L"three")), S_OK);
    EXPECT_EQ(XmlOf(root.Get()), L"<r>three</r>");
    EXPECT_EQ(TextOf(first.Get()), L"one") << "the replaced text node is still there for its holder";
    EXPECT_EQ(TextOf(second.Get()), L"two");
    children->get_length(&length);
    EXPECT_EQ(length, 1) << "childNodes is live";
}

TEST_F(Dom, ANodeKeepsItsDocumentAlive)
{
    LoadTicket(kTicket);
    ComPtr<IXMLDOMNode> value = Select(ParameterQuery(L"JobCopiesAllDocuments", kPsk));
    ASSERT_TRUE(value);
    doc_.Reset();

    EXPECT_EQ(TextOf(value.Get()), L"3");
    ComPtr<IXMLDOMDocument> owner;
    ASSERT_EQ(value->get_ownerDocument(&owner), S_OK);
    ComPtr<IXMLDOMDocument2> document;
    ASSERT_EQ(owner.As(&document), S_OK);
    ComPtr<IXMLDOMNode> again;
    EXPECT_EQ(document->selectSingleNode(Bstr(L"//psf:Value"), &again), S_OK) << "the selection namespaces stayed";

    // A node of an earlier load stays usable after the document loads another.
    VARIANT_BOOL ok = VARIANT_FALSE;
    ASSERT_EQ(document->loadXML(Bstr(L"<other/>"), &ok), S_OK);
    EXPECT_EQ(TextOf(value.Get()), L"3");
    ComPtr<IXMLDOMNode> parent;
    EXPECT_EQ(value->get_parentNode(&parent), S_OK);
    EXPECT_EQ(XmlOf(value.Get()), L"<psf:Value xsi:type=\"xsd:integer\">3</psf:Value>");
}

TEST_F(Dom, ClonesAreDetachedCopies)
{
    LoadTicket(kTicket);
    ComPtr<IXMLDOMNode> feature = Select(L"//psf:Feature");
    ComPtr<IXMLDOMNode> deep;
    ASSERT_EQ(feature->cloneNode(VARIANT_TRUE, &deep), S_OK);
    ComPtr<IXMLDOMNode> shallow;
    ASSERT_EQ(feature->cloneNode(VARIANT_FALSE, &shallow), S_OK);
    ComPtr<IXMLDOMNode> parent;
    EXPECT_EQ(deep->get_parentNode(&parent), S_FALSE);
    VARIANT_BOOL has = VARIANT_FALSE;
    EXPECT_EQ(deep->hasChildNodes(&has), S_OK);
    EXPECT_EQ(shallow->hasChildNodes(&has), S_FALSE);
    ASSERT_EQ(Root()->appendChild(deep.Get(), nullptr), S_OK);
    ComPtr<IXMLDOMNodeList> features;
    ASSERT_EQ(doc_->selectNodes(Bstr(OptionQuery(L"JobInputBin", kPrivate)), &features), S_OK);
    long length = 0;
    features->get_length(&length);
    EXPECT_EQ(length, 2);
}

}  // namespace
