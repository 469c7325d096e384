// What a node tells about itself: names, values, text, markup, navigation and XPath selection.
#include "domnode.h"

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include <libxml/xmlsave.h>

#include "domtext.h"
#include "xpathquery.h"

namespace platform::msxml {
namespace {

constexpr const char* kXmlnsUri = "http://www.w3.org/2000/xmlns/";

// Stores a rounded number in a VARIANT field when it lies within Range, the field's Windows width
// (LONG and ULONG are wider here than on Windows).
template <class Range, class Field>
HRESULT StoreWhole(double whole, Field& field)
{
    if (whole < static_cast<double>(std::numeric_limits<Range>::min()) ||
        whole > static_cast<double>(std::numeric_limits<Range>::max())) {
        return DISP_E_OVERFLOW;
    }
    field = static_cast<Field>(whole);
    return S_OK;
}

bool IsXmlSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string NameOf(const xmlChar* name) { return name == nullptr ? std::string() : reinterpret_cast<const char*>(name); }

bool IsElementOrAttribute(const NodeRef& ref)
{
    return !ref.isNamespace && (ref.node->type == XML_ELEMENT_NODE || ref.node->type == XML_ATTRIBUTE_NODE);
}

// Elements and attributes made by createElement/createAttribute keep "prefix:name" whole, with no
// namespace, as MSXML does; the prefix and base name are still read from it.
std::optional<std::string> PrefixOf(const NodeRef& ref)
{
    if (ref.isNamespace) {
        return ref.namespacePrefix ? std::optional<std::string>("xmlns") : std::nullopt;
    }
    if (!IsElementOrAttribute(ref)) {
        return std::nullopt;
    }
    if (ref.node->ns != nullptr) {
        return ref.node->ns->prefix != nullptr ? std::optional<std::string>(NameOf(ref.node->ns->prefix)) : std::nullopt;
    }
    const std::string name = NameOf(ref.node->name);
    const std::size_t colon = name.find(':');
    return colon == std::string::npos ? std::nullopt : std::optional<std::string>(name.substr(0, colon));
}

// Text and CDATA of the node's descendants, in document order.
std::string DescendantText(xmlNodePtr top)
{
    std::string text;
    xmlNodePtr node = top->children;
    while (node != nullptr) {
        switch (node->type) {
        case XML_TEXT_NODE:
        case XML_CDATA_SECTION_NODE:
            if (node->content != nullptr) {
                text += reinterpret_cast<const char*>(node->content);
            }
            break;
        case XML_ENTITY_REF_NODE:
            // Only in documents that allow a DTD; libxml2 bounded the entities' size at parse.
            text += TakeXmlString(xmlNodeGetContent(node));
            break;
        default:
            break;
        }
        if (node->type == XML_ELEMENT_NODE && node->children != nullptr) {
            node = node->children;
            continue;
        }
        while (node != top && node->next == nullptr) {
            node = node->parent;
        }
        if (node == top) {
            break;
        }
        node = node->next;
    }
    return text;
}

std::string Trimmed(const std::string& text)
{
    std::size_t begin = 0;
    std::size_t end = text.size();
    while (begin < end && IsXmlSpace(text[begin])) {
        ++begin;
    }
    while (end > begin && IsXmlSpace(text[end - 1])) {
        --end;
    }
    return text.substr(begin, end - begin);
}

std::string EscapedAttributeValue(const std::string& value)
{
    std::string escaped;
    for (char c : value) {
        switch (c) {
        case '&': escaped += "&amp;"; break;
        case '<': escaped += "&lt;"; break;
        case '"': escaped += "&quot;"; break;
        case '\n': escaped += "&#10;"; break;
        case '\r': escaped += "&#13;"; break;
        case '\t': escaped += "&#9;"; break;
        default: escaped += c; break;
        }
    }
    return escaped;
}

std::string Markup(xmlDocPtr doc, xmlNodePtr node)
{
    xmlBufferPtr buffer = xmlBufferCreate();
    if (buffer == nullptr) {
        throw std::bad_alloc();
    }
    const int written = xmlNodeDump(buffer, doc, node, 0, 0);
    std::string markup = written < 0 ? std::string() : std::string(reinterpret_cast<const char*>(xmlBufferContent(buffer)),
                                                                    static_cast<std::size_t>(xmlBufferLength(buffer)));
    xmlBufferFree(buffer);
    return markup;
}

xmlNodePtr FirstChildOf(const NodeRef& ref)
{
    if (ref.isNamespace) {
        return nullptr;
    }
    switch (ref.node->type) {
    case XML_ELEMENT_NODE:
    case XML_ATTRIBUTE_NODE:
    case XML_DOCUMENT_NODE:
    case XML_DOCUMENT_FRAG_NODE:
        return ref.node->children;
    default:
        return nullptr;  // an entity reference's children belong to the entity's declaration
    }
}

xmlNodePtr LastChildOf(const NodeRef& ref) { return FirstChildOf(ref) == nullptr ? nullptr : ref.node->last; }

// Attributes and namespace nodes have no siblings in the DOM.
bool HasSiblings(const NodeRef& ref) { return !ref.isNamespace && ref.node->type != XML_ATTRIBUTE_NODE; }

// A type of urn:schemas-microsoft-com:datatypes as MSXML treats it: the VARIANT type of the typed
// value, and whether get_dataType names the type (those that only restate text go unnamed).
struct DatatypeInfo {
    const char* name;
    VARTYPE typedValue;  // VT_EMPTY: a conversion not carried out here
    bool named;
};

constexpr const char* kDatatypesUri = "urn:schemas-microsoft-com:datatypes";

constexpr DatatypeInfo kDatatypes[] = {
    {"bin.base64", VT_EMPTY, true}, {"bin.hex", VT_EMPTY, true},    {"boolean", VT_BOOL, true},
    {"char", VT_EMPTY, true},       {"date", VT_EMPTY, true},       {"date.tz", VT_EMPTY, true},
    {"dateTime", VT_EMPTY, true},   {"dateTime.tz", VT_EMPTY, true}, {"fixed.14.4", VT_EMPTY, true},
    {"float", VT_R8, true},         {"i1", VT_I1, true},            {"i2", VT_I2, true},
    {"i4", VT_I4, true},            {"i8", VT_EMPTY, true},         {"int", VT_I4, true},
    {"number", VT_BSTR, true},      {"r4", VT_R4, true},            {"r8", VT_R8, true},
    {"time", VT_EMPTY, true},       {"time.tz", VT_EMPTY, true},    {"ui1", VT_UI1, true},
    {"ui2", VT_UI2, true},          {"ui4", VT_UI4, true},          {"ui8", VT_EMPTY, true},
    {"uri", VT_BSTR, true},         {"uuid", VT_BSTR, true},        {"string", VT_BSTR, false},
    {"nmtoken", VT_BSTR, false},    {"nmtokens", VT_BSTR, false},   {"entity", VT_BSTR, false},
    {"entities", VT_BSTR, false},   {"enumeration", VT_BSTR, false}, {"id", VT_BSTR, false},
    {"idref", VT_BSTR, false},      {"idrefs", VT_BSTR, false},     {"notation", VT_BSTR, false},
};

// An element is typed by its dt:dt attribute, or by being itself an element of the datatypes
// namespace. Type names are matched regardless of case; an unknown name leaves the node untyped.
const DatatypeInfo* DatatypeOf(const NodeRef& ref)
{
    if (ref.Type() != XML_ELEMENT_NODE) {
        return nullptr;
    }
    const xmlNodePtr node = ref.node;
    std::string name;
    if (node->ns != nullptr && xmlStrEqual(node->ns->href, Xml(kDatatypesUri))) {
        name = NameOf(node->name);
    } else if (xmlHasNsProp(node, Xml("dt"), Xml(kDatatypesUri)) != nullptr) {
        name = TakeXmlString(xmlGetNsProp(node, Xml("dt"), Xml(kDatatypesUri)));
    } else {
        return nullptr;
    }
    for (const DatatypeInfo& type : kDatatypes) {
        if (xmlStrcasecmp(Xml(type.name), Xml(name)) == 0) {
            return &type;
        }
    }
    return nullptr;
}

// Text as the automation conversions read a number: blanks around it, a sign, a fraction and an
// exponent.
std::optional<double> NumberOf(const std::string& text)
{
    const std::string trimmed = Trimmed(text);
    std::size_t i = trimmed.empty() || (trimmed[0] != '+' && trimmed[0] != '-') ? 0 : 1;
    bool anyDigit = false;
    const auto digits = [&] {
        for (; i < trimmed.size() && trimmed[i] >= '0' && trimmed[i] <= '9'; ++i) {
            anyDigit = true;
        }
    };
    digits();
    if (i < trimmed.size() && trimmed[i] == '.') {
        ++i;
        digits();
    }
    if (anyDigit && i < trimmed.size() && (trimmed[i] == 'e' || trimmed[i] == 'E')) {
        anyDigit = false;  // the exponent needs digits of its own
        if (++i < trimmed.size() && (trimmed[i] == '+' || trimmed[i] == '-')) {
            ++i;
        }
        digits();
    }
    if (!anyDigit || i != trimmed.size()) {
        return std::nullopt;
    }
    return std::strtod(trimmed.c_str(), nullptr);
}

// The typed value of text, converted as VariantChangeTypeEx converts a VT_BSTR in US English.
HRESULT ConvertText(const std::string& text, VARTYPE type, VARIANT* value)
{
    if (type == VT_EMPTY) {
        return E_NOTIMPL;
    }
    if (type == VT_BSTR) {
        return ReturnTextVariant(text, value);
    }
    if (type == VT_BOOL) {
        const std::string trimmed = Trimmed(text);
        if (xmlStrcasecmp(Xml(trimmed), Xml("true")) == 0 || xmlStrcasecmp(Xml(trimmed), Xml("false")) == 0) {
            value->vt = VT_BOOL;
            value->boolVal = trimmed.size() == 4 ? VARIANT_TRUE : VARIANT_FALSE;
            return S_OK;
        }
    }
    const std::optional<double> number = NumberOf(text);
    if (!number) {
        return DISP_E_TYPEMISMATCH;
    }
    const double whole = std::nearbyint(*number);  // halves go to the even neighbour
    HRESULT stored = S_OK;
    switch (type) {
    case VT_BOOL: value->boolVal = *number != 0 ? VARIANT_TRUE : VARIANT_FALSE; break;
    case VT_R8:
        if (!std::isfinite(*number)) {
            return DISP_E_OVERFLOW;
        }
        value->dblVal = *number;
        break;
    case VT_R4:
        if (!(std::fabs(*number) <= FLT_MAX)) {
            return DISP_E_OVERFLOW;
        }
        value->fltVal = static_cast<float>(*number);
        break;
    case VT_I1: stored = StoreWhole<std::int8_t>(whole, value->cVal); break;
    case VT_I2: stored = StoreWhole<std::int16_t>(whole, value->iVal); break;
    case VT_I4: stored = StoreWhole<std::int32_t>(whole, value->lVal); break;
    case VT_UI1: stored = StoreWhole<std::uint8_t>(whole, value->bVal); break;
    case VT_UI2: stored = StoreWhole<std::uint16_t>(whole, value->uiVal); break;
    case VT_UI4: stored = StoreWhole<std::uint32_t>(whole, value->ulVal); break;
    default:
        return E_UNEXPECTED;  // not a type of the table
    }
    if (FAILED(stored)) {
        return stored;
    }
    value->vt = type;
    return S_OK;
}

HRESULT ReturnTreeNode(const NodeRef& self, xmlNodePtr node, IXMLDOMDocument2* owner, IXMLDOMNode** object)
{
    return ReturnNode(node == nullptr ? std::nullopt : std::optional<NodeRef>(TreeNode(self.tree, node)), owner, object);
}

}  // namespace

std::optional<NodeRef> RefOf(IUnknown* node)
{
    if (node == nullptr) {
        return std::nullopt;
    }
    INodeAccess* access = nullptr;
    if (FAILED(node->QueryInterface(INodeAccess::iid, reinterpret_cast<void**>(&access)))) {
        return std::nullopt;
    }
    NodeRef ref = access->Ref();
    access->Release();
    return ref;
}

HRESULT ReturnNode(const std::optional<NodeRef>& ref, IXMLDOMDocument2* owner, IXMLDOMNode** object)
{
    if (object == nullptr) {
        return E_INVALIDARG;
    }
    *object = nullptr;
    if (!ref) {
        return S_FALSE;
    }
    return MakeNode(*ref, owner, object);
}

std::string NodeNameOf(const NodeRef& ref)
{
    if (ref.isNamespace) {
        return ref.namespacePrefix ? "xmlns:" + *ref.namespacePrefix : std::string("xmlns");
    }
    xmlNodePtr node = ref.node;
    switch (node->type) {
    case XML_ELEMENT_NODE:
    case XML_ATTRIBUTE_NODE:
        if (node->ns != nullptr && node->ns->prefix != nullptr) {
            return NameOf(node->ns->prefix) + ":" + NameOf(node->name);
        }
        return NameOf(node->name);
    case XML_TEXT_NODE:
        return "#text";
    case XML_CDATA_SECTION_NODE:
        return "#cdata-section";
    case XML_COMMENT_NODE:
        return "#comment";
    case XML_DOCUMENT_NODE:
    case XML_HTML_DOCUMENT_NODE:
        return "#document";
    case XML_DOCUMENT_FRAG_NODE:
        return "#document-fragment";
    default:
        return NameOf(node->name);
    }
}

std::string TextOf(const NodeRef& ref)
{
    if (ref.isNamespace) {
        return ref.namespaceUri;
    }
    xmlNodePtr node = ref.node;
    switch (node->type) {
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
    case XML_PI_NODE:
        return NameOf(node->content);
    case XML_ATTRIBUTE_NODE:
    case XML_ENTITY_REF_NODE:
        return TakeXmlString(xmlNodeGetContent(node));
    case XML_ELEMENT_NODE:
    case XML_DOCUMENT_NODE:
    case XML_DOCUMENT_FRAG_NODE: {
        std::string text = DescendantText(node);
        return ref.tree->Settings().preserveWhiteSpace ? text : Trimmed(text);
    }
    default:
        return {};
    }
}

std::optional<std::string> BaseNameOf(const NodeRef& ref)
{
    if (ref.isNamespace) {
        return ref.namespacePrefix;  // the default namespace's node has none
    }
    switch (ref.node->type) {
    case XML_ELEMENT_NODE:
    case XML_ATTRIBUTE_NODE: {
        const std::string name = NameOf(ref.node->name);
        const std::size_t colon = ref.node->ns == nullptr ? name.find(':') : std::string::npos;
        return colon == std::string::npos ? name : name.substr(colon + 1);
    }
    case XML_PI_NODE:
    case XML_ENTITY_REF_NODE:
        return NameOf(ref.node->name);
    default:
        return std::nullopt;
    }
}

std::optional<std::string> NamespaceUriOf(const NodeRef& ref)
{
    if (ref.isNamespace) {
        return std::string(kXmlnsUri);
    }
    if (IsElementOrAttribute(ref) && ref.node->ns != nullptr && ref.node->ns->href != nullptr) {
        return NameOf(ref.node->ns->href);
    }
    return std::nullopt;
}

namespace ops {

HRESULT NodeName(const NodeRef& self, BSTR* name) { return ReturnText(NodeNameOf(self), name); }

HRESULT NodeValue(const NodeRef& self, VARIANT* value)
{
    switch (self.Type()) {
    case XML_ATTRIBUTE_NODE:
    case XML_NAMESPACE_DECL:
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
    case XML_PI_NODE:
        return ReturnTextVariant(TextOf(self), value);
    default:
        return ReturnNullVariant(value);
    }
}

HRESULT NodeType(const NodeRef& self, DOMNodeType* type)
{
    if (type == nullptr) {
        return E_INVALIDARG;
    }
    switch (self.Type()) {
    case XML_ELEMENT_NODE: *type = NODE_ELEMENT; break;
    case XML_ATTRIBUTE_NODE:
    case XML_NAMESPACE_DECL: *type = NODE_ATTRIBUTE; break;
    case XML_TEXT_NODE: *type = NODE_TEXT; break;
    case XML_CDATA_SECTION_NODE: *type = NODE_CDATA_SECTION; break;
    case XML_ENTITY_REF_NODE: *type = NODE_ENTITY_REFERENCE; break;
    case XML_ENTITY_DECL: *type = NODE_ENTITY; break;
    case XML_PI_NODE: *type = NODE_PROCESSING_INSTRUCTION; break;
    case XML_COMMENT_NODE: *type = NODE_COMMENT; break;
    case XML_DOCUMENT_NODE:
    case XML_HTML_DOCUMENT_NODE: *type = NODE_DOCUMENT; break;
    case XML_DTD_NODE:
    case XML_DOCUMENT_TYPE_NODE: *type = NODE_DOCUMENT_TYPE; break;
    case XML_DOCUMENT_FRAG_NODE: *type = NODE_DOCUMENT_FRAGMENT; break;
    case XML_NOTATION_NODE: *type = NODE_NOTATION; break;
    default: *type = NODE_INVALID; break;
    }
    return S_OK;
}

HRESULT ParentNode(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNode** parent)
{
    const bool hasParent = HasSiblings(self) && self.node->type != XML_DOCUMENT_NODE;
    return ReturnTreeNode(self, hasParent ? self.node->parent : nullptr, owner, parent);
}

HRESULT ChildNodes(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNodeList** list)
{
    return MakeChildList(self, owner, list);
}

HRESULT FirstChild(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNode** child)
{
    return ReturnTreeNode(self, FirstChildOf(self), owner, child);
}

HRESULT LastChild(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNode** child)
{
    return ReturnTreeNode(self, LastChildOf(self), owner, child);
}

HRESULT PreviousSibling(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNode** sibling)
{
    return ReturnTreeNode(self, HasSiblings(self) ? self.node->prev : nullptr, owner, sibling);
}

HRESULT NextSibling(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNode** sibling)
{
    return ReturnTreeNode(self, HasSiblings(self) ? self.node->next : nullptr, owner, sibling);
}

HRESULT Attributes(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNamedNodeMap** map)
{
    if (map == nullptr) {
        return E_INVALIDARG;
    }
    *map = nullptr;
    if (self.Type() != XML_ELEMENT_NODE) {
        return S_FALSE;
    }
    return MakeAttributeMap(self, owner, map);
}

HRESULT HasChildNodes(const NodeRef& self, VARIANT_BOOL* hasChild)
{
    if (hasChild == nullptr) {
        return E_INVALIDARG;
    }
    const bool any = FirstChildOf(self) != nullptr;
    *hasChild = any ? VARIANT_TRUE : VARIANT_FALSE;
    return any ? S_OK : S_FALSE;
}

HRESULT OwnerDocument(IXMLDOMDocument2* owner, IXMLDOMDocument** document)
{
    if (document == nullptr) {
        return E_INVALIDARG;
    }
    *document = nullptr;
    if (owner == nullptr) {
        return S_FALSE;  // the document itself
    }
    return owner->QueryInterface(IID_IXMLDOMDocument, reinterpret_cast<void**>(document));
}

HRESULT NodeTypeString(const NodeRef& self, BSTR* typeName)
{
    static const char* const kNames[] = {"",        "element",   "attribute", "text",     "cdatasection",
                                         "entityreference", "entity", "processinginstruction", "comment",
                                         "document", "documenttype", "documentfragment", "notation"};
    DOMNodeType type = NODE_INVALID;
    NodeType(self, &type);
    return ReturnText(std::string(kNames[type]), typeName);
}

HRESULT Text(const NodeRef& self, BSTR* text) { return ReturnText(TextOf(self), text); }

HRESULT NodeTypedValue(const NodeRef& self, VARIANT* value)
{
    if (value == nullptr) {
        return E_INVALIDARG;
    }
    VariantInit(value);
    const DatatypeInfo* type = DatatypeOf(self);
    if (type == nullptr) {
        return ReturnTextVariant(TextOf(self), value);
    }
    // A typed value reads the text as written, whitespace and all.
    return ConvertText(DescendantText(self.node), type->typedValue, value);
}

HRESULT DataType(const NodeRef& self, VARIANT* dataTypeName)
{
    const DatatypeInfo* type = DatatypeOf(self);
    if (type != nullptr && type->named && dataTypeName != nullptr) {
        return ReturnTextVariant(type->name, dataTypeName);
    }
    const HRESULT hr = ReturnNullVariant(dataTypeName);
    if (dataTypeName != nullptr) {
        dataTypeName->bstrVal = nullptr;
    }
    return hr;
}

HRESULT XmlText(const NodeRef& self, BSTR* xml)
{
    if (self.isNamespace) {
        return ReturnText(NodeNameOf(self) + "=\"" + EscapedAttributeValue(self.namespaceUri) + "\"", xml);
    }
    switch (self.node->type) {
    case XML_DOCUMENT_NODE: {
        std::string markup;
        for (xmlNodePtr child = self.node->children; child != nullptr; child = child->next) {
            markup += Markup(self.Doc(), child) + "\r\n";
        }
        return ReturnText(markup, xml);
    }
    case XML_ATTRIBUTE_NODE: {
        std::string markup = Markup(self.Doc(), self.node);
        if (!markup.empty() && markup.front() == ' ') {
            markup.erase(0, 1);
        }
        return ReturnText(markup, xml);
    }
    default:
        return ReturnText(Markup(self.Doc(), self.node), xml);
    }
}

HRESULT SelectNodes(const NodeRef& self, IXMLDOMDocument2* owner, BSTR query, IXMLDOMNodeList** list)
{
    if (list == nullptr) {
        return E_INVALIDARG;
    }
    *list = nullptr;
    std::vector<NodeRef> nodes;
    const HRESULT hr = EvaluateXPath(self, Utf8Of(query), &nodes);
    if (FAILED(hr)) {
        return hr;
    }
    return MakeStaticList(std::move(nodes), owner, list);
}

HRESULT SelectSingleNode(const NodeRef& self, IXMLDOMDocument2* owner, BSTR query, IXMLDOMNode** node)
{
    if (node == nullptr) {
        return E_INVALIDARG;
    }
    *node = nullptr;
    std::vector<NodeRef> nodes;
    const HRESULT hr = EvaluateXPath(self, Utf8Of(query), &nodes);
    if (FAILED(hr)) {
        return hr;
    }
    return ReturnNode(nodes.empty() ? std::nullopt : std::optional<NodeRef>(nodes.front()), owner, node);
}

HRESULT NamespaceUri(const NodeRef& self, BSTR* uri) { return ReturnOptionalText(NamespaceUriOf(self), uri); }

HRESULT Prefix(const NodeRef& self, BSTR* prefix) { return ReturnOptionalText(PrefixOf(self), prefix); }

HRESULT BaseName(const NodeRef& self, BSTR* name) { return ReturnOptionalText(BaseNameOf(self), name); }

}  // namespace ops
}  // namespace platform::msxml
