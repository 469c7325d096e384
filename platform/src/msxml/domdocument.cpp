// DOMDocument60: loading, node creation and the document's properties.
#include <cwchar>
#include <fstream>
#include <vector>

#include "../builtinclasses.h"
#include "domnode.h"
#include "domparser.h"
#include "domtext.h"
#include "platform/machine.h"
#include "platform/text.h"
#include "xpathquery.h"

namespace platform::msxml {
namespace {

using Microsoft::WRL::ComPtr;

class ParseError final : public ComObject<ParseError, DispatchNotImplemented<IXMLDOMParseError>> {
public:
    explicit ParseError(std::optional<ParseFailure> failure) : failure_(std::move(failure)) {}

    HRESULT get_errorCode(long* errorCode) override
    {
        if (errorCode == nullptr) {
            return E_INVALIDARG;
        }
        *errorCode = failure_ ? static_cast<long>(E_FAIL) : 0;
        return failure_ ? S_OK : S_FALSE;
    }
    HRESULT get_url(BSTR* url) override { return Text(failure_ ? failure_->url : std::wstring(), url); }
    HRESULT get_reason(BSTR* reason) override { return Text(failure_ ? failure_->reason : std::wstring(), reason); }
    HRESULT get_srcText(BSTR* source) override { return Text(std::wstring(), source); }
    HRESULT get_line(long* line) override { return Number(failure_ ? failure_->line : 0, line); }
    HRESULT get_linepos(long* position) override { return Number(failure_ ? failure_->linePosition : 0, position); }
    HRESULT get_filepos(long* position) override { return Number(failure_ ? failure_->filePosition : 0, position); }

private:
    static HRESULT Text(const std::wstring& text, BSTR* out)
    {
        if (out == nullptr) {
            return E_INVALIDARG;
        }
        *out = nullptr;
        return text.empty() ? S_FALSE : Guarded([&] { return ReturnText(text, out); });
    }
    static HRESULT Number(long value, long* out)
    {
        if (out == nullptr) {
            return E_INVALIDARG;
        }
        *out = value;
        return S_OK;
    }

    std::optional<ParseFailure> failure_;
};

bool SameName(BSTR name, const wchar_t* wanted) { return name != nullptr && ::wcscasecmp(name, wanted) == 0; }

std::optional<long> VariantInteger(const VARIANT& value)
{
    switch (value.vt) {
    case VT_I2: return value.iVal;
    case VT_I4: return value.lVal;
    case VT_INT: return value.intVal;
    case VT_UI1: return value.bVal;
    case VT_UI2: return value.uiVal;
    case VT_UI4: return static_cast<long>(value.ulVal);
    case VT_UINT: return static_cast<long>(value.uintVal);
    default: return std::nullopt;
    }
}

std::optional<DOMNodeType> NodeTypeFrom(const VARIANT& type)
{
    if (type.vt == VT_BSTR) {
        static const std::pair<const wchar_t*, DOMNodeType> kNames[] = {
            {L"element", NODE_ELEMENT},     {L"attribute", NODE_ATTRIBUTE},
            {L"text", NODE_TEXT},           {L"cdatasection", NODE_CDATA_SECTION},
            {L"comment", NODE_COMMENT},     {L"processinginstruction", NODE_PROCESSING_INSTRUCTION},
            {L"document", NODE_DOCUMENT},   {L"documentfragment", NODE_DOCUMENT_FRAGMENT},
            {L"entityreference", NODE_ENTITY_REFERENCE}};
        for (const auto& [name, value] : kNames) {
            if (SameName(type.bstrVal, name)) {
                return value;
            }
        }
        return std::nullopt;
    }
    const std::optional<long> number = VariantInteger(type);
    if (!number || *number < NODE_ELEMENT || *number > NODE_NOTATION) {
        return std::nullopt;
    }
    return static_cast<DOMNodeType>(*number);
}

bool IsValidName(const std::string& name) { return !name.empty() && xmlValidateQName(Xml(name), 0) == 0; }

std::shared_ptr<DomTree> EmptyTree(const std::shared_ptr<DocumentSettings>& settings)
{
    xmlDocPtr doc = xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0"));
    if (doc == nullptr) {
        throw std::bad_alloc();
    }
    try {
        return std::make_shared<DomTree>(doc, settings);
    } catch (...) {
        xmlFreeDoc(doc);
        throw;
    }
}

// Reads a stream to its end. Any failure of the stream ends the load as a failed one.
bool ReadStream(ISequentialStream* stream, std::vector<char>* bytes, std::wstring* problem)
{
    char chunk[65536];
    for (;;) {
        ULONG read = 0;
        const HRESULT hr = stream->Read(chunk, sizeof chunk, &read);
        if (FAILED(hr)) {
            *problem = L"The stream could not be read.";
            return false;
        }
        if (read > sizeof chunk || bytes->size() + read > kMaxDocumentBytes) {
            *problem = L"The document is too large.";
            return false;
        }
        bytes->insert(bytes->end(), chunk, chunk + read);
        if (read == 0 || hr == S_FALSE) {
            return true;
        }
    }
}

bool ReadFile(const std::wstring& windowsPath, std::vector<char>* bytes, std::wstring* problem)
{
    // Only files of the machine: a URL or a path outside its drives is not looked up.
    const std::optional<std::string> hostPath = HostPathOf(windowsPath);
    std::ifstream file;
    if (hostPath) {
        file.open(*hostPath, std::ios::binary);
    }
    if (!file) {
        *problem = L"The system cannot locate the object specified.";
        return false;
    }
    char chunk[65536];
    while (file) {
        file.read(chunk, sizeof chunk);
        const auto read = static_cast<std::size_t>(file.gcount());
        if (bytes->size() + read > kMaxDocumentBytes) {
            *problem = L"The document is too large.";
            return false;
        }
        bytes->insert(bytes->end(), chunk, chunk + read);
    }
    if (file.bad()) {
        *problem = L"The file could not be read.";
        return false;
    }
    return true;
}

class DomDocument final : public NodeObject<DomDocument, IXMLDOMDocument2> {
public:
    DomDocument() : NodeObject(NodeRef(), nullptr), settings_(std::make_shared<DocumentSettings>())
    {
        InitializeLibxml();
        Replace(EmptyTree(settings_));
    }

