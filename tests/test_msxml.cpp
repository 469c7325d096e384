// The MSXML 6 DOM stand-in answers as MSXML does: exact HRESULTs, XPath 1.0 with the namespace
// axis over Print Schema tickets, safe loading, and edits that show in the markup.
#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "testbstr.h"

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

using testsupport::Bstr;

// An owned VARIANT.
class Variant {
public:
    Variant() { VariantInit(&value_); }
    static Variant Text(const std::wstring& text)
    {
        return Make(VT_BSTR, [&](VARIANT& v) { v.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size())); });
    }
    static Variant Int(LONG number) { return Make(VT_I4, [&](VARIANT& v) { v.lVal = number; }); }
    static Variant Bool(bool flag) { return Make(VT_BOOL, [&](VARIANT& v) { v.boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE; }); }
    static Variant Unknown(IUnknown* object)
    {
        object->AddRef();
        return Make(VT_UNKNOWN, [&](VARIANT& v) { v.punkVal = object; });
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
    std::wstring Text() const { return value_.vt == VT_BSTR ? std::wstring(value_.bstrVal) : std::wstring(); }

private:
    template <class Fill>
    static Variant Make(VARTYPE type, Fill fill)
    {
        Variant v;
        v.value_.vt = type;
        fill(v.value_);
        return v;
    }
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
                             L"</psf:PrintTicket>\n";

std::wstring ParameterQuery(const std::wstring& parameter, const std::wstring& uri)
{
    return L"psf:PrintTicket/psf:ParameterInit[substring-after(@name,':')='" + parameter + L"'][name(namespace::*[.='" +
           uri + L"'])=substring-before(@name,':')]/psf:Value";
}

std::wstring FeatureQuery(const std::wstring& feature, const std::wstring& uri)
{
    return L"psf:PrintTicket/psf:Feature[substring-after(@name,':')='" + feature + L"'][name(namespace::*[.='" + uri +
           L"'])=substring-before(@name,':')]";
}

// A stream holding the bytes, positioned at its start.
ComPtr<IStream> StreamOf(const std::string& bytes)
{
    ComPtr<IStream> stream;
    EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, &stream), S_OK);
    EXPECT_EQ(stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr), S_OK);
    EXPECT_EQ(stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr), S_OK);
    return stream;
}

ComPtr<IXMLDOMDocument2> NewDocument()
{
    ComPtr<IXMLDOMDocument2> doc;
    EXPECT_EQ(CoCreateInstance(CLSID_DOMDocument60, nullptr, CLSCTX_ALL, IID_IXMLDOMDocument2,
                               reinterpret_cast<void**>(doc.GetAddressOf())),
              S_OK);
    return doc;
}

// A text a getter hands out, checking the HRESULT it answers.
template <class Node, class Getter>
std::wstring Read(Node* node, Getter get, HRESULT expected = S_OK)
{
    Bstr text;
    EXPECT_EQ((node->*get)(text.Out()), expected);
    return text.Text();
}

std::wstring NameOf(IXMLDOMNode* node) { return Read(node, &IXMLDOMNode::get_nodeName); }
std::wstring TextOf(IXMLDOMNode* node) { return Read(node, &IXMLDOMNode::get_text); }
std::wstring XmlOf(IXMLDOMNode* node) { return Read(node, &IXMLDOMNode::get_xml); }

template <class List>
long LengthOf(List* list)
{
    long length = -1;
    EXPECT_EQ(list->get_length(&length), S_OK);
    return length;
}

class Dom : public testing::Test {
protected:
    void SetUp() override
    {
        testsupport::TestMachine::Get();
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
        doc_ = NewDocument();
        ASSERT_TRUE(doc_);
    }
    void TearDown() override
    {
        doc_.Reset();
        CoUninitialize();
    }

