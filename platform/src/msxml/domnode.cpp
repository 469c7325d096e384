// What a node tells about itself: names, values, text, markup, navigation and XPath selection.
#include "domnode.h"

#include <libxml/xmlsave.h>

#include "domtext.h"
#include "xpathquery.h"

namespace platform::msxml {
namespace {

constexpr const char* kXmlnsUri = "http://www.w3.org/2000/xmlns/";

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
    // No node carries a datatype (dt:dt), so every typed value is the node's text.
    return ReturnTextVariant(TextOf(self), value);
}

HRESULT DataType(VARIANT* dataTypeName) { return ReturnNullVariant(dataTypeName); }

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