    HRESULT get_documentElement(IXMLDOMElement** element) override
    {
        return Guarded([&]() -> HRESULT {
            if (element == nullptr) {
                return E_INVALIDARG;
            }
            *element = nullptr;
            xmlNodePtr root = xmlDocGetRootElement(tree_->Doc());
            return root == nullptr ? S_FALSE : MakeNode(TreeNode(tree_, root), this, element);
        });
    }
    HRESULT createElement(BSTR tagName, IXMLDOMElement** element) override
    {
        return Guarded([&]() -> HRESULT {
            if (element == nullptr) {
                return E_INVALIDARG;
            }
            *element = nullptr;
            const std::string name = Utf8Of(tagName);
            if (!IsValidName(name)) {
                return E_FAIL;
            }
            // As with MSXML, the prefix of a name given here binds to no namespace.
            return Return(xmlNewDocNode(tree_->Doc(), nullptr, Xml(name), nullptr), element);
        });
    }
    HRESULT createTextNode(BSTR data, IXMLDOMText** text) override
    {
        return Guarded([&]() -> HRESULT {
            if (text == nullptr) {
                return E_INVALIDARG;
            }
            *text = nullptr;
            return Return(xmlNewDocText(tree_->Doc(), Xml(Utf8Of(data))), text);
        });
    }
    HRESULT createComment(BSTR data, IXMLDOMComment** comment) override
    {
        return Guarded([&]() -> HRESULT {
            if (comment == nullptr) {
                return E_INVALIDARG;
            }
            *comment = nullptr;
            return Return(xmlNewDocComment(tree_->Doc(), Xml(Utf8Of(data))), comment);
        });
    }
    HRESULT createAttribute(BSTR name, IXMLDOMAttribute** attribute) override
    {
        return Guarded([&]() -> HRESULT {
            if (attribute == nullptr) {
                return E_INVALIDARG;
            }
            *attribute = nullptr;
            const std::string qualifiedName = Utf8Of(name);
            if (!IsValidName(qualifiedName)) {
                return E_FAIL;
            }
            xmlAttrPtr created = xmlNewDocProp(tree_->Doc(), Xml(qualifiedName), nullptr);
            return Return(reinterpret_cast<xmlNodePtr>(created), attribute);
        });
    }
    HRESULT createNode(VARIANT type, BSTR name, BSTR namespaceURI, IXMLDOMNode** node) override
    {
        return Guarded([&] { return CreateNode(type, name, namespaceURI, node); });
    }

