// The node object classes, one per kind of node, and the choice among them.
#include "domnode.h"

namespace platform::msxml {
namespace {

class GenericNode final : public NodeObject<GenericNode, IXMLDOMNode> {
public:
    GenericNode(NodeRef ref, IXMLDOMDocument2* owner) : NodeObject(std::move(ref), owner) {}
};

class ElementNode final : public NodeObject<ElementNode, IXMLDOMElement> {
public:
    ElementNode(NodeRef ref, IXMLDOMDocument2* owner) : NodeObject(std::move(ref), owner) {}

    HRESULT get_tagName(BSTR* tagName) override { return Guarded([&] { return ops::NodeName(ref_, tagName); }); }
    HRESULT getAttribute(BSTR name, VARIANT* value) override
    {
        return Guarded([&] { return ops::GetAttribute(ref_, name, value); });
    }
    HRESULT setAttribute(BSTR name, VARIANT value) override
    {
        return Guarded([&] { return ops::SetAttribute(ref_, name, value); });
    }
    HRESULT removeAttribute(BSTR name) override { return Guarded([&] { return ops::RemoveAttribute(ref_, name); }); }
    HRESULT getAttributeNode(BSTR name, IXMLDOMAttribute** attribute) override
    {
        return Guarded([&] { return ops::GetAttributeNode(ref_, Owner(), name, attribute); });
    }
    HRESULT setAttributeNode(IXMLDOMAttribute* attribute, IXMLDOMAttribute** replaced) override
    {
        return Guarded([&] { return ops::SetAttributeNode(ref_, Owner(), attribute, replaced); });
    }
    HRESULT removeAttributeNode(IXMLDOMAttribute* attribute, IXMLDOMAttribute** removed) override
    {
        return Guarded([&] { return ops::RemoveAttributeNode(ref_, Owner(), attribute, removed); });
    }
    HRESULT getElementsByTagName(BSTR tagName, IXMLDOMNodeList** list) override
    {
        return Guarded([&] { return ops::GetElementsByTagName(ref_, Owner(), tagName, list); });
    }
    HRESULT normalize() override { return E_NOTIMPL; }
};

// Attributes, and namespace nodes, which MSXML presents as the attributes "xmlns:prefix".
class AttributeNode final : public NodeObject<AttributeNode, IXMLDOMAttribute> {
public:
    AttributeNode(NodeRef ref, IXMLDOMDocument2* owner) : NodeObject(std::move(ref), owner) {}

    HRESULT get_name(BSTR* name) override { return Guarded([&] { return ops::NodeName(ref_, name); }); }
    HRESULT get_value(VARIANT* value) override { return Guarded([&] { return ops::NodeValue(ref_, value); }); }
    HRESULT put_value(VARIANT value) override { return Guarded([&] { return ops::PutNodeValue(ref_, value); }); }
};

class TextNode final : public TextObject<TextNode, IXMLDOMText> {
public:
    TextNode(NodeRef ref, IXMLDOMDocument2* owner) : TextObject(std::move(ref), owner) {}
};

class CDataSectionNode final : public TextObject<CDataSectionNode, IXMLDOMCDATASection> {
public:
    CDataSectionNode(NodeRef ref, IXMLDOMDocument2* owner) : TextObject(std::move(ref), owner) {}
};

class CommentNode final : public CharacterDataObject<CommentNode, IXMLDOMComment> {
public:
    CommentNode(NodeRef ref, IXMLDOMDocument2* owner) : CharacterDataObject(std::move(ref), owner) {}
};

template <class T>
HRESULT Create(const NodeRef& ref, IXMLDOMDocument2* owner, REFIID iid, void** object)
{
    T* node = new T(ref, owner);
    const HRESULT hr = node->QueryInterface(iid, object);
    node->Release();
    return hr;
}

}  // namespace

HRESULT MakeNode(const NodeRef& ref, IXMLDOMDocument2* owner, REFIID iid, void** object)
{
    if (object == nullptr) {
        return E_INVALIDARG;
    }
    *object = nullptr;
    switch (ref.Type()) {
    case XML_ELEMENT_NODE:
        return Create<ElementNode>(ref, owner, iid, object);
    case XML_ATTRIBUTE_NODE:
    case XML_NAMESPACE_DECL:
        return Create<AttributeNode>(ref, owner, iid, object);
    case XML_TEXT_NODE:
        return Create<TextNode>(ref, owner, iid, object);
    case XML_CDATA_SECTION_NODE:
        return Create<CDataSectionNode>(ref, owner, iid, object);
    case XML_COMMENT_NODE:
        return Create<CommentNode>(ref, owner, iid, object);
    case XML_DOCUMENT_NODE:
        // The document node of the document's current tree is the document object itself.
        if (owner != nullptr) {
            const std::optional<NodeRef> current = RefOf(owner);
            if (current && current->tree == ref.tree && current->node == ref.node) {
                return owner->QueryInterface(iid, object);
            }
        }
        return Create<GenericNode>(ref, owner, iid, object);
    default:
        return Create<GenericNode>(ref, owner, iid, object);
    }
}

}  // namespace platform::msxml
