// The COM node objects over a DomTree. Each object holds its node's tree (so the libxml2 nodes it
// points at stay alive) and a reference on its document object (so get_ownerDocument and the
// document's properties stay valid), as an MSXML node keeps its document alive.
//
// The IXMLDOMNode behaviour is written once, as functions over a NodeRef, and the NodeObject
// template forwards every interface method to them; the classes per node type only add their
// own interface's methods.
#pragma once

#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <msxml6.h>
#include <wrl/client.h>

#include "domtree.h"
#include "platform/comobject.h"
#include "platform/notimplemented.h"
#include "platform/systemapi.h"

namespace platform::msxml {

// How the DOM recognises its own node objects among the IXMLDOMNode pointers it is given.
struct INodeAccess : IUnknown {
    static constexpr IID iid = {0x5C2E4D3A, 0x1B7F, 0x4E8A, {0x9C, 0x61, 0x2F, 0x0D, 0x8B, 0x47, 0xA3, 0x15}};
    virtual NodeRef Ref() = 0;
};

// The node an interface pointer designates, when it is one of ours.
std::optional<NodeRef> RefOf(IUnknown* node);

// Node facts shared by the node objects, lists and maps (UTF-8).
std::string NodeNameOf(const NodeRef& ref);
std::string TextOf(const NodeRef& ref);
std::optional<std::string> BaseNameOf(const NodeRef& ref);
std::optional<std::string> NamespaceUriOf(const NodeRef& ref);
// Replaces an element's or attribute's content by one text node (none for empty text).
void ReplaceContentWithText(const NodeRef& ref, const std::string& text);
// Takes a node out of its parent, keeping it (and its namespaces) usable on its own.
void Detach(const NodeRef& ref);

// A new COM object for the node (the document object itself for its current document node).
HRESULT MakeNode(const NodeRef& ref, IXMLDOMDocument2* owner, REFIID iid, void** object);
template <class I>
HRESULT MakeNode(const NodeRef& ref, IXMLDOMDocument2* owner, I** object)
{
    return MakeNode(ref, owner, I::iid, reinterpret_cast<void**>(object));
}
// S_FALSE with null when there is no node.
HRESULT ReturnNode(const std::optional<NodeRef>& ref, IXMLDOMDocument2* owner, IXMLDOMNode** object);

HRESULT MakeChildList(const NodeRef& parent, IXMLDOMDocument2* owner, IXMLDOMNodeList** list);
HRESULT MakeStaticList(std::vector<NodeRef> nodes, IXMLDOMDocument2* owner, IXMLDOMNodeList** list);
HRESULT MakeAttributeMap(const NodeRef& element, IXMLDOMDocument2* owner, IXMLDOMNamedNodeMap** map);

// Every COM entry point returns an HRESULT; nothing thrown inside crosses it. The method is named
// by its caller.
template <class F>
HRESULT Guarded(F&& body, const char* method = __builtin_FUNCTION()) noexcept
{
    if (const HRESULT refused = ComMethodRefusal(method); FAILED(refused)) {
        return refused;
    }
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_FAIL;
    }
}