    // A load that gets as far as parsing says how it went twice, by S_OK or S_FALSE and by
    // VARIANT_TRUE or VARIANT_FALSE, and the two must agree.
    static HRESULT Loaded(HRESULT hr, VARIANT_BOOL ok)
    {
        if (hr == S_OK || hr == S_FALSE) {
            EXPECT_EQ(ok, hr == S_OK ? VARIANT_TRUE : VARIANT_FALSE);
        }
        return hr;
    }
    HRESULT LoadXml(const std::wstring& text)
    {
        VARIANT_BOOL ok = 42;
        const HRESULT hr = doc_->loadXML(Bstr(text), &ok);
        return Loaded(hr, ok);
    }
    HRESULT Load(const Variant& source)
    {
        VARIANT_BOOL ok = 42;
        const HRESULT hr = doc_->load(source, &ok);
        return Loaded(hr, ok);
    }
    void LoadTicket(const std::wstring& text)
    {
        ASSERT_EQ(LoadXml(text), S_OK);
        ASSERT_EQ(doc_->setProperty(Bstr(L"SelectionNamespaces"), Variant::Text(L"xmlns:psf='" + kPsf + L"'")), S_OK);
    }
    // The first node the query selects; expected is S_FALSE when it selects none.
    ComPtr<IXMLDOMNode> Select(const std::wstring& query, IXMLDOMNode* context = nullptr, HRESULT expected = S_OK)
    {
        ComPtr<IXMLDOMNode> node;
        const HRESULT hr = (context != nullptr ? context : doc_.Get())->selectSingleNode(Bstr(query), &node);
        EXPECT_EQ(hr, expected) << "query " << platform::ToUtf8(query);
        EXPECT_EQ(node.Get() != nullptr, hr == S_OK) << "query " << platform::ToUtf8(query);
        return node;
    }
    long Count(const std::wstring& query)
    {
        ComPtr<IXMLDOMNodeList> list;
        EXPECT_EQ(doc_->selectNodes(Bstr(query), &list), S_OK) << platform::ToUtf8(query);
        return list ? LengthOf(list.Get()) : -1;
    }
    ComPtr<IXMLDOMElement> Root()
    {
        ComPtr<IXMLDOMElement> root;
        EXPECT_EQ(doc_->get_documentElement(&root), S_OK);
        return root;
    }
    ComPtr<IXMLDOMElement> NewElement(const std::wstring& name, const std::wstring& uri = L"")
    {
        ComPtr<IXMLDOMNode> node;
        EXPECT_EQ(doc_->createNode(Variant::Int(NODE_ELEMENT), Bstr(name), Bstr(uri), &node), S_OK);
        ComPtr<IXMLDOMElement> element;
        EXPECT_EQ(node.As(&element), S_OK);
        return element;
    }

    ComPtr<IXMLDOMDocument2> doc_;
};

// ---- creation, properties and loading

TEST_F(Dom, SelectionPropertiesFollowMsxml6)
{
    const auto set = [&](const wchar_t* name, const Variant& value) { return doc_->setProperty(Bstr(name), value); };
    EXPECT_EQ(set(L"SelectionLanguage", Variant::Text(L"XPath")), S_OK);
    EXPECT_EQ(set(L"SelectionLanguage", Variant::Text(L"XSLPattern")), E_FAIL);
    EXPECT_EQ(set(L"SelectionNamespaces", Variant::Text(L"xmlns:psf='" + kPsf + L"' xmlns:psk=\"" + kPsk + L"\"")), S_OK);
    for (const wchar_t* malformed : {L"xmlns:psf=", L"psf='x'", L"xmlns:psf='x", L"xmlns:1a='x'", L"xmlns:a='x'xmlns:b='y'"}) {
        EXPECT_EQ(set(L"SelectionNamespaces", Variant::Text(malformed)), E_FAIL) << platform::ToUtf8(malformed);
    }
    EXPECT_EQ(set(L"SelectionNamespaces", Variant::Int(1)), E_INVALIDARG);
    EXPECT_EQ(set(L"NoSuchProperty", Variant::Int(1)), E_FAIL);
}

