// MSXML 6: the XML document object model (DOMDocument60) and its node interfaces.
//
// The interfaces carry the Windows names, IIDs, method order and signatures: dual interfaces
// deriving from IDispatch, so that their vtables have the Windows layout. Nothing here binds late;
// IDispatch's methods, and the methods this DOM does not carry out (schemas, XSLT, events, the
// document type, fragments, entity references, character data edits by offset), answer E_NOTIMPL.
// The document class (CLSID_DOMDocument60) is served by CoCreateInstance.
#pragma once

#include "objbase.h"

enum tagDOMNodeType {
    NODE_INVALID = 0,
    NODE_ELEMENT = 1,
    NODE_ATTRIBUTE = 2,
    NODE_TEXT = 3,
    NODE_CDATA_SECTION = 4,
    NODE_ENTITY_REFERENCE = 5,
    NODE_ENTITY = 6,
    NODE_PROCESSING_INSTRUCTION = 7,
    NODE_COMMENT = 8,
    NODE_DOCUMENT = 9,
    NODE_DOCUMENT_TYPE = 10,
    NODE_DOCUMENT_FRAGMENT = 11,
    NODE_NOTATION = 12,
};
using DOMNodeType = tagDOMNodeType;

struct IXMLDOMDocument;
struct IXMLDOMNodeList;
struct IXMLDOMNamedNodeMap;
struct IXMLDOMElement;
struct IXMLDOMAttribute;
struct IXMLDOMText;
struct IXMLDOMComment;
struct IXMLDOMCDATASection;
struct IXMLDOMParseError;
struct IXMLDOMDocumentType;
struct IXMLDOMImplementation;
struct IXMLDOMDocumentFragment;
struct IXMLDOMProcessingInstruction;
struct IXMLDOMEntityReference;
struct IXMLDOMSchemaCollection;

