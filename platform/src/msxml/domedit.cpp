// Edits of the tree: inserting, removing, replacing and cloning nodes, and replacing content.
// Nodes are linked by hand rather than with xmlAddChild and friends, which merge adjacent text
// nodes and free the one added, under a COM object that may still point at it.
#include "domnode.h"

#include "domtext.h"
#include "platform/text.h"

namespace platform::msxml {
namespace {

bool CanHaveChildren(xmlElementType type)
{
    return type == XML_ELEMENT_NODE || type == XML_DOCUMENT_NODE || type == XML_DOCUMENT_FRAG_NODE;
}

bool CanBeChild(xmlElementType parent, xmlElementType child)
{
    switch (child) {
    case XML_ELEMENT_NODE:
    case XML_COMMENT_NODE:
    case XML_PI_NODE:
        return true;
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_ENTITY_REF_NODE:
        return parent != XML_DOCUMENT_NODE;
    default:
        return false;
    }
}

bool IsAncestorOrSelf(xmlNodePtr candidate, xmlNodePtr node)
{
    for (; node != nullptr; node = node->parent) {
        if (node == candidate) {
            return true;
        }
    }
    return false;
}

bool IsChildOf(const NodeRef& parent, const NodeRef& child)
{
    return !child.isNamespace && child.node->type != XML_ATTRIBUTE_NODE && child.node->parent == parent.node;
}

// Attributes share the layout of a node's first fields, so this serves them for their text too.
void Link(xmlNodePtr parent, xmlNodePtr child, xmlNodePtr before)
{
    child->parent = parent;
    child->doc = parent->doc;
    if (before != nullptr) {
        child->next = before;
        child->prev = before->prev;
        if (before->prev != nullptr) {
            before->prev->next = child;
        } else {
            parent->children = child;
        }
        before->prev = child;
    } else {
        child->next = nullptr;
        child->prev = parent->last;
        if (parent->last != nullptr) {
            parent->last->next = child;
        } else {
            parent->children = child;
        }
        parent->last = child;
    }
}

HRESULT ReturnOut(const NodeRef& ref, IXMLDOMDocument2* owner, IXMLDOMNode** out)
{
    return out == nullptr ? S_OK : MakeNode(ref, owner, out);
}

}  // namespace

void Detach(const NodeRef& ref)
{
    xmlUnlinkNode(ref.node);
    ref.tree->Adopt(ref.node);
    ReconcileNamespaces(ref.Doc(), ref.node);
}

void ReplaceContentWithText(const NodeRef& ref, const std::string& text)
{
    while (ref.node->children != nullptr) {
        Detach(TreeNode(ref.tree, ref.node->children));
    }
    if (text.empty()) {
        return;
    }
    xmlNodePtr node = xmlNewDocText(ref.Doc(), Xml(text));  // taken as is: no entity parsing
    if (node == nullptr) {
        throw std::bad_alloc();
    }
    Link(ref.node, node, nullptr);
}

namespace ops {

HRESULT InsertBefore(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNode* newChild, const VARIANT& refChild,
                     IXMLDOMNode** outNewChild)
{
    if (outNewChild != nullptr) {
        *outNewChild = nullptr;
    }
    if (newChild == nullptr) {
        return E_INVALIDARG;
    }
    const std::optional<NodeRef> child = RefOf(newChild);
    if (!child || child->tree != self.tree) {
        return E_INVALIDARG;  // not ours, or of another document
    }
    if (self.isNamespace || !CanHaveChildren(self.node->type) || child->isNamespace ||
        !CanBeChild(self.node->type, child->node->type) || IsAncestorOrSelf(child->node, self.node)) {
        return E_FAIL;
    }

    xmlNodePtr before = nullptr;
    switch (refChild.vt) {
    case VT_EMPTY:
    case VT_NULL:
        break;
    case VT_UNKNOWN:
    case VT_DISPATCH:
        if (refChild.punkVal != nullptr) {
            const std::optional<NodeRef> reference = RefOf(refChild.punkVal);
            if (!reference || reference->tree != self.tree || !IsChildOf(self, *reference)) {
                return E_INVALIDARG;
            }
            before = reference->node;
        }
        break;
    default:
        return E_INVALIDARG;
    }
    if (before == child->node) {
        return ReturnOut(*child, owner, outNewChild);
    }
    if (self.node->type == XML_DOCUMENT_NODE && child->node->type == XML_ELEMENT_NODE) {
        xmlNodePtr root = xmlDocGetRootElement(self.Doc());
        if (root != nullptr && root != child->node) {
            return E_FAIL;  // a document has one document element
        }
    }

    if (child->node->parent != nullptr) {
        xmlUnlinkNode(child->node);
    }
    self.tree->Claim(child->node);
    Link(self.node, child->node, before);
    DropRedundantDeclarations(*self.tree, child->node);
    ReconcileNamespaces(self.Doc(), child->node);
    return ReturnOut(*child, owner, outNewChild);
}

HRESULT AppendChild(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNode* newChild, IXMLDOMNode** outNewChild)
{
    VARIANT end;
    VariantInit(&end);
    return InsertBefore(self, owner, newChild, end, outNewChild);
}

HRESULT RemoveChild(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNode* childNode, IXMLDOMNode** outOldChild)
{
    if (outOldChild != nullptr) {
        *outOldChild = nullptr;
    }
    const std::optional<NodeRef> child = RefOf(childNode);
    if (!child || child->tree != self.tree || self.isNamespace || !IsChildOf(self, *child)) {
        return E_INVALIDARG;
    }
    Detach(*child);
    return ReturnOut(*child, owner, outOldChild);
}

HRESULT ReplaceChild(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNode* newChild, IXMLDOMNode* oldChild,
                     IXMLDOMNode** outOldChild)
{
    if (outOldChild != nullptr) {
        *outOldChild = nullptr;
    }
    const std::optional<NodeRef> old = RefOf(oldChild);
    if (newChild == nullptr || !old || old->tree != self.tree || self.isNamespace || !IsChildOf(self, *old)) {
        return E_INVALIDARG;
    }
    const std::optional<NodeRef> replacement = RefOf(newChild);
    if (replacement && !replacement->isNamespace && replacement->node == old->node) {
        return ReturnOut(*old, owner, outOldChild);
    }
    if (self.node->type == XML_DOCUMENT_NODE && old->node->type == XML_ELEMENT_NODE && replacement &&
        !replacement->isNamespace && replacement->node->type == XML_ELEMENT_NODE) {
        // The new document element takes the old one's place: take the old one out first.
        xmlNodePtr next = old->node->next;
        Detach(*old);
        VARIANT before;
        VariantInit(&before);
        Microsoft::WRL::ComPtr<IXMLDOMNode> nextNode;
        if (next != nullptr) {
            const HRESULT hr = MakeNode(TreeNode(self.tree, next), owner, nextNode.GetAddressOf());
            if (FAILED(hr)) {
                return hr;
            }
            before.vt = VT_UNKNOWN;
            before.punkVal = nextNode.Get();
        }
        const HRESULT hr = InsertBefore(self, owner, newChild, before, nullptr);
        if (FAILED(hr)) {
            self.tree->Claim(old->node);
            Link(self.node, old->node, next);
            ReconcileNamespaces(self.Doc(), old->node);
            return hr;
        }
        return ReturnOut(*old, owner, outOldChild);
    }
    VARIANT before;
    VariantInit(&before);
    before.vt = VT_UNKNOWN;
    before.punkVal = oldChild;
    const HRESULT hr = InsertBefore(self, owner, newChild, before, nullptr);
    if (FAILED(hr)) {
        return hr;
    }
    Detach(*old);
    return ReturnOut(*old, owner, outOldChild);
}

HRESULT CloneNode(const NodeRef& self, IXMLDOMDocument2* owner, VARIANT_BOOL deep, IXMLDOMNode** clone)
{
    if (clone == nullptr) {
        return E_INVALIDARG;
    }
    *clone = nullptr;
    if (self.isNamespace) {
        return MakeNode(self, owner, clone);
    }
    xmlNodePtr copy = nullptr;
    switch (self.node->type) {
    case XML_DOCUMENT_NODE:
    case XML_DTD_NODE:
        return E_NOTIMPL;
    case XML_ATTRIBUTE_NODE: {
        // xmlCopyProp drops the namespace of an attribute copied without an element.
        xmlAttrPtr attribute = xmlNewDocProp(self.Doc(), self.node->name, nullptr);
        if (attribute == nullptr) {
            return E_OUTOFMEMORY;
        }
        copy = reinterpret_cast<xmlNodePtr>(attribute);
        self.tree->Adopt(copy);
        if (self.node->ns != nullptr) {
            attribute->ns = self.tree->DetachedNamespace(
                reinterpret_cast<const char*>(self.node->ns->href),
                self.node->ns->prefix == nullptr ? std::nullopt
                                                 : std::optional<std::string>(reinterpret_cast<const char*>(self.node->ns->prefix)));
        }
        ReplaceContentWithText(TreeNode(self.tree, copy), TextOf(self));
        break;
    }
    default:
        copy = xmlDocCopyNode(self.node, self.Doc(), deep != VARIANT_FALSE ? 1 : 2);
        if (copy == nullptr) {
            return E_OUTOFMEMORY;
        }
        self.tree->Adopt(copy);
        break;
    }
    return MakeNode(TreeNode(self.tree, copy), owner, clone);
}

HRESULT PutText(const NodeRef& self, BSTR text)
{
    if (self.isNamespace) {
        return E_FAIL;
    }
    const std::string value = Utf8Of(text);
    switch (self.node->type) {
    case XML_ELEMENT_NODE:
    case XML_ATTRIBUTE_NODE:
    case XML_DOCUMENT_FRAG_NODE:
        ReplaceContentWithText(self, value);
        return S_OK;
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
    case XML_PI_NODE:
        xmlNodeSetContent(self.node, Xml(value));  // for these, the text as is
        return S_OK;
    default:
        return E_FAIL;
    }
}

HRESULT PutNodeValue(const NodeRef& self, const VARIANT& value)
{
    if (self.isNamespace) {
        return E_FAIL;
    }
    switch (self.node->type) {
    case XML_ATTRIBUTE_NODE:
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
    case XML_PI_NODE: {
        const std::optional<std::string> text = VariantText(value);
        if (!text) {
            return E_INVALIDARG;
        }
        if (self.node->type == XML_ATTRIBUTE_NODE) {
            ReplaceContentWithText(self, *text);
        } else {
            xmlNodeSetContent(self.node, Xml(*text));
        }
        return S_OK;
    }
    default:
        return E_FAIL;  // elements and documents have no value
    }
}

HRESULT Data(const NodeRef& self, BSTR* data) { return ReturnText(TextOf(self), data); }

HRESULT PutData(const NodeRef& self, BSTR data) { return PutText(self, data); }

HRESULT Length(const NodeRef& self, long* length)
{
    if (length == nullptr) {
        return E_INVALIDARG;
    }
    *length = static_cast<long>(ToUtf16(WideOf(TextOf(self))).size());  // in UTF-16 units, as on Windows
    return S_OK;
}

}  // namespace ops
}  // namespace platform::msxml
