// Node lists (a node's children, live; a selection, fixed) and an element's attribute map.
#include "domnode.h"

#include "domtext.h"

namespace platform::msxml {
namespace {

using Microsoft::WRL::ComPtr;

HRESULT ItemOf(const std::vector<NodeRef>& nodes, long index, IXMLDOMDocument2* owner, IXMLDOMNode** item)
{
    if (item == nullptr) {
        return E_INVALIDARG;
    }
    *item = nullptr;
    if (index < 0 || static_cast<std::size_t>(index) >= nodes.size()) {
        return S_FALSE;
    }
    return MakeNode(nodes[static_cast<std::size_t>(index)], owner, item);
}

HRESULT LengthOf(const std::vector<NodeRef>& nodes, long* length)
{
    if (length == nullptr) {
        return E_INVALIDARG;
    }
    *length = static_cast<long>(nodes.size());
    return S_OK;
}

// The list and the map are walked with nextNode by position, which stays safe when the nodes
// change between calls.
template <class Derived, class Interface>
class NodeSequence : public ComObject<Derived, DispatchNotImplemented<Interface>> {
public:
    HRESULT get_item(long index, IXMLDOMNode** item) override
    {
        return Guarded([&] { return ItemOf(static_cast<Derived*>(this)->Nodes(), index, owner_.Get(), item); });
    }
    HRESULT get_length(long* length) override
    {
        return Guarded([&] { return LengthOf(static_cast<Derived*>(this)->Nodes(), length); });
    }
    HRESULT nextNode(IXMLDOMNode** item) override
    {
        return Guarded([&] {
            const HRESULT hr = ItemOf(static_cast<Derived*>(this)->Nodes(), cursor_, owner_.Get(), item);
            if (hr == S_OK) {
                ++cursor_;
            }
            return hr;
        });
    }
    HRESULT reset() override
    {
        cursor_ = 0;
        return S_OK;
    }
    HRESULT get__newEnum(IUnknown**) override { return E_NOTIMPL; }

protected:
    explicit NodeSequence(IXMLDOMDocument2* owner) : owner_(owner) {}
    ComPtr<IXMLDOMDocument2> owner_;

private:
    long cursor_ = 0;
};

class ChildNodeList final : public NodeSequence<ChildNodeList, IXMLDOMNodeList> {
public:
    ChildNodeList(NodeRef parent, IXMLDOMDocument2* owner) : NodeSequence(owner), parent_(std::move(parent)) {}

    std::vector<NodeRef> Nodes() const
    {
        std::vector<NodeRef> nodes;
        const bool hasChildren = !parent_.isNamespace && (parent_.node->type == XML_ELEMENT_NODE ||
                                                          parent_.node->type == XML_ATTRIBUTE_NODE ||
                                                          parent_.node->type == XML_DOCUMENT_NODE ||
                                                          parent_.node->type == XML_DOCUMENT_FRAG_NODE);
        for (xmlNodePtr child = hasChildren ? parent_.node->children : nullptr; child != nullptr; child = child->next) {
            nodes.push_back(TreeNode(parent_.tree, child));
        }
        return nodes;
    }

private:
    NodeRef parent_;
};

class StaticNodeList final : public NodeSequence<StaticNodeList, IXMLDOMNodeList> {
public:
    StaticNodeList(std::vector<NodeRef> nodes, IXMLDOMDocument2* owner) : NodeSequence(owner), nodes_(std::move(nodes)) {}

    const std::vector<NodeRef>& Nodes() const { return nodes_; }

private:
    std::vector<NodeRef> nodes_;
};

class AttributeMap final : public NodeSequence<AttributeMap, IXMLDOMNamedNodeMap> {
public:
    AttributeMap(NodeRef element, IXMLDOMDocument2* owner) : NodeSequence(owner), element_(std::move(element)) {}

    // Namespace declarations first, then the attributes.
    std::vector<NodeRef> Nodes() const
    {
        std::vector<NodeRef> nodes;
        for (xmlNsPtr ns = element_.node->nsDef; ns != nullptr; ns = ns->next) {
            nodes.push_back(NamespaceNode(element_.tree, element_.node, ns->prefix, ns->href));
        }
        for (xmlAttrPtr attribute = element_.node->properties; attribute != nullptr; attribute = attribute->next) {
            nodes.push_back(TreeNode(element_.tree, reinterpret_cast<xmlNodePtr>(attribute)));
        }
        return nodes;
    }

    HRESULT getNamedItem(BSTR name, IXMLDOMNode** item) override
    {
        return Guarded([&] {
            const std::string wanted = Utf8Of(name);
            return Find(item, [&](const NodeRef& ref) { return NodeNameOf(ref) == wanted; });
        });
    }
    // The map is read-only here: attributes change through the element.
    HRESULT setNamedItem(IXMLDOMNode*, IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT removeNamedItem(BSTR, IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT removeQualifiedItem(BSTR, BSTR, IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT getQualifiedItem(BSTR baseName, BSTR namespaceURI, IXMLDOMNode** item) override
    {
        return Guarded([&] {
            const std::string wantedName = Utf8Of(baseName);
            const std::string wantedUri = Utf8Of(namespaceURI);
            return Find(item, [&](const NodeRef& ref) {
                return BaseNameOf(ref).value_or(NodeNameOf(ref)) == wantedName && NamespaceUriOf(ref).value_or("") == wantedUri;
            });
        });
    }

private:
    template <class Match>
    HRESULT Find(IXMLDOMNode** item, Match match)
    {
        for (const NodeRef& ref : Nodes()) {
            if (match(ref)) {
                return ReturnNode(ref, owner_.Get(), item);
            }
        }
        return ReturnNode(std::nullopt, owner_.Get(), item);
    }

    NodeRef element_;
};

template <class T, class I, class... Args>
HRESULT Make(I** object, Args&&... args)
{
    if (object == nullptr) {
        return E_INVALIDARG;
    }
    *object = new T(std::forward<Args>(args)...);
    return S_OK;
}

}  // namespace

HRESULT MakeChildList(const NodeRef& parent, IXMLDOMDocument2* owner, IXMLDOMNodeList** list)
{
    return Make<ChildNodeList>(list, parent, owner);
}

HRESULT MakeStaticList(std::vector<NodeRef> nodes, IXMLDOMDocument2* owner, IXMLDOMNodeList** list)
{
    return Make<StaticNodeList>(list, std::move(nodes), owner);
}

HRESULT MakeAttributeMap(const NodeRef& element, IXMLDOMDocument2* owner, IXMLDOMNamedNodeMap** map)
{
    return Make<AttributeMap>(map, element, owner);
}

}  // namespace platform::msxml
