// Attributes of an element. MSXML shows namespace declarations as attributes named "xmlns" and
// "xmlns:prefix"; libxml2 keeps them apart (nsDef), so they are read and written here as such.
#include "domnode.h"

#include <cstring>

#include "domtext.h"

namespace platform::msxml {
namespace {

struct FoundAttribute {
    xmlAttrPtr attribute = nullptr;
    xmlNsPtr declaration = nullptr;
};

// For "xmlns" and "xmlns:p": whether the name declares a namespace, and which prefix.
bool IsDeclarationName(const std::string& name, std::optional<std::string>* prefix)
{
    if (name == "xmlns") {
        *prefix = std::nullopt;
        return true;
    }
    if (name.compare(0, 6, "xmlns:") == 0) {
        *prefix = name.substr(6);
        return true;
    }
    return false;
}

bool SamePrefix(const xmlChar* prefix, const std::optional<std::string>& wanted)
{
    return wanted ? (prefix != nullptr && xmlStrEqual(prefix, Xml(*wanted))) : prefix == nullptr;
}

FoundAttribute FindAttribute(const NodeRef& element, const std::string& name)
{
    FoundAttribute found;
    std::optional<std::string> prefix;
    if (IsDeclarationName(name, &prefix)) {
        for (xmlNsPtr ns = element.node->nsDef; ns != nullptr; ns = ns->next) {
            if (SamePrefix(ns->prefix, prefix)) {
                found.declaration = ns;
                return found;
            }
        }
        return found;
    }
    for (xmlAttrPtr attribute = element.node->properties; attribute != nullptr; attribute = attribute->next) {
        if (NodeNameOf(TreeNode(element.tree, reinterpret_cast<xmlNodePtr>(attribute))) == name) {
            found.attribute = attribute;
            return found;
        }
    }
    return found;
}

bool IsValidName(const std::string& name) { return !name.empty() && xmlValidateQName(Xml(name), 0) == 0; }

// setAttribute("xmlns:p", uri) and its node form: a new declaration on the element. Changing or
// undeclaring a prefix the element already declares would rebind the nodes that use it.
HRESULT Declare(const NodeRef& element, const std::optional<std::string>& prefix, const std::string& uri)
{
    if (prefix && (*prefix == "xmlns" || *prefix == "xml" || uri.empty())) {
        return E_FAIL;
    }
    for (xmlNsPtr ns = element.node->nsDef; ns != nullptr; ns = ns->next) {
        if (SamePrefix(ns->prefix, prefix)) {
            return xmlStrEqual(ns->href, Xml(uri)) ? S_OK : E_FAIL;
        }
    }
    return xmlNewNs(element.node, Xml(uri), prefix ? Xml(*prefix) : nullptr) != nullptr ? S_OK : E_OUTOFMEMORY;
}

std::pair<std::optional<std::string>, std::string> SplitName(const std::string& name)
{
    const std::size_t colon = name.find(':');
    if (colon == std::string::npos) {
        return {std::nullopt, name};
    }
    return {name.substr(0, colon), name.substr(colon + 1)};
}

void LinkAttribute(xmlNodePtr element, xmlAttrPtr attribute)
{
    attribute->parent = element;
    attribute->doc = element->doc;
    attribute->next = nullptr;
    attribute->prev = nullptr;
    if (element->properties == nullptr) {
        element->properties = attribute;
        return;
    }
    xmlAttrPtr last = element->properties;
    while (last->next != nullptr) {
        last = last->next;
    }
    last->next = attribute;
    attribute->prev = last;
}

bool IsElement(const NodeRef& ref) { return !ref.isNamespace && ref.node->type == XML_ELEMENT_NODE; }

}  // namespace

namespace ops {

HRESULT GetAttribute(const NodeRef& self, BSTR name, VARIANT* value)
{
    if (value == nullptr || !IsElement(self)) {
        return E_INVALIDARG;
    }
    const FoundAttribute found = FindAttribute(self, Utf8Of(name));
    if (found.declaration != nullptr) {
        return ReturnTextVariant(reinterpret_cast<const char*>(found.declaration->href), value);
    }
    if (found.attribute != nullptr) {
        return ReturnTextVariant(TextOf(TreeNode(self.tree, reinterpret_cast<xmlNodePtr>(found.attribute))), value);
    }
    return ReturnNullVariant(value);
}

HRESULT SetAttribute(const NodeRef& self, BSTR name, const VARIANT& value)
{
    if (!IsElement(self)) {
        return E_INVALIDARG;
    }
    const std::string qualifiedName = Utf8Of(name);
    if (!IsValidName(qualifiedName)) {
        return E_FAIL;
    }
    const std::optional<std::string> text = VariantText(value);
    if (!text) {
        return E_INVALIDARG;
    }
    std::optional<std::string> declaredPrefix;
    if (IsDeclarationName(qualifiedName, &declaredPrefix)) {
        return Declare(self, declaredPrefix, *text);
    }
    const FoundAttribute found = FindAttribute(self, qualifiedName);
    if (found.attribute != nullptr) {
        ReplaceContentWithText(TreeNode(self.tree, reinterpret_cast<xmlNodePtr>(found.attribute)), *text);
        return S_OK;
    }
    const auto [prefix, localName] = SplitName(qualifiedName);
    xmlNsPtr ns = prefix ? xmlSearchNs(self.Doc(), self.node, Xml(*prefix)) : nullptr;
    // The value is taken as is (no entity parsing); an unbound prefix stays part of the name.
    xmlAttrPtr attribute = ns != nullptr ? xmlNewNsProp(self.node, ns, Xml(localName), Xml(*text))
                                         : xmlNewProp(self.node, Xml(qualifiedName), Xml(*text));
    return attribute != nullptr ? S_OK : E_OUTOFMEMORY;
}

HRESULT RemoveAttribute(const NodeRef& self, BSTR name)
{
    if (!IsElement(self)) {
        return E_INVALIDARG;
    }
    const FoundAttribute found = FindAttribute(self, Utf8Of(name));
    if (found.declaration != nullptr) {
        return E_FAIL;  // nodes of the element may use it
    }
    if (found.attribute == nullptr) {
        return S_FALSE;
    }
    Detach(TreeNode(self.tree, reinterpret_cast<xmlNodePtr>(found.attribute)));
    return S_OK;
}

HRESULT GetAttributeNode(const NodeRef& self, IXMLDOMDocument2* owner, BSTR name, IXMLDOMAttribute** attribute)
{
    if (attribute == nullptr || !IsElement(self)) {
        return E_INVALIDARG;
    }
    *attribute = nullptr;
    const FoundAttribute found = FindAttribute(self, Utf8Of(name));
    if (found.declaration != nullptr) {
        return MakeNode(NamespaceNode(self.tree, self.node, found.declaration->prefix, found.declaration->href), owner,
                        attribute);
    }
    if (found.attribute != nullptr) {
        return MakeNode(TreeNode(self.tree, reinterpret_cast<xmlNodePtr>(found.attribute)), owner, attribute);
    }
    return S_FALSE;
}

HRESULT SetAttributeNode(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMAttribute* attributeNode,
                         IXMLDOMAttribute** replaced)
{
    if (replaced != nullptr) {
        *replaced = nullptr;
    }
    const std::optional<NodeRef> ref = RefOf(attributeNode);
    if (!IsElement(self) || !ref || ref->tree != self.tree) {
        return E_INVALIDARG;
    }
    if (ref->isNamespace) {
        return Declare(self, ref->namespacePrefix, ref->namespaceUri);
    }
    if (ref->node->type != XML_ATTRIBUTE_NODE) {
        return E_INVALIDARG;
    }
    auto* attribute = reinterpret_cast<xmlAttrPtr>(ref->node);
    if (attribute->parent == self.node) {
        return S_OK;
    }
    if (attribute->parent != nullptr) {
        return E_FAIL;  // it belongs to another element
    }

    const std::string qualifiedName = NodeNameOf(*ref);
    std::optional<std::string> declaredPrefix;
    if (attribute->ns == nullptr && IsDeclarationName(qualifiedName, &declaredPrefix)) {
        return Declare(self, declaredPrefix, TextOf(*ref));
    }
    // An attribute made by createAttribute("p:name") takes the namespace that p has here.
    if (attribute->ns == nullptr) {
        const auto [prefix, localName] = SplitName(qualifiedName);
        if (prefix) {
            if (xmlNsPtr ns = xmlSearchNs(self.Doc(), self.node, Xml(*prefix))) {
                xmlNodeSetName(ref->node, Xml(localName));
                attribute->ns = ns;
            }
        }
    }

    xmlAttrPtr existing = nullptr;
    for (xmlAttrPtr candidate = self.node->properties; candidate != nullptr; candidate = candidate->next) {
        const bool sameNamespace = candidate->ns == nullptr
                                       ? attribute->ns == nullptr
                                       : attribute->ns != nullptr && xmlStrEqual(candidate->ns->href, attribute->ns->href);
        if (sameNamespace && xmlStrEqual(candidate->name, attribute->name)) {
            existing = candidate;
            break;
        }
    }
    if (existing != nullptr) {
        const NodeRef existingRef = TreeNode(self.tree, reinterpret_cast<xmlNodePtr>(existing));
        Detach(existingRef);
        if (replaced != nullptr) {
            const HRESULT hr = MakeNode(existingRef, owner, replaced);
            if (FAILED(hr)) {
                return hr;
            }
        }
    }
    self.tree->Claim(ref->node);
    LinkAttribute(self.node, attribute);
    ReconcileNamespaces(self.Doc(), self.node);
    return S_OK;
}

HRESULT RemoveAttributeNode(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMAttribute* attributeNode,
                            IXMLDOMAttribute** removed)
{
    if (removed != nullptr) {
        *removed = nullptr;
    }
    const std::optional<NodeRef> ref = RefOf(attributeNode);
    if (!IsElement(self) || !ref || ref->tree != self.tree) {
        return E_INVALIDARG;
    }
    if (ref->isNamespace) {
        return ref->node == self.node ? E_FAIL : E_INVALIDARG;
    }
    if (ref->node->type != XML_ATTRIBUTE_NODE || ref->node->parent != self.node) {
        return E_INVALIDARG;
    }
    Detach(*ref);
    return removed == nullptr ? S_OK : MakeNode(*ref, owner, removed);
}

HRESULT GetElementsByTagName(const NodeRef& self, IXMLDOMDocument2* owner, BSTR name, IXMLDOMNodeList** list)
{
    if (list == nullptr) {
        return E_INVALIDARG;
    }
    *list = nullptr;
    if (self.isNamespace) {
        return E_INVALIDARG;
    }
    const std::string wanted = Utf8Of(name);
    std::vector<NodeRef> nodes;
    xmlNodePtr top = self.node;
    const bool hasElements = top->type == XML_ELEMENT_NODE || top->type == XML_DOCUMENT_NODE ||
                             top->type == XML_DOCUMENT_FRAG_NODE;
    xmlNodePtr node = hasElements ? top->children : nullptr;
    while (node != nullptr) {
        if (node->type == XML_ELEMENT_NODE) {
            const NodeRef ref = TreeNode(self.tree, node);
            if (wanted == "*" || NodeNameOf(ref) == wanted) {
                nodes.push_back(ref);
            }
            if (node->children != nullptr) {
                node = node->children;
                continue;
            }
        }
        while (node != top && node->next == nullptr) {
            node = node->parent;
        }
        if (node == top) {
            break;
        }
        node = node->next;
    }
    return MakeStaticList(std::move(nodes), owner, list);
}

}  // namespace ops
}  // namespace platform::msxml