TEST_F(Dom, InterfacesAreDualUnderTheWindowsClassId)
{
    const CLSID windows = {0x88D96A05, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};
    EXPECT_TRUE(IsEqualGUID(CLSID_DOMDocument60, windows));
    LoadTicket(kTicket);
    ComPtr<IXMLDOMElement> root = Root();
    ComPtr<IXMLDOMNodeList> list;
    ComPtr<IXMLDOMNamedNodeMap> map;
    ComPtr<IXMLDOMParseError> error;
    ComPtr<IXMLDOMText> text;
    ASSERT_EQ(root->get_childNodes(&list), S_OK);
    ASSERT_EQ(root->get_attributes(&map), S_OK);
    ASSERT_EQ(doc_->get_parseError(&error), S_OK);
    ASSERT_EQ(doc_->createTextNode(Bstr(L"t"), &text), S_OK);
    for (IUnknown* object : {static_cast<IUnknown*>(doc_.Get()), static_cast<IUnknown*>(root.Get()),
                             static_cast<IUnknown*>(list.Get()), static_cast<IUnknown*>(map.Get()),
                             static_cast<IUnknown*>(error.Get()), static_cast<IUnknown*>(text.Get())}) {
        ComPtr<IDispatch> dispatch;
        EXPECT_EQ(object->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(dispatch.GetAddressOf())), S_OK);
    }
}

TEST_F(Dom, LoadsStreamsReadToTheirEndInTheEncodingTheyDeclare)
{
    EXPECT_EQ(Load(Variant::Unknown(StreamOf(platform::ToUtf8(kTicket)).Get())), S_OK);
    EXPECT_EQ(NameOf(Root().Get()), L"psf:PrintTicket");

    const std::u16string utf16 = platform::ToUtf16(L"<?xml version=\"1.0\" encoding=\"UTF-16\"?><r>\u00e9\u20ac</r>");
    std::string bytes = "\xFF\xFE";
    for (char16_t unit : utf16) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    EXPECT_EQ(Load(Variant::Unknown(StreamOf(bytes).Get())), S_OK);
    EXPECT_EQ(XmlOf(Root().Get()), L"<r>\u00e9\u20ac</r>");

    // loadXML takes wide text: a declared encoding does not apply to it.
    EXPECT_EQ(LoadXml(L"<?xml version=\"1.0\" encoding=\"UTF-16\"?><r>\u00e9</r>"), S_OK);
    EXPECT_EQ(TextOf(Root().Get()), L"\u00e9");
}

TEST_F(Dom, LoadsAFileOfTheMachineByItsWindowsPathButNothingElse)
{
    const auto host = platform::HostPathOf(L"C:\\Tickets\\ticket.xml");
    ASSERT_TRUE(host);
    fs::create_directories(fs::path(*host).parent_path());
    std::ofstream(*host) << platform::ToUtf8(kTicket);

    EXPECT_EQ(Load(Variant::Text(L"C:\\Tickets\\ticket.xml")), S_OK);
    EXPECT_EQ(Load(Variant::Text(L"C:\\Tickets\\missing.xml")), S_FALSE);
    EXPECT_EQ(Load(Variant::Text(L"http://127.0.0.1:1/ticket.xml")), S_FALSE);
    EXPECT_EQ(Load(Variant::Int(5)), E_INVALIDARG);
}

TEST_F(Dom, AFailedLoadAnswersSFalseAndLeavesTheDocumentEmpty)
{
    LoadTicket(kTicket);
    for (const wchar_t* text : {L"", L"garbage", L"<a><b></a>", L"<a/><b/>", L"<a xmlns:p='urn:p'><q:b/></a>",
                                L"<a>&undefined;</a>"}) {
        SCOPED_TRACE(platform::ToUtf8(text));
        EXPECT_EQ(LoadXml(text), S_FALSE);
        ComPtr<IXMLDOMElement> root;
        EXPECT_EQ(doc_->get_documentElement(&root), S_FALSE);
        ComPtr<IXMLDOMParseError> error;
        ASSERT_EQ(doc_->get_parseError(&error), S_OK);
        EXPECT_FALSE(Read(error.Get(), &IXMLDOMParseError::get_reason).empty());
    }
    LoadTicket(kTicket);
    ComPtr<IXMLDOMParseError> error;
    ASSERT_EQ(doc_->get_parseError(&error), S_OK);
    long code = -1;
    EXPECT_EQ(error->get_errorCode(&code), S_FALSE);
    EXPECT_EQ(code, 0);
}