    HRESULT load(VARIANT source, VARIANT_BOOL* isSuccessful) override
    {
        return Guarded([&] { return Load(source, isSuccessful); });
    }
    HRESULT loadXML(BSTR text, VARIANT_BOOL* isSuccessful) override
    {
        return Guarded([&] {
            const std::string utf8 = Utf8Of(text);
            return Apply(ParseDocument(utf8.data(), utf8.size(), SourceEncoding::Utf8, *settings_), isSuccessful);
        });
    }
    HRESULT get_parseError(IXMLDOMParseError** error) override
    {
        return Guarded([&]() -> HRESULT {
            if (error == nullptr) {
                return E_INVALIDARG;
            }
            *error = new ParseError(lastFailure_);
            return S_OK;
        });
    }
    HRESULT get_async(VARIANT_BOOL* isAsync) override { return GetFlag(settings_->async, isAsync); }
    HRESULT put_async(VARIANT_BOOL isAsync) override
    {
        settings_->async = isAsync != VARIANT_FALSE;
        return S_OK;
    }
    HRESULT get_preserveWhiteSpace(VARIANT_BOOL* isPreserving) override
    {
        return GetFlag(settings_->preserveWhiteSpace, isPreserving);
    }
    HRESULT put_preserveWhiteSpace(VARIANT_BOOL isPreserving) override
    {
        settings_->preserveWhiteSpace = isPreserving != VARIANT_FALSE;
        return S_OK;
    }

    HRESULT setProperty(BSTR name, VARIANT value) override
    {
        return Guarded([&] { return SetProperty(name, value); });
    }
    HRESULT getProperty(BSTR name, VARIANT* value) override
    {
        return Guarded([&] { return GetProperty(name, value); });
    }

