#include "xmlhandler.h"

#include <cwchar>

#include <oleauto.h>

#include "hrerror.h"
#include "ptnamespaces.h"
#include "ptqueries.h"

using Microsoft::WRL::ComPtr;

ScopedBstr AllocateBstr(const std::wstring& text)
{
    ScopedBstr bstr(text);
    if (bstr.Get() == nullptr) {
        throw hr_error{E_OUTOFMEMORY};
    }
    return bstr;
}

std::wstring VariantText(const VARIANT& value)
{
    if (value.vt != VT_BSTR || value.bstrVal == nullptr) {
        return std::wstring();
    }
    return std::wstring(value.bstrVal, SysStringLen(value.bstrVal));
}

namespace {

// Copies the text with its terminator when it is shorter than the buffer; otherwise empties it.
void CopyWhenItFits(const std::wstring& text, wchar_t* buffer, std::size_t size)
{
    if (size == 0) {
        return;
    }
    buffer[0] = L'\0';
    if (text.size() < size) {
        std::wmemcpy(buffer, text.c_str(), text.size() + 1);
    }
}

}  // namespace

XMLHandler::XMLHandler(IXMLDOMDocument2* document) : m_document(document), m_prefixCache(8)
{
    m_prefixCache.max_load_factor(1.0f);
    const ScopedBstr name = AllocateBstr(L"SelectionNamespaces");
    ScopedVariant value;
    value.Get().vt = VT_BSTR;
    value.Get().bstrVal = AllocateBstr(SelectionNamespacesValue).Detach();
    THROW_IF_FAILED(m_document->setProperty(name.Get(), value.Get()));
}

ScopedVariant XMLHandler::GetComValue(const std::wstring& query)
{
    const ScopedBstr text = AllocateBstr(query);
    ComPtr<IXMLDOMNode> node;
    const HRESULT hr = m_document->selectSingleNode(text.Get(), &node);
    THROW_IF_FAILED(hr);
    if (hr != S_OK || node == nullptr) {
        QXLOG_ERROR(L"No match found for the query %s", query.c_str());
        throw hr_error{E_POINTER};
    }
    ScopedVariant value;
    THROW_IF_FAILED(node->get_nodeTypedValue(&value));
    return value;
}

std::int32_t XMLHandler::GetIntValue(const std::wstring& query)
{
    const ScopedVariant value = GetComValue(query);
    std::wstring text = VariantText(value.Get());
    LONG number = 0;
    // data(), not c_str(): mingw-w64 declares the text parameter without the SDK's const.
    if (FAILED(VarI4FromStr(text.data(), LOCALE_USER_DEFAULT, 0, &number))) {
        number = 0;
    }
    return number;
}

void XMLHandler::GetStringValue(const std::wstring& query, wchar_t* buffer, std::size_t size)
{
    CopyWhenItFits(L"", buffer, size);
    ScopedVariant value = GetComValue(query);
    CopyWhenItFits(VariantText(value.Get()), buffer, size);
}

void XMLHandler::GetOptionName(const std::wstring& query, wchar_t* buffer, std::size_t size)
{
    CopyWhenItFits(L"", buffer, size);
    ScopedVariant value = GetComValue(query);
    const std::wstring text = VariantText(value.Get());
    const std::size_t colon = text.find(L':');
    CopyWhenItFits(colon == std::wstring::npos ? text : text.substr(colon + 1), buffer, size);
}

bool XMLHandler::IsValuePresent(const std::wstring& query) { return SelectNode(query, QX_HERE) != nullptr; }

ComPtr<IXMLDOMNode> XMLHandler::SelectNode(const std::wstring& query, const LogSite& caller)
{
    const ScopedBstr text = AllocateBstr(query);
    ComPtr<IXMLDOMNode> node;
    ThrowIfFailed(m_document->selectSingleNode(text.Get(), &node), caller);
    return node;
}

ComPtr<IXMLDOMElement> XMLHandler::DocumentElement()
{
    ComPtr<IXMLDOMElement> root;
    THROW_IF_FAILED(m_document->get_documentElement(&root));
    if (root == nullptr) {
        THROW_HR(E_POINTER);
    }
    return root;
}

std::wstring XMLHandler::GetNamespacePrefixFromURI(const std::wstring& namespaceUri)
{
    const auto cached = m_prefixCache.find(namespaceUri);
    if (cached != m_prefixCache.end()) {
        return cached->second;
    }
    const ComPtr<IXMLDOMElement> root = DocumentElement();
    const ScopedBstr query = AllocateBstr(NamespaceNodeQuery(namespaceUri));
    ComPtr<IXMLDOMNode> namespaceNode;
    THROW_IF_FAILED(root->selectSingleNode(query.Get(), &namespaceNode));
    if (namespaceNode != nullptr) {
        ScopedBstr baseName;
        THROW_IF_FAILED(namespaceNode->get_baseName(baseName.Receive()));
        if (baseName.Get() == nullptr) {
            return std::wstring();
        }
        return m_prefixCache[namespaceUri] = baseName.Text();
    }
    if (namespaceUri == PrivateNamespaceUri) {
        static const std::wstring kPrivatePrefix = L"ns0000";
        SetAttribute(root.Get(), L"xmlns:" + kPrivatePrefix, nullptr, namespaceUri, nullptr);
        return m_prefixCache[namespaceUri] = kPrivatePrefix;
    }
    QXLOG_ERROR(L"nsNode is null. Namespace not available");
    return std::wstring();
}