// ---- safe parsing

TEST_F(Dom, ExternalEntitiesAndDtdsAreNeverFetched)
{
    const fs::path secret = testsupport::TestMachine::Get().Root() / "secret.txt";
    std::ofstream(secret) << "TOPSECRET";
    const std::wstring url = L"file://" + platform::FromUtf8(secret.string());
    const std::wstring entity = L"<!DOCTYPE r [<!ENTITY x SYSTEM \"" + url + L"\">]><r>&x;</r>";
    const std::wstring externalDtd = L"<!DOCTYPE r SYSTEM \"" + url + L"\"><r/>";

    EXPECT_EQ(LoadXml(entity), S_FALSE) << "MSXML 6 prohibits DTDs by default";
    ComPtr<IXMLDOMParseError> error;
    ASSERT_EQ(doc_->get_parseError(&error), S_OK);
    EXPECT_NE(Read(error.Get(), &IXMLDOMParseError::get_reason).find(L"DTD"), std::wstring::npos);

    ASSERT_EQ(doc_->setProperty(Bstr(L"ProhibitDTD"), Variant::Bool(false)), S_OK);
    for (const std::wstring& text : {entity, externalDtd}) {
        EXPECT_EQ(LoadXml(text), S_OK) << "an allowed DTD loads, without what it refers to";
        EXPECT_EQ(XmlOf(doc_.Get()).find(L"TOPSECRET"), std::wstring::npos);
        EXPECT_EQ(TextOf(doc_.Get()).find(L"TOPSECRET"), std::wstring::npos);
    }
    EXPECT_EQ(LoadXml(L"<!DOCTYPE r [<!ENTITY e 'inner'>]><r>a&e;b</r>"), S_OK);
    EXPECT_EQ(TextOf(doc_.Get()), L"ainnerb") << "an internal entity still reads as its text";
}

TEST_F(Dom, LoadsWhatMsxml6LoadsAndRefusesWhatItRefuses)
{
    const auto nested = [](std::size_t depth) {
        std::wstring open, close;
        for (std::size_t i = 0; i < depth; ++i) {
            open += L"<e>";
            close += L"</e>";
        }
        return open + close;
    };
    const std::wstring overTenMegabytes(10u << 20 | 1, L'x');
    std::wstring references;  // 20000 times 4 KB: more than a document may have
    for (int i = 0; i < 20000; ++i) {
        references += L"&a;";
    }
    std::wstring laughs = L"<!DOCTYPE lolz [<!ENTITY lol0 \"lol\">";
    for (int level = 1; level <= 9; ++level) {
        laughs += L"<!ENTITY lol" + std::to_wstring(level) + L" \"";
        for (int i = 0; i < 10; ++i) {
            laughs += L"&lol" + std::to_wstring(level - 1) + L";";
        }
        laughs += L"\">";
    }
    const std::wstring entities =
        L"<!DOCTYPE r [<!ENTITY a '" + std::wstring(4096, L'a') + L"'><!ENTITY c '" + references + L"'>]>";
    const std::vector<std::tuple<const char*, long, std::wstring, HRESULT>> cases{
        {"blank before the namespace name", 256, L"<p:r xmlns:p=' " + kPsk + L"'/>", S_OK},
        {"blank after the namespace name", 256, L"<r xmlns='" + kPsk + L" '/>", S_OK},
        {"text over 10 MB", 256, L"<r>" + overTenMegabytes + L"</r>", S_OK},
        {"whitespace over 10 MB", 256, L"<r><a/>" + std::wstring(10u << 20 | 1, L' ') + L"<a/></r>", S_OK},
        {"256 levels", 256, nested(256), S_OK},
        {"257 levels", 256, nested(257), S_FALSE},
        {"100000 levels", 256, nested(100000), S_FALSE},
        {"10 levels of 10", 10, nested(10), S_OK},
        {"11 levels of 10", 10, nested(11), S_FALSE},
        {"entities expanding beyond a document in an attribute", 256, entities + L"<r a='&c;'/>", S_FALSE},
        {"entities expanding beyond a document in text", 256, entities + L"<r>&c;</r>", S_FALSE},
        {"a billion laughs", 256, laughs + L"]><lolz>&lol9;</lolz>", S_FALSE},
    };
    ASSERT_EQ(doc_->setProperty(Bstr(L"ProhibitDTD"), Variant::Bool(false)), S_OK);
    for (const auto& [what, depth, text, expected] : cases) {
        ASSERT_EQ(doc_->setProperty(Bstr(L"MaxElementDepth"), Variant::Int(depth)), S_OK);
        EXPECT_EQ(LoadXml(text), expected) << what;
    }
    EXPECT_EQ(doc_->setProperty(Bstr(L"MaxElementDepth"), Variant::Int(-1)), E_INVALIDARG);
}