namespace ops {

HRESULT NodeName(const NodeRef& self, BSTR* name);
HRESULT NodeValue(const NodeRef& self, VARIANT* value);
HRESULT PutNodeValue(const NodeRef& self, const VARIANT& value);
HRESULT NodeType(const NodeRef& self, DOMNodeType* type);
HRESULT ParentNode(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNode** parent);
HRESULT ChildNodes(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNodeList** list);
HRESULT FirstChild(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNode** child);
HRESULT LastChild(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNode** child);
HRESULT PreviousSibling(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNode** sibling);
HRESULT NextSibling(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNode** sibling);
HRESULT Attributes(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNamedNodeMap** map);
HRESULT InsertBefore(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNode* newChild, const VARIANT& refChild,
                     IXMLDOMNode** outNewChild);
HRESULT ReplaceChild(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNode* newChild, IXMLDOMNode* oldChild,
                     IXMLDOMNode** outOldChild);
HRESULT RemoveChild(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNode* child, IXMLDOMNode** outOldChild);
HRESULT AppendChild(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMNode* newChild, IXMLDOMNode** outNewChild);
HRESULT HasChildNodes(const NodeRef& self, VARIANT_BOOL* hasChild);
HRESULT OwnerDocument(IXMLDOMDocument2* owner, IXMLDOMDocument** document);
HRESULT CloneNode(const NodeRef& self, IXMLDOMDocument2* owner, VARIANT_BOOL deep, IXMLDOMNode** clone);
HRESULT NodeTypeString(const NodeRef& self, BSTR* typeName);
HRESULT Text(const NodeRef& self, BSTR* text);
HRESULT PutText(const NodeRef& self, BSTR text);
HRESULT NodeTypedValue(const NodeRef& self, VARIANT* value);
HRESULT DataType(const NodeRef& self, VARIANT* dataTypeName);
HRESULT XmlText(const NodeRef& self, BSTR* xml);
HRESULT SelectNodes(const NodeRef& self, IXMLDOMDocument2* owner, BSTR query, IXMLDOMNodeList** list);
HRESULT SelectSingleNode(const NodeRef& self, IXMLDOMDocument2* owner, BSTR query, IXMLDOMNode** node);
HRESULT NamespaceUri(const NodeRef& self, BSTR* uri);
HRESULT Prefix(const NodeRef& self, BSTR* prefix);
HRESULT BaseName(const NodeRef& self, BSTR* name);

// Elements.
HRESULT GetAttribute(const NodeRef& self, BSTR name, VARIANT* value);
HRESULT SetAttribute(const NodeRef& self, BSTR name, const VARIANT& value);
HRESULT RemoveAttribute(const NodeRef& self, BSTR name);
HRESULT GetAttributeNode(const NodeRef& self, IXMLDOMDocument2* owner, BSTR name, IXMLDOMAttribute** attribute);
HRESULT SetAttributeNode(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMAttribute* attribute,
                         IXMLDOMAttribute** replaced);
HRESULT RemoveAttributeNode(const NodeRef& self, IXMLDOMDocument2* owner, IXMLDOMAttribute* attribute,
                            IXMLDOMAttribute** removed);
HRESULT GetElementsByTagName(const NodeRef& self, IXMLDOMDocument2* owner, BSTR name, IXMLDOMNodeList** list);

// Character data (text, CDATA sections, comments).
HRESULT Data(const NodeRef& self, BSTR* data);
HRESULT PutData(const NodeRef& self, BSTR data);
HRESULT Length(const NodeRef& self, long* length);

}  // namespace ops

// IXMLDOMNode for a class implementing Interface (IXMLDOMNode or an interface derived from it).
template <class Derived, class Interface>
class NodeObject : public ComObject<Derived, DispatchNotImplemented<Interface>, INodeAccess> {
public:
    NodeRef Ref() override { return ref_; }

    HRESULT get_nodeName(BSTR* name) override { return Guarded([&] { return ops::NodeName(ref_, name); }); }
    HRESULT get_nodeValue(VARIANT* value) override { return Guarded([&] { return ops::NodeValue(ref_, value); }); }
    HRESULT put_nodeValue(VARIANT value) override { return Guarded([&] { return ops::PutNodeValue(ref_, value); }); }
    HRESULT get_nodeType(DOMNodeType* type) override { return Guarded([&] { return ops::NodeType(ref_, type); }); }
    HRESULT get_parentNode(IXMLDOMNode** parent) override
    {
        return Guarded([&] { return ops::ParentNode(ref_, Owner(), parent); });
    }
    HRESULT get_childNodes(IXMLDOMNodeList** list) override
    {
        return Guarded([&] { return ops::ChildNodes(ref_, Owner(), list); });
    }
    HRESULT get_firstChild(IXMLDOMNode** child) override
    {
        return Guarded([&] { return ops::FirstChild(ref_, Owner(), child); });
    }
    HRESULT get_lastChild(IXMLDOMNode** child) override
    {
        return Guarded([&] { return ops::LastChild(ref_, Owner(), child); });
    }
    HRESULT get_previousSibling(IXMLDOMNode** sibling) override
    {
        return Guarded([&] { return ops::PreviousSibling(ref_, Owner(), sibling); });
    }
    HRESULT get_nextSibling(IXMLDOMNode** sibling) override
    {
        return Guarded([&] { return ops::NextSibling(ref_, Owner(), sibling); });
    }
    HRESULT get_attributes(IXMLDOMNamedNodeMap** map) override
    {
        return Guarded([&] { return ops::Attributes(ref_, Owner(), map); });
    }
    HRESULT insertBefore(IXMLDOMNode* newChild, VARIANT refChild, IXMLDOMNode** outNewChild) override
    {
        return Guarded([&] { return ops::InsertBefore(ref_, Owner(), newChild, refChild, outNewChild); });
    }
    HRESULT replaceChild(IXMLDOMNode* newChild, IXMLDOMNode* oldChild, IXMLDOMNode** outOldChild) override
    {
        return Guarded([&] { return ops::ReplaceChild(ref_, Owner(), newChild, oldChild, outOldChild); });
    }
    HRESULT removeChild(IXMLDOMNode* child, IXMLDOMNode** oldChild) override
    {
        return Guarded([&] { return ops::RemoveChild(ref_, Owner(), child, oldChild); });
    }
    HRESULT appendChild(IXMLDOMNode* newChild, IXMLDOMNode** outNewChild) override
    {
        return Guarded([&] { return ops::AppendChild(ref_, Owner(), newChild, outNewChild); });
    }
    HRESULT hasChildNodes(VARIANT_BOOL* hasChild) override
    {
        return Guarded([&] { return ops::HasChildNodes(ref_, hasChild); });
    }
    HRESULT get_ownerDocument(IXMLDOMDocument** document) override
    {
        return Guarded([&] { return ops::OwnerDocument(owner_.Get(), document); });
    }
    HRESULT cloneNode(VARIANT_BOOL deep, IXMLDOMNode** clone) override
    {
        return Guarded([&] { return ops::CloneNode(ref_, Owner(), deep, clone); });
    }
    HRESULT get_nodeTypeString(BSTR* typeName) override
    {
        return Guarded([&] { return ops::NodeTypeString(ref_, typeName); });
    }
    HRESULT get_text(BSTR* text) override { return Guarded([&] { return ops::Text(ref_, text); }); }
    HRESULT put_text(BSTR text) override { return Guarded([&] { return ops::PutText(ref_, text); }); }
    HRESULT get_nodeTypedValue(VARIANT* value) override
    {
        return Guarded([&] { return ops::NodeTypedValue(ref_, value); });
    }
    HRESULT get_dataType(VARIANT* dataTypeName) override
    {
        return Guarded([&] { return ops::DataType(ref_, dataTypeName); });
    }
    HRESULT get_xml(BSTR* xml) override { return Guarded([&] { return ops::XmlText(ref_, xml); }); }
    HRESULT selectNodes(BSTR query, IXMLDOMNodeList** list) override
    {
        return Guarded([&] { return ops::SelectNodes(ref_, Owner(), query, list); });
    }
    HRESULT selectSingleNode(BSTR query, IXMLDOMNode** node) override
    {
        return Guarded([&] { return ops::SelectSingleNode(ref_, Owner(), query, node); });
    }
    HRESULT get_namespaceURI(BSTR* uri) override { return Guarded([&] { return ops::NamespaceUri(ref_, uri); }); }
    HRESULT get_prefix(BSTR* prefix) override { return Guarded([&] { return ops::Prefix(ref_, prefix); }); }
    HRESULT get_baseName(BSTR* name) override { return Guarded([&] { return ops::BaseName(ref_, name); }); }