std::wstring XMLHandler::GetQualifiedName(const std::wstring& localName, const wchar_t* namespaceUri)
{
    if (namespaceUri == nullptr) {
        return localName;
    }
    return GetNamespacePrefixFromURI(namespaceUri) + L":" + localName;
}

void XMLHandler::SetAttribute(IXMLDOMElement* element, const std::wstring& name, const wchar_t* nameNamespace,
                              const std::wstring& value, const wchar_t* valueNamespace)
{
    const ScopedBstr qualifiedName = AllocateBstr(GetQualifiedName(name, nameNamespace));
    ScopedVariant qualifiedValue;
    qualifiedValue.Get().vt = VT_BSTR;
    qualifiedValue.Get().bstrVal = AllocateBstr(GetQualifiedName(value, valueNamespace)).Detach();
    ComPtr<IXMLDOMAttribute> attribute;
    THROW_IF_FAILED(m_document->createAttribute(qualifiedName.Get(), &attribute));
    THROW_IF_FAILED(attribute->put_value(qualifiedValue.Get()));
    ComPtr<IXMLDOMAttribute> replaced;
    THROW_IF_FAILED(element->setAttributeNode(attribute.Get(), &replaced));
}

ComPtr<IXMLDOMElement> XMLHandler::CreateElement(const std::wstring& qualifiedTag)
{
    VARIANT type;
    VariantInit(&type);
    type.vt = VT_I4;
    type.lVal = NODE_ELEMENT;
    const ScopedBstr tag = AllocateBstr(qualifiedTag);
    const ScopedBstr namespaceUri = AllocateBstr(PrintSchemaFrameworkNamespaceUri);
    ComPtr<IXMLDOMNode> node;
    THROW_IF_FAILED(m_document->createNode(type, tag.Get(), namespaceUri.Get(), &node));
    ComPtr<IXMLDOMElement> element;
    THROW_IF_FAILED(node.As(&element));
    return element;
}

ComPtr<IXMLDOMElement> XMLHandler::CreateNamedElement(const std::wstring& tag, const std::wstring& keyword,
                                                      const wchar_t* namespaceUri)
{
    ComPtr<IXMLDOMElement> element = CreateElement(tag);
    SetAttribute(element.Get(), L"name", nullptr, keyword, namespaceUri);
    return element;
}

ComPtr<IXMLDOMElement> XMLHandler::CreateFeature(const std::wstring& keyword, const wchar_t* namespaceUri)
{
    return CreateNamedElement(L"psf:Feature", keyword, namespaceUri);
}

ComPtr<IXMLDOMElement> XMLHandler::CreateOption(const std::wstring& keyword, const wchar_t* namespaceUri)
{
    return CreateNamedElement(L"psf:Option", keyword, namespaceUri);
}

ComPtr<IXMLDOMElement> XMLHandler::CreateParameterInit(const std::wstring& keyword, const wchar_t* namespaceUri)
{
    return CreateNamedElement(L"psf:ParameterInit", keyword, namespaceUri);
}

ComPtr<IXMLDOMElement> XMLHandler::CreateParameterRef(const std::wstring& keyword, const wchar_t* namespaceUri)
{
    return CreateNamedElement(L"psf:ParameterRef", keyword, namespaceUri);
}

ComPtr<IXMLDOMElement> XMLHandler::CreateScoredProperty(const std::wstring& keyword, const wchar_t* namespaceUri)
{
    return CreateNamedElement(L"psf:ScoredProperty", keyword, namespaceUri);
}

ComPtr<IXMLDOMElement> XMLHandler::CreateIntegerValue(std::uint32_t value)
{
    ComPtr<IXMLDOMElement> element = CreateElement(L"psf:Value");
    SetAttribute(element.Get(), L"type", XmlSchemaInstanceNamespaceUri, L"integer", XmlSchemaNamespaceUri);
    const ScopedBstr text = AllocateBstr(std::to_wstring(value));
    THROW_IF_FAILED(element->put_text(text.Get()));
    return element;
}

void XMLHandler::AppendToRoot(IXMLDOMNode* node)
{
    ComPtr<IXMLDOMNode> appended;
    THROW_IF_FAILED(DocumentElement()->appendChild(node, &appended));
}

void XMLHandler::RemoveFromRoot(const std::wstring& query)
{
    const ComPtr<IXMLDOMNode> node = SelectNode(query, QX_HERE);
    if (node == nullptr) {
        return;
    }
    ComPtr<IXMLDOMNode> removed;
    THROW_IF_FAILED(DocumentElement()->removeChild(node.Get(), &removed));
}

void XMLHandler::RemoveFeature(const std::wstring& keyword, const wchar_t* namespaceUri)
{
    RemoveFromRoot(FeatureNodeQuery(keyword, namespaceUri));
}

void XMLHandler::RemoveParameterInit(const std::wstring& keyword, const wchar_t* namespaceUri)
{
    RemoveFromRoot(ParameterNodeQuery(keyword, namespaceUri));
}