// ---- XPath over Print Schema tickets

TEST_F(Dom, NamespaceNodesAreAttributeLikeAndOutliveTheirQuery)
{
    LoadTicket(kTicket);
    ComPtr<IXMLDOMElement> root = Root();
    ComPtr<IXMLDOMNode> ns = Select(L"namespace::node()[.='" + kPsk + L"']", root.Get());
    ASSERT_TRUE(ns);
    // Other queries run in between; the node holds its own copy of the namespace.
    EXPECT_TRUE(Select(L"namespace::*[.='" + kXsi + L"']", root.Get()));
    root.Reset();

    EXPECT_EQ(Read(ns.Get(), &IXMLDOMNode::get_baseName), L"psk");
    EXPECT_EQ(NameOf(ns.Get()), L"xmlns:psk");
    Variant value;
    EXPECT_EQ(ns->get_nodeTypedValue(value.Out()), S_OK);
    EXPECT_EQ(value.Text(), kPsk);
    DOMNodeType type = NODE_INVALID;
    EXPECT_EQ(ns->get_nodeType(&type), S_OK);
    EXPECT_EQ(type, NODE_ATTRIBUTE);
    ComPtr<IXMLDOMNode> element = Select(L"..", ns.Get());
    ASSERT_TRUE(element) << "in XPath its parent is its element";
    EXPECT_EQ(NameOf(element.Get()), L"psf:PrintTicket");

    LoadTicket(L"<r xmlns='urn:default'/>");
    ns = Select(L"/*/namespace::*[.='urn:default']");
    ASSERT_TRUE(ns);
    Bstr prefix;
    EXPECT_EQ(ns->get_baseName(prefix.Out()), S_FALSE) << "the default namespace has no prefix";
    EXPECT_TRUE(prefix.IsNull());
}

TEST_F(Dom, SelectionAnswersWithMsxmlsHresults)
{
    LoadTicket(kTicket);
    const std::pair<std::wstring, HRESULT> cases[] = {
        {L"psf:PrintTicket/psf:Nothing", S_FALSE},
        {L"psk:PrintTicket", E_FAIL},       // psk is not a selection namespace
        {L"psf:PrintTicket[", E_FAIL},      // invalid expression
        {L"count(//psf:Feature)", E_FAIL},  // not a node set
        {L"", E_FAIL},
    };
    for (const auto& [query, expected] : cases) {
        Select(query, nullptr, expected);
    }
    EXPECT_EQ(Select(L"/").Get(), static_cast<IXMLDOMNode*>(doc_.Get())) << "the document node is the document";

    ComPtr<IXMLDOMNodeList> list;
    ASSERT_EQ(doc_->selectNodes(Bstr(L"//psf:Feature"), &list), S_OK);
    EXPECT_EQ(LengthOf(list.Get()), 3);
    ComPtr<IXMLDOMNode> item;
    EXPECT_EQ(list->get_item(3, &item), S_FALSE);
    EXPECT_EQ(Count(L"//psf:Nothing"), 0);
    EXPECT_EQ(doc_->selectNodes(Bstr(L"//x:y"), &list), E_FAIL);
}