    // Schema definitions, typed writes, XSLT and parse progress are not carried out.
    HRESULT get_specified(VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT get_definition(IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT put_nodeTypedValue(VARIANT) override { return E_NOTIMPL; }
    HRESULT put_dataType(BSTR) override { return E_NOTIMPL; }
    HRESULT transformNode(IXMLDOMNode*, BSTR*) override { return E_NOTIMPL; }
    HRESULT get_parsed(VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT transformNodeToObject(IXMLDOMNode*, VARIANT) override { return E_NOTIMPL; }

protected:
    // owner: the document object, referenced for the node's lifetime; null for the document itself.
    NodeObject(NodeRef ref, IXMLDOMDocument2* owner) : ref_(std::move(ref)), owner_(owner) {}

    // The document that new node objects made from this one belong to.
    virtual IXMLDOMDocument2* Owner() { return owner_.Get(); }

    NodeRef ref_;
    Microsoft::WRL::ComPtr<IXMLDOMDocument2> owner_;
};

// IXMLDOMCharacterData on top of NodeObject.
template <class Derived, class Interface>
class CharacterDataObject : public NodeObject<Derived, Interface> {
public:
    HRESULT get_data(BSTR* data) override { return Guarded([&] { return ops::Data(this->ref_, data); }); }
    HRESULT put_data(BSTR data) override { return Guarded([&] { return ops::PutData(this->ref_, data); }); }
    HRESULT get_length(long* length) override { return Guarded([&] { return ops::Length(this->ref_, length); }); }
    HRESULT substringData(long, long, BSTR*) override { return E_NOTIMPL; }
    HRESULT appendData(BSTR) override { return E_NOTIMPL; }
    HRESULT insertData(long, BSTR) override { return E_NOTIMPL; }
    HRESULT deleteData(long, long) override { return E_NOTIMPL; }
    HRESULT replaceData(long, long, BSTR) override { return E_NOTIMPL; }

protected:
    using NodeObject<Derived, Interface>::NodeObject;
};

// IXMLDOMText (text and CDATA sections) on top of CharacterDataObject.
template <class Derived, class Interface>
class TextObject : public CharacterDataObject<Derived, Interface> {
public:
    HRESULT splitText(long, IXMLDOMText**) override { return E_NOTIMPL; }

protected:
    using CharacterDataObject<Derived, Interface>::CharacterDataObject;
};

}  // namespace platform::msxml