    // Document types, fragments, entity references, IDs, saving, validation, schemas and events
    // are not carried out; nor is an asynchronous load, so there is nothing to abort or wait for.
    HRESULT get_doctype(IXMLDOMDocumentType**) override { return E_NOTIMPL; }
    HRESULT get_implementation(IXMLDOMImplementation**) override { return E_NOTIMPL; }
    HRESULT putref_documentElement(IXMLDOMElement*) override { return E_NOTIMPL; }
    HRESULT createDocumentFragment(IXMLDOMDocumentFragment**) override { return E_NOTIMPL; }
    HRESULT createCDATASection(BSTR, IXMLDOMCDATASection**) override { return E_NOTIMPL; }
    HRESULT createProcessingInstruction(BSTR, BSTR, IXMLDOMProcessingInstruction**) override { return E_NOTIMPL; }
    HRESULT createEntityReference(BSTR, IXMLDOMEntityReference**) override { return E_NOTIMPL; }
    HRESULT getElementsByTagName(BSTR, IXMLDOMNodeList**) override { return E_NOTIMPL; }
    HRESULT nodeFromID(BSTR, IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT get_readyState(long*) override { return E_NOTIMPL; }
    HRESULT get_url(BSTR*) override { return E_NOTIMPL; }
    HRESULT abort() override { return E_NOTIMPL; }
    HRESULT save(VARIANT) override { return E_NOTIMPL; }
    HRESULT get_validateOnParse(VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT put_validateOnParse(VARIANT_BOOL) override { return E_NOTIMPL; }
    HRESULT get_resolveExternals(VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT put_resolveExternals(VARIANT_BOOL) override { return E_NOTIMPL; }
    HRESULT put_onreadystatechange(VARIANT) override { return E_NOTIMPL; }
    HRESULT put_ondataavailable(VARIANT) override { return E_NOTIMPL; }
    HRESULT put_ontransformnode(VARIANT) override { return E_NOTIMPL; }
    HRESULT get_namespaces(IXMLDOMSchemaCollection**) override { return E_NOTIMPL; }
    HRESULT get_schemas(VARIANT*) override { return E_NOTIMPL; }
    HRESULT putref_schemas(VARIANT) override { return E_NOTIMPL; }
    HRESULT validate(IXMLDOMParseError**) override { return E_NOTIMPL; }

protected:
    IXMLDOMDocument2* Owner() override { return this; }

private:
    void Replace(std::shared_ptr<DomTree> tree)
    {
        tree_ = std::move(tree);
        ref_ = TreeNode(tree_, reinterpret_cast<xmlNodePtr>(tree_->Doc()));
    }

    template <class I>
    HRESULT Return(xmlNodePtr created, I** object)
    {
        if (created == nullptr) {
            return E_OUTOFMEMORY;
        }
        tree_->Adopt(created);
        return MakeNode(TreeNode(tree_, created), this, object);
    }

    HRESULT CreateNode(const VARIANT& typeValue, BSTR name, BSTR namespaceURI, IXMLDOMNode** node)
    {
        if (node == nullptr) {
            return E_INVALIDARG;
        }
        *node = nullptr;
        const std::optional<DOMNodeType> type = NodeTypeFrom(typeValue);
        if (!type) {
            return E_INVALIDARG;
        }
        const std::string qualifiedName = Utf8Of(name);
        const std::string uri = Utf8Of(namespaceURI);
        xmlDocPtr doc = tree_->Doc();
        switch (*type) {
        case NODE_ELEMENT:
        case NODE_ATTRIBUTE: {
            if (!IsValidName(qualifiedName)) {
                return E_FAIL;
            }
            const std::size_t colon = qualifiedName.find(':');
            const std::optional<std::string> prefix =
                colon == std::string::npos ? std::nullopt : std::optional<std::string>(qualifiedName.substr(0, colon));
            const std::string localName = colon == std::string::npos ? qualifiedName : qualifiedName.substr(colon + 1);
            const bool declaration = *type == NODE_ATTRIBUTE && (qualifiedName == "xmlns" || prefix == "xmlns");
            const bool qualified = !uri.empty() && !declaration;
            const std::string& nodeName = qualified ? localName : qualifiedName;
            if (*type == NODE_ELEMENT) {
                // The element declares its namespace itself; linking it where the same binding is
                // in scope takes the declaration off again (DropRedundantDeclarations).
                xmlNodePtr element = xmlNewDocNode(doc, nullptr, Xml(nodeName), nullptr);
                if (element != nullptr && qualified) {
                    tree_->Adopt(element);
                    xmlNsPtr ns = xmlNewNs(element, Xml(uri), prefix ? Xml(*prefix) : nullptr);
                    if (ns == nullptr) {
                        return E_FAIL;  // the reserved prefix xml bound elsewhere
                    }
                    xmlSetNs(element, ns);
                    return MakeNode(TreeNode(tree_, element), this, node);
                }
                return Return(element, node);
            }
            // An attribute cannot hold a declaration: its element declares the namespace when the
            // attribute is set on it (ReconcileNamespaces).
            xmlNsPtr ns = qualified ? tree_->DetachedNamespace(uri, prefix) : nullptr;
            if (qualified && ns == nullptr) {
                return E_OUTOFMEMORY;
            }
            xmlAttrPtr attribute = xmlNewDocProp(doc, Xml(nodeName), nullptr);
            if (attribute != nullptr) {
                attribute->ns = ns;
            }
            return Return(reinterpret_cast<xmlNodePtr>(attribute), node);
        }
        case NODE_TEXT:
            return Return(xmlNewDocText(doc, Xml("")), node);
        case NODE_CDATA_SECTION:
            return Return(xmlNewCDataBlock(doc, Xml(""), 0), node);
        case NODE_COMMENT:
            return Return(xmlNewDocComment(doc, Xml("")), node);
        case NODE_PROCESSING_INSTRUCTION:
            if (!IsValidName(qualifiedName)) {
                return E_FAIL;
            }
            return Return(xmlNewDocPI(doc, Xml(qualifiedName), nullptr), node);
        case NODE_DOCUMENT_FRAGMENT:
        case NODE_ENTITY_REFERENCE:
            return E_NOTIMPL;
        default:
            return E_INVALIDARG;  // documents, document types, entities and notations are not created
        }
    }

    HRESULT Load(const VARIANT& source, VARIANT_BOOL* isSuccessful)
    {
        std::vector<char> bytes;
        std::wstring problem;
        bool read = false;
        std::wstring url;
        switch (source.vt) {
        case VT_UNKNOWN:
        case VT_DISPATCH: {
            if (source.punkVal == nullptr) {
                return E_INVALIDARG;
            }
            ComPtr<ISequentialStream> stream;
            if (FAILED(source.punkVal->QueryInterface(IID_IStream, reinterpret_cast<void**>(stream.GetAddressOf()))) &&
                FAILED(source.punkVal->QueryInterface(IID_ISequentialStream, reinterpret_cast<void**>(stream.GetAddressOf())))) {
                return E_INVALIDARG;
            }
            read = ReadStream(stream.Get(), &bytes, &problem);
            break;
        }
        case VT_BSTR:
            url = source.bstrVal == nullptr ? std::wstring() : std::wstring(source.bstrVal);
            read = ReadFile(url, &bytes, &problem);
            break;
        default:
            return E_INVALIDARG;
        }
        ParseResult result;
        if (read) {
            result = ParseDocument(bytes.data(), bytes.size(), SourceEncoding::Declared, *settings_);
        } else {
            result.failure.reason = problem;
        }
        result.failure.url = url;
        return Apply(std::move(result), isSuccessful);
    }

    // A failed load leaves the document empty, as MSXML's does.
    HRESULT Apply(ParseResult result, VARIANT_BOOL* isSuccessful)
    {
        if (isSuccessful != nullptr) {
            *isSuccessful = VARIANT_FALSE;
        }
        if (result.doc == nullptr) {
            Replace(EmptyTree(settings_));
            lastFailure_ = result.failure;
            return S_FALSE;
        }
        std::shared_ptr<DomTree> tree;
        try {
            tree = std::make_shared<DomTree>(result.doc, settings_);
        } catch (...) {
            xmlFreeDoc(result.doc);
            throw;
        }
        Replace(std::move(tree));
        lastFailure_.reset();
        if (isSuccessful != nullptr) {
            *isSuccessful = VARIANT_TRUE;
        }
        return S_OK;
    }

    HRESULT SetProperty(BSTR name, const VARIANT& value)
    {
        if (SameName(name, L"SelectionNamespaces")) {
            if (value.vt != VT_BSTR) {
                return E_INVALIDARG;
            }
            auto declarations = ParseSelectionNamespaces(Utf8Of(value.bstrVal));
            if (!declarations) {
                return E_FAIL;
            }
            settings_->selectionNamespaces = std::move(*declarations);
            settings_->selectionNamespacesText = value.bstrVal == nullptr ? std::wstring() : std::wstring(value.bstrVal);
            return S_OK;
        }
        if (SameName(name, L"SelectionLanguage")) {
            // MSXML 6 only speaks XPath; XSLPattern is gone.
            return value.vt == VT_BSTR && value.bstrVal != nullptr && std::wcscmp(value.bstrVal, L"XPath") == 0 ? S_OK : E_FAIL;
        }
        if (SameName(name, L"ProhibitDTD")) {
            if (value.vt != VT_BOOL) {
                return E_INVALIDARG;
            }
            settings_->prohibitDtd = value.boolVal != VARIANT_FALSE;
            return S_OK;
        }
        if (SameName(name, L"MaxElementDepth")) {
            const std::optional<long> depth = VariantInteger(value);
            if (!depth || *depth < 0) {
                return E_INVALIDARG;
            }
            settings_->maxElementDepth = *depth;
            return S_OK;
        }
        return E_FAIL;
    }

    HRESULT GetProperty(BSTR name, VARIANT* value)
    {
        if (value == nullptr) {
            return E_INVALIDARG;
        }
        VariantInit(value);
        if (SameName(name, L"SelectionNamespaces")) {
            return ReturnTextVariant(ToUtf8(settings_->selectionNamespacesText), value);
        }
        if (SameName(name, L"SelectionLanguage")) {
            return ReturnTextVariant("XPath", value);
        }
        if (SameName(name, L"ProhibitDTD")) {
            value->vt = VT_BOOL;
            value->boolVal = settings_->prohibitDtd ? VARIANT_TRUE : VARIANT_FALSE;
            return S_OK;
        }
        if (SameName(name, L"MaxElementDepth")) {
            value->vt = VT_I4;
            value->lVal = static_cast<LONG>(settings_->maxElementDepth);
            return S_OK;
        }
        return E_FAIL;
    }

    static HRESULT GetFlag(bool flag, VARIANT_BOOL* out)
    {
        if (out == nullptr) {
            return E_INVALIDARG;
        }
        *out = flag ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    }

    std::shared_ptr<DocumentSettings> settings_;
    std::shared_ptr<DomTree> tree_;
    std::optional<ParseFailure> lastFailure_;
};

}  // namespace
}  // namespace platform::msxml

namespace platform {

IUnknown* NewDomDocument60()
{
    try {
        return static_cast<IXMLDOMDocument2*>(new msxml::DomDocument);
    } catch (...) {
        return nullptr;
    }
}

}  // namespace platform