TEST_F(Dom, ANamespaceNameIsMatchedAsWritten)
{
    LoadTicket(L"<psf:PrintTicket xmlns:psf='" + kPsf + L"' xmlns:psk=' " + kPsk + L"'><psk:Thing/></psf:PrintTicket>");
    ASSERT_EQ(doc_->setProperty(Bstr(L"SelectionNamespaces"), Variant::Text(L"xmlns:psf='" + kPsf + L"' xmlns:a=' " + kPsk +
                                                                             L"' xmlns:b='" + kPsk + L"'")),
              S_OK);
    const std::pair<std::wstring, HRESULT> cases[] = {
        {L"psf:PrintTicket/a:Thing", S_OK},
        {L"psf:PrintTicket/b:Thing", S_FALSE},
        {L"psf:PrintTicket/namespace::*[.=' " + kPsk + L"']", S_OK},
        {L"psf:PrintTicket/namespace::*[.='" + kPsk + L"']", S_FALSE},
    };
    for (const auto& [query, expected] : cases) {
        Select(query, nullptr, expected);
    }
    EXPECT_EQ(Read(Select(L"//a:Thing").Get(), &IXMLDOMNode::get_namespaceURI), L" " + kPsk);
}

TEST_F(Dom, DatatypedElementsGiveTypedValues)
{
    struct Case {
        const wchar_t* element;
        HRESULT expected;
        VARTYPE type;
        double number;
        std::wstring text;
        const wchar_t* dataType;  // null: VT_NULL with S_FALSE
    };
    const Case cases[] = {
        {L"<v dt:dt='int'>-13</v>", S_OK, VT_I4, -13, L"", L"int"},
        {L"<v dt:dt='INT'>7</v>", S_OK, VT_I4, 7, L"", L"int"},
        {L"<v dt:dt='i4'> 2.5 </v>", S_OK, VT_I4, 2, L"", L"i4"},
        {L"<dt:int>5</dt:int>", S_OK, VT_I4, 5, L"", L"int"},
        {L"<v dt:dt='i1'>-13</v>", S_OK, VT_I1, -13, L"", L"i1"},
        {L"<v dt:dt='ui2'>48282</v>", S_OK, VT_UI2, 48282, L"", L"ui2"},
        {L"<v dt:dt='ui4'>949281</v>", S_OK, VT_UI4, 949281, L"", L"ui4"},
        {L"<v dt:dt='boolean'>1</v>", S_OK, VT_BOOL, VARIANT_TRUE, L"", L"boolean"},
        {L"<v dt:dt='boolean'>False</v>", S_OK, VT_BOOL, VARIANT_FALSE, L"", L"boolean"},
        {L"<v dt:dt='float'>-3.71e3</v>", S_OK, VT_R8, -3710, L"", L"float"},
        {L"<v dt:dt='r8'>0.412</v>", S_OK, VT_R8, 0.412, L"", L"r8"},
        {L"<v dt:dt='r4'>213124.0</v>", S_OK, VT_R4, 213124, L"", L"r4"},
        {L"<v dt:dt='ui1'>256</v>", DISP_E_OVERFLOW, VT_EMPTY, 0, L"", L"ui1"},
        {L"<v dt:dt='int'>twelve</v>", DISP_E_TYPEMISMATCH, VT_EMPTY, 0, L"", L"int"},
        {L"<v dt:dt='int'>1e</v>", DISP_E_TYPEMISMATCH, VT_EMPTY, 0, L"", L"int"},
        {L"<v dt:dt='bin.hex'>fffc</v>", E_NOTIMPL, VT_EMPTY, 0, L"", L"bin.hex"},
        {L"<v dt:dt='number'>12.44</v>", S_OK, VT_BSTR, 0, L"12.44", L"number"},
        {L"<v dt:dt='string'> Wine </v>", S_OK, VT_BSTR, 0, L" Wine ", nullptr},
        {L"<v dt:dt='nosuch'> Wine </v>", S_OK, VT_BSTR, 0, L"Wine", nullptr},
        {L"<v> Wine </v>", S_OK, VT_BSTR, 0, L"Wine", nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(platform::ToUtf8(c.element));
        LoadTicket(L"<r xmlns:dt='urn:schemas-microsoft-com:datatypes'>" + std::wstring(c.element) + L"</r>");
        ComPtr<IXMLDOMNode> node = Select(L"r/*");
        ASSERT_TRUE(node);
        Variant value;
        EXPECT_EQ(node->get_nodeTypedValue(value.Out()), c.expected);
        const VARIANT& v = value.Get();
        ASSERT_EQ(v.vt, c.type);
        const double number = v.vt == VT_I1 ? v.cVal : v.vt == VT_I4 ? v.lVal : v.vt == VT_UI2 ? v.uiVal
                            : v.vt == VT_UI4 ? v.ulVal : v.vt == VT_BOOL ? v.boolVal : v.vt == VT_R4 ? v.fltVal
                            : v.vt == VT_R8 ? v.dblVal : 0;
        EXPECT_EQ(number, c.number);
        EXPECT_EQ(value.Text(), c.text);
        Variant type;
        EXPECT_EQ(node->get_dataType(type.Out()), c.dataType ? S_OK : S_FALSE);
        EXPECT_EQ(type.Get().vt, c.dataType ? VT_BSTR : VT_NULL);
        EXPECT_EQ(type.Text(), c.dataType ? c.dataType : L"");
    }
}

// ---- editing

TEST_F(Dom, ACreatedNodeDeclaresItsNamespaceUntilItIsLinkedWhereItIsInScope)
{
    LoadTicket(L"<r/>");
    ComPtr<IXMLDOMNode> node;
    ASSERT_EQ(doc_->createNode(Variant::Text(L"element"), Bstr(L"zz:thing"), Bstr(L"urn:zz"), &node), S_OK);
    ASSERT_EQ(Root()->appendChild(node.Get(), nullptr), S_OK);
    EXPECT_EQ(XmlOf(Root().Get()), L"<r><zz:thing xmlns:zz=\"urn:zz\"/></r>") << "not declared by the document";
    EXPECT_EQ(Read(node.Get(), &IXMLDOMNode::get_namespaceURI), L"urn:zz");

    LoadTicket(kTicket);
    ComPtr<IXMLDOMElement> value = NewElement(L"psf:Value", kPsf);
    EXPECT_EQ(XmlOf(value.Get()), L"<psf:Value xmlns:psf=\"" + kPsf + L"\"/>");
    ASSERT_EQ(Select(L"//psf:ParameterInit")->appendChild(value.Get(), nullptr), S_OK);
    EXPECT_EQ(XmlOf(value.Get()), L"<psf:Value/>");

    // Under another prefix for the same URI, the node keeps its own prefix and declaration.
    LoadTicket(L"<f:PrintTicket xmlns:f=\"" + kPsf + L"\" version=\"1\"/>");
    value = NewElement(L"psf:Value", kPsf);
    ASSERT_EQ(Root()->appendChild(value.Get(), nullptr), S_OK);
    EXPECT_EQ(XmlOf(value.Get()), L"<psf:Value xmlns:psf=\"" + kPsf + L"\"/>");
    EXPECT_EQ(Count(L"psf:PrintTicket/psf:Value"), 1);
}

TEST_F(Dom, RemovingAFeatureTakesItOutOfTheTicketButLeavesItReadable)
{
    LoadTicket(kTicket);
    const std::wstring query = FeatureQuery(L"PageMediaSize", kPsk);
    ComPtr<IXMLDOMNode> feature = Select(query);
    ASSERT_TRUE(feature);
    ComPtr<IXMLDOMElement> root = Root();
    ComPtr<IXMLDOMNode> removed;
    ASSERT_EQ(root->removeChild(feature.Get(), &removed), S_OK);
    EXPECT_TRUE(removed);
    Select(query, nullptr, S_FALSE);
    EXPECT_EQ(root->removeChild(feature.Get(), &removed), E_INVALIDARG) << "no longer a child";

    // The removed subtree keeps its namespaces: its markup declares what it uses.
    const std::wstring markup = XmlOf(feature.Get());
    EXPECT_EQ(markup.find(L"<psf:Feature xmlns:psf=\"" + kPsf + L"\""), 0u) << platform::ToUtf8(markup);
    EXPECT_NE(markup.find(L"210000"), std::wstring::npos);
    ComPtr<IXMLDOMNode> parent;
    EXPECT_EQ(feature->get_parentNode(&parent), S_FALSE);
    ASSERT_EQ(root->appendChild(feature.Get(), nullptr), S_OK);
    EXPECT_TRUE(Select(query)) << "and can go back";
}

TEST_F(Dom, BadEditsAnswerWithMsxmlsHresults)
{
    LoadTicket(kTicket);
    ComPtr<IXMLDOMElement> root = Root();
    ComPtr<IXMLDOMNode> option = Select(L"//psf:Option");
    ComPtr<IXMLDOMAttribute> attribute;
    ASSERT_EQ(doc_->createAttribute(Bstr(L"a"), &attribute), S_OK);
    ComPtr<IXMLDOMDocument2> other = NewDocument();
    ComPtr<IXMLDOMElement> foreign;
    ASSERT_EQ(other->createElement(Bstr(L"foreign"), &foreign), S_OK);
    ComPtr<IXMLDOMNode> out;
    const std::vector<std::tuple<const char*, HRESULT, HRESULT>> cases{
        {"append nothing", root->appendChild(nullptr, &out), E_INVALIDARG},
        {"an ancestor cannot become a child", option->appendChild(root.Get(), &out), E_FAIL},
        {"a grandchild is not a child", root->removeChild(option.Get(), &out), E_INVALIDARG},
        {"an attribute is not a child", root->appendChild(attribute.Get(), &out), E_FAIL},
        {"a node of another document", root->appendChild(foreign.Get(), &out), E_INVALIDARG},
        {"a document node", doc_->createNode(Variant::Int(NODE_DOCUMENT), Bstr(L"x"), Bstr(L""), &out), E_INVALIDARG},
        {"no node type", doc_->createNode(Variant::Int(42), Bstr(L"x"), Bstr(L""), &out), E_INVALIDARG},
    };
    for (const auto& [what, actual, expected] : cases) {
        EXPECT_EQ(actual, expected) << what;
    }
}

TEST_F(Dom, AttributesAreReadAndWrittenEscaped)
{
    LoadTicket(kTicket);
    ComPtr<IXMLDOMElement> feature;
    ASSERT_EQ(Select(L"//psf:Feature").As(&feature), S_OK);
    Variant value;
    EXPECT_EQ(feature->getAttribute(Bstr(L"name"), value.Out()), S_OK);
    EXPECT_EQ(value.Text(), L"ns0001:JobInputBin");
    EXPECT_EQ(feature->getAttribute(Bstr(L"missing"), value.Out()), S_FALSE);
    EXPECT_EQ(value.Get().vt, VT_NULL);
    EXPECT_EQ(feature->setAttribute(Bstr(L"name"), Variant::Text(L"psk:Other<&>")), S_OK);
    EXPECT_EQ(feature->setAttribute(Bstr(L"count"), Variant::Int(7)), S_OK);
    EXPECT_EQ(XmlOf(feature.Get()).find(L"<psf:Feature name=\"psk:Other&lt;&amp;&gt;\" count=\"7\">"), 0u)
        << platform::ToUtf8(XmlOf(feature.Get()));
}

// ---- node lifetimes

TEST_F(Dom, ANodeKeepsItsDocumentAlive)
{
    LoadTicket(kTicket);
    ComPtr<IXMLDOMNode> value = Select(ParameterQuery(L"JobCopiesAllDocuments", kPsk));
    ASSERT_TRUE(value);
    doc_.Reset();

    EXPECT_EQ(TextOf(value.Get()), L"3");
    EXPECT_EQ(XmlOf(value.Get()), L"<psf:Value xsi:type=\"xsd:integer\">3</psf:Value>");

    // A node of an earlier load stays usable after the document loads another.
    doc_ = NewDocument();
    LoadTicket(kTicket);
    value = Select(ParameterQuery(L"JobCopiesAllDocuments", kPsk));
    ASSERT_TRUE(value);
    ASSERT_EQ(LoadXml(L"<other/>"), S_OK);
    EXPECT_EQ(TextOf(value.Get()), L"3");
}

}  // namespace