struct IXMLDOMNode : IDispatch {
    using BaseInterface = IDispatch;
    static constexpr IID iid = {0x2933BF80, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
    // Qualified name of elements and attributes; "#text", "#comment", "#document" ... otherwise.
    virtual HRESULT get_nodeName(BSTR* name) = 0;
    // VT_BSTR for attributes, text, comments and instructions; VT_NULL with S_FALSE otherwise.
    virtual HRESULT get_nodeValue(VARIANT* value) = 0;
    virtual HRESULT put_nodeValue(VARIANT value) = 0;
    virtual HRESULT get_nodeType(DOMNodeType* type) = 0;
    // Null with S_FALSE for the document, attributes and nodes not in a tree.
    virtual HRESULT get_parentNode(IXMLDOMNode** parent) = 0;
    virtual HRESULT get_childNodes(IXMLDOMNodeList** childList) = 0;
    virtual HRESULT get_firstChild(IXMLDOMNode** firstChild) = 0;
    virtual HRESULT get_lastChild(IXMLDOMNode** lastChild) = 0;
    virtual HRESULT get_previousSibling(IXMLDOMNode** previousSibling) = 0;
    virtual HRESULT get_nextSibling(IXMLDOMNode** nextSibling) = 0;
    // Elements only (namespace declarations included, as MSXML lists them); null with S_FALSE otherwise.
    virtual HRESULT get_attributes(IXMLDOMNamedNodeMap** attributeMap) = 0;
    // refChild: VT_UNKNOWN/VT_DISPATCH holding the node to insert before, or VT_EMPTY/VT_NULL to append.
    virtual HRESULT insertBefore(IXMLDOMNode* newChild, VARIANT refChild, IXMLDOMNode** outNewChild) = 0;
    virtual HRESULT replaceChild(IXMLDOMNode* newChild, IXMLDOMNode* oldChild, IXMLDOMNode** outOldChild) = 0;
    virtual HRESULT removeChild(IXMLDOMNode* childNode, IXMLDOMNode** oldChild) = 0;
    virtual HRESULT appendChild(IXMLDOMNode* newChild, IXMLDOMNode** outNewChild) = 0;
    virtual HRESULT hasChildNodes(VARIANT_BOOL* hasChild) = 0;
    // Null with S_FALSE for the document itself.
    virtual HRESULT get_ownerDocument(IXMLDOMDocument** XMLDOMDocument) = 0;
    virtual HRESULT cloneNode(VARIANT_BOOL deep, IXMLDOMNode** cloneRoot) = 0;
    virtual HRESULT get_nodeTypeString(BSTR* nodeType) = 0;
    // The concatenated text of the node and its descendants.
    virtual HRESULT get_text(BSTR* text) = 0;
    virtual HRESULT put_text(BSTR text) = 0;
    virtual HRESULT get_specified(VARIANT_BOOL* isSpecified) = 0;
    virtual HRESULT get_definition(IXMLDOMNode** definitionNode) = 0;
    // An element typed by the attribute dt:dt of urn:schemas-microsoft-com:datatypes gives its text
    // converted: "int"/"i4" VT_I4, "boolean" VT_BOOL, "float"/"r8" VT_R8, "ui4" VT_UI4 ...; text
    // that does not convert gives DISP_E_TYPEMISMATCH or DISP_E_OVERFLOW. Untyped, a VT_BSTR of
    // the node's text.
    virtual HRESULT get_nodeTypedValue(VARIANT* typedValue) = 0;
    virtual HRESULT put_nodeTypedValue(VARIANT typedValue) = 0;
    // The dt:dt type's name as VT_BSTR; VT_NULL with S_FALSE when untyped, and for the types that
    // only restate text ("string", "nmtoken", "id" ...).
    virtual HRESULT get_dataType(VARIANT* dataTypeName) = 0;
    virtual HRESULT put_dataType(BSTR dataTypeName) = 0;
    virtual HRESULT get_xml(BSTR* xmlString) = 0;
    virtual HRESULT transformNode(IXMLDOMNode* stylesheet, BSTR* xmlString) = 0;
    // XPath 1.0, relative to this node, with the document's SelectionNamespaces. selectNodes gives
    // a list (empty when nothing matches); selectSingleNode the first match in document order, or
    // null with S_FALSE. E_FAIL for an invalid expression or an undeclared prefix.
    virtual HRESULT selectNodes(BSTR queryString, IXMLDOMNodeList** resultList) = 0;
    virtual HRESULT selectSingleNode(BSTR queryString, IXMLDOMNode** resultNode) = 0;
    virtual HRESULT get_parsed(VARIANT_BOOL* isParsed) = 0;
    // Null with S_FALSE when the node has no namespace URI, no prefix or no base name.
    virtual HRESULT get_namespaceURI(BSTR* namespaceURI) = 0;
    virtual HRESULT get_prefix(BSTR* prefixString) = 0;
    virtual HRESULT get_baseName(BSTR* nameString) = 0;
    virtual HRESULT transformNodeToObject(IXMLDOMNode* stylesheet, VARIANT outputObject) = 0;
};

struct IXMLDOMNodeList : IDispatch {
    using BaseInterface = IDispatch;
    static constexpr IID iid = {0x2933BF82, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
    // Null with S_FALSE past the end.
    virtual HRESULT get_item(long index, IXMLDOMNode** listItem) = 0;
    virtual HRESULT get_length(long* listLength) = 0;
    virtual HRESULT nextNode(IXMLDOMNode** nextItem) = 0;
    virtual HRESULT reset() = 0;
    virtual HRESULT get__newEnum(IUnknown** ppUnk) = 0;
};

struct IXMLDOMNamedNodeMap : IDispatch {
    using BaseInterface = IDispatch;
    static constexpr IID iid = {0x2933BF83, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
    virtual HRESULT getNamedItem(BSTR name, IXMLDOMNode** namedItem) = 0;
    virtual HRESULT setNamedItem(IXMLDOMNode* newItem, IXMLDOMNode** nameItem) = 0;
    virtual HRESULT removeNamedItem(BSTR name, IXMLDOMNode** namedItem) = 0;
    virtual HRESULT get_item(long index, IXMLDOMNode** listItem) = 0;
    virtual HRESULT get_length(long* listLength) = 0;
    virtual HRESULT getQualifiedItem(BSTR baseName, BSTR namespaceURI, IXMLDOMNode** qualifiedItem) = 0;
    virtual HRESULT removeQualifiedItem(BSTR baseName, BSTR namespaceURI, IXMLDOMNode** qualifiedItem) = 0;
    virtual HRESULT nextNode(IXMLDOMNode** nextItem) = 0;
    virtual HRESULT reset() = 0;
    virtual HRESULT get__newEnum(IUnknown** ppUnk) = 0;
};

struct IXMLDOMAttribute : IXMLDOMNode {
    using BaseInterface = IXMLDOMNode;
    static constexpr IID iid = {0x2933BF85, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
    virtual HRESULT get_name(BSTR* attributeName) = 0;
    virtual HRESULT get_value(VARIANT* attributeValue) = 0;
    virtual HRESULT put_value(VARIANT attributeValue) = 0;
};

struct IXMLDOMElement : IXMLDOMNode {
    using BaseInterface = IXMLDOMNode;
    static constexpr IID iid = {0x2933BF86, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
    virtual HRESULT get_tagName(BSTR* tagName) = 0;
    // By qualified name as written; VT_NULL with S_FALSE when absent.
    virtual HRESULT getAttribute(BSTR name, VARIANT* value) = 0;
    // "xmlns" and "xmlns:prefix" declare a namespace; "prefix:name" binds to the prefix in scope.
    virtual HRESULT setAttribute(BSTR name, VARIANT value) = 0;
    virtual HRESULT removeAttribute(BSTR name) = 0;
    virtual HRESULT getAttributeNode(BSTR name, IXMLDOMAttribute** attributeNode) = 0;
    // Attaches an attribute made by createAttribute/createNode; the one it replaces comes back.
    virtual HRESULT setAttributeNode(IXMLDOMAttribute* DOMAttribute, IXMLDOMAttribute** attributeNode) = 0;
    virtual HRESULT removeAttributeNode(IXMLDOMAttribute* DOMAttribute, IXMLDOMAttribute** attributeNode) = 0;
    virtual HRESULT getElementsByTagName(BSTR tagName, IXMLDOMNodeList** resultList) = 0;
    virtual HRESULT normalize() = 0;
};

struct IXMLDOMCharacterData : IXMLDOMNode {
    using BaseInterface = IXMLDOMNode;
    static constexpr IID iid = {0x2933BF84, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
    virtual HRESULT get_data(BSTR* data) = 0;
    virtual HRESULT put_data(BSTR data) = 0;
    virtual HRESULT get_length(long* dataLength) = 0;
    virtual HRESULT substringData(long offset, long count, BSTR* data) = 0;
    virtual HRESULT appendData(BSTR data) = 0;
    virtual HRESULT insertData(long offset, BSTR data) = 0;
    virtual HRESULT deleteData(long offset, long count) = 0;
    virtual HRESULT replaceData(long offset, long count, BSTR data) = 0;
};

struct IXMLDOMText : IXMLDOMCharacterData {
    using BaseInterface = IXMLDOMCharacterData;
    static constexpr IID iid = {0x2933BF87, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
    virtual HRESULT splitText(long offset, IXMLDOMText** rightHandTextNode) = 0;
};

struct IXMLDOMComment : IXMLDOMCharacterData {
    using BaseInterface = IXMLDOMCharacterData;
    static constexpr IID iid = {0x2933BF88, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
};

struct IXMLDOMCDATASection : IXMLDOMText {
    using BaseInterface = IXMLDOMText;
    static constexpr IID iid = {0x2933BF8A, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
};

struct IXMLDOMParseError : IDispatch {
    using BaseInterface = IDispatch;
    static constexpr IID iid = {0x3EFAA426, 0x272F, 0x11D2, {0x83, 0x6F, 0x00, 0x00, 0xF8, 0x7A, 0x77, 0x82}};
    // 0 with S_FALSE when the last load succeeded.
    virtual HRESULT get_errorCode(long* errorCode) = 0;
    virtual HRESULT get_url(BSTR* urlString) = 0;
    virtual HRESULT get_reason(BSTR* reasonString) = 0;
    virtual HRESULT get_srcText(BSTR* sourceString) = 0;
    virtual HRESULT get_line(long* lineNumber) = 0;
    virtual HRESULT get_linepos(long* linePosition) = 0;
    virtual HRESULT get_filepos(long* filePosition) = 0;
};

struct IXMLDOMDocument : IXMLDOMNode {
    using BaseInterface = IXMLDOMNode;
    static constexpr IID iid = {0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
    virtual HRESULT get_doctype(IXMLDOMDocumentType** documentType) = 0;
    virtual HRESULT get_implementation(IXMLDOMImplementation** impl) = 0;
    // Null with S_FALSE when the document is empty.
    virtual HRESULT get_documentElement(IXMLDOMElement** DOMElement) = 0;
    virtual HRESULT putref_documentElement(IXMLDOMElement* DOMElement) = 0;
    virtual HRESULT createElement(BSTR tagName, IXMLDOMElement** element) = 0;
    virtual HRESULT createDocumentFragment(IXMLDOMDocumentFragment** docFrag) = 0;
    virtual HRESULT createTextNode(BSTR data, IXMLDOMText** text) = 0;
    virtual HRESULT createComment(BSTR data, IXMLDOMComment** comment) = 0;
    virtual HRESULT createCDATASection(BSTR data, IXMLDOMCDATASection** cdata) = 0;
    virtual HRESULT createProcessingInstruction(BSTR target, BSTR data, IXMLDOMProcessingInstruction** pi) = 0;
    virtual HRESULT createAttribute(BSTR name, IXMLDOMAttribute** attribute) = 0;
    virtual HRESULT createEntityReference(BSTR name, IXMLDOMEntityReference** entityRef) = 0;
    virtual HRESULT getElementsByTagName(BSTR tagName, IXMLDOMNodeList** resultList) = 0;
    // type: VT_I4 (or another integer type) holding a DOMNodeType, or VT_BSTR naming one ("element").
    // name: qualified; namespaceURI: empty for none.
    virtual HRESULT createNode(VARIANT Type, BSTR name, BSTR namespaceURI, IXMLDOMNode** node) = 0;
    virtual HRESULT nodeFromID(BSTR idString, IXMLDOMNode** node) = 0;
    // xmlSource: VT_UNKNOWN/VT_DISPATCH holding an IStream (read to its end) or VT_BSTR with a
    // Windows file path. S_OK with VARIANT_TRUE, or S_FALSE with VARIANT_FALSE and a parse error.
    // As with MSXML 6, a text node has no size limit of its own and elements nest up to
    // MaxElementDepth; unlike it, a document over 64 MB is refused.
    virtual HRESULT load(VARIANT xmlSource, VARIANT_BOOL* isSuccessful) = 0;
    virtual HRESULT get_readyState(long* value) = 0;
    virtual HRESULT get_parseError(IXMLDOMParseError** errorObj) = 0;
    virtual HRESULT get_url(BSTR* urlString) = 0;
    virtual HRESULT get_async(VARIANT_BOOL* isAsync) = 0;
    // Loading is always synchronous; the flag is only remembered.
    virtual HRESULT put_async(VARIANT_BOOL isAsync) = 0;
    virtual HRESULT abort() = 0;
    virtual HRESULT loadXML(BSTR bstrXML, VARIANT_BOOL* isSuccessful) = 0;
    virtual HRESULT save(VARIANT destination) = 0;
    virtual HRESULT get_validateOnParse(VARIANT_BOOL* isValidating) = 0;
    virtual HRESULT put_validateOnParse(VARIANT_BOOL isValidating) = 0;
    virtual HRESULT get_resolveExternals(VARIANT_BOOL* isResolving) = 0;
    virtual HRESULT put_resolveExternals(VARIANT_BOOL isResolving) = 0;
    virtual HRESULT get_preserveWhiteSpace(VARIANT_BOOL* isPreserving) = 0;
    // Takes effect at the next load: without it, whitespace-only text is dropped.
    virtual HRESULT put_preserveWhiteSpace(VARIANT_BOOL isPreserving) = 0;
    virtual HRESULT put_onreadystatechange(VARIANT readystatechangeSink) = 0;
    virtual HRESULT put_ondataavailable(VARIANT ondataavailableSink) = 0;
    virtual HRESULT put_ontransformnode(VARIANT ontransformnodeSink) = 0;
};

struct IXMLDOMDocument2 : IXMLDOMDocument {
    using BaseInterface = IXMLDOMDocument;
    static constexpr IID iid = {0x2933BF95, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
    virtual HRESULT get_namespaces(IXMLDOMSchemaCollection** namespaceCollection) = 0;
    virtual HRESULT get_schemas(VARIANT* otherCollection) = 0;
    virtual HRESULT putref_schemas(VARIANT otherCollection) = 0;
    virtual HRESULT validate(IXMLDOMParseError** errorObj) = 0;
    // "SelectionNamespaces" (VT_BSTR "xmlns:a='uri' xmlns:b='uri2'"), "SelectionLanguage" ("XPath"),
    // "ProhibitDTD" (VT_BOOL, default true), "MaxElementDepth" (VT_I4, default 256, 0 for no limit
    // of ours). An unknown name gives E_FAIL.
    virtual HRESULT setProperty(BSTR name, VARIANT value) = 0;
    virtual HRESULT getProperty(BSTR name, VARIANT* value) = 0;
};

inline constexpr CLSID CLSID_DOMDocument60 = {0x88D96A05, 0xF192, 0x11D4, {0xA6, 0x5F, 0x00, 0x40, 0x96, 0x32, 0x51, 0xE5}};
inline constexpr const IID& IID_IXMLDOMNode = IXMLDOMNode::iid;
inline constexpr const IID& IID_IXMLDOMNodeList = IXMLDOMNodeList::iid;
inline constexpr const IID& IID_IXMLDOMNamedNodeMap = IXMLDOMNamedNodeMap::iid;
inline constexpr const IID& IID_IXMLDOMAttribute = IXMLDOMAttribute::iid;
inline constexpr const IID& IID_IXMLDOMElement = IXMLDOMElement::iid;
inline constexpr const IID& IID_IXMLDOMCharacterData = IXMLDOMCharacterData::iid;
inline constexpr const IID& IID_IXMLDOMText = IXMLDOMText::iid;
inline constexpr const IID& IID_IXMLDOMComment = IXMLDOMComment::iid;
inline constexpr const IID& IID_IXMLDOMCDATASection = IXMLDOMCDATASection::iid;
inline constexpr const IID& IID_IXMLDOMParseError = IXMLDOMParseError::iid;
inline constexpr const IID& IID_IXMLDOMDocument = IXMLDOMDocument::iid;
inline constexpr const IID& IID_IXMLDOMDocument2 = IXMLDOMDocument2::iid;
