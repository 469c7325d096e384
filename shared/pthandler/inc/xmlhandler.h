// Read and edit access to a print ticket DOM by keyword and namespace URI. Every print ticket
// feature class derives from it; COM failures become hr_error, and a query that finds nothing is
// hr_error E_POINTER after "No match found for the query %s".
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>

#include <msxml6.h>
#include <wrl/client.h>

#include "qxdrvlogger.h"
#include "raiiowners.h"

class XMLHandler {
public:
    // Sets the document's SelectionNamespaces so that psf names the framework namespace. The
    // document is borrowed: it must outlive this object, and no reference is taken.
    explicit XMLHandler(IXMLDOMDocument2* document);
    virtual ~XMLHandler() = default;

    XMLHandler(const XMLHandler&) = delete;
    XMLHandler& operator=(const XMLHandler&) = delete;

    // The typed value of the first node the query selects.
    ScopedVariant GetComValue(const std::wstring& query);
    // The value as a number; text that is no number reads as 0.
    std::int32_t GetIntValue(const std::wstring& query);
    // Copies the value with its terminator when it fits the buffer; otherwise the buffer is empty.
    void GetStringValue(const std::wstring& query, wchar_t* buffer, std::size_t size);
    // The same for an option keyword: the text after the first ':' of the value.
    void GetOptionName(const std::wstring& query, wchar_t* buffer, std::size_t size);
    // Whether the query selects a node; no match is an answer, not an error.
    bool IsValuePresent(const std::wstring& query);

    // The prefix the ticket binds to the URI. The private namespace is declared as ns0000 when the
    // ticket lacks it; any other undeclared URI gives the empty prefix.
    std::wstring GetNamespacePrefixFromURI(const std::wstring& namespaceUri);
    // prefix:localName, or the local name alone when no namespace is given.
    std::wstring GetQualifiedName(const std::wstring& localName, const wchar_t* namespaceUri);

    void SetAttribute(IXMLDOMElement* element, const std::wstring& name, const wchar_t* nameNamespace,
                      const std::wstring& value, const wchar_t* valueNamespace);
    Microsoft::WRL::ComPtr<IXMLDOMElement> CreateElement(const std::wstring& qualifiedTag);
    Microsoft::WRL::ComPtr<IXMLDOMElement> CreateFeature(const std::wstring& keyword, const wchar_t* namespaceUri);
    Microsoft::WRL::ComPtr<IXMLDOMElement> CreateOption(const std::wstring& keyword, const wchar_t* namespaceUri);
    Microsoft::WRL::ComPtr<IXMLDOMElement> CreateParameterInit(const std::wstring& keyword, const wchar_t* namespaceUri);
    Microsoft::WRL::ComPtr<IXMLDOMElement> CreateParameterRef(const std::wstring& keyword, const wchar_t* namespaceUri);
    Microsoft::WRL::ComPtr<IXMLDOMElement> CreateScoredProperty(const std::wstring& keyword, const wchar_t* namespaceUri);
    // psf:Value with xsi:type="xsd:integer" and the number as its text.
    Microsoft::WRL::ComPtr<IXMLDOMElement> CreateIntegerValue(std::uint32_t value);
    void AppendToRoot(IXMLDOMNode* node);
    // Removes the feature or parameter from the document element; nothing happens when it is absent.
    void RemoveFeature(const std::wstring& keyword, const wchar_t* namespaceUri);
    void RemoveParameterInit(const std::wstring& keyword, const wchar_t* namespaceUri);

protected:
    IXMLDOMDocument2* m_document;

private:
    // The first node the query selects, or null; a failure is logged in the caller's name.
    Microsoft::WRL::ComPtr<IXMLDOMNode> SelectNode(const std::wstring& query, const LogSite& caller);
    Microsoft::WRL::ComPtr<IXMLDOMElement> DocumentElement();
    Microsoft::WRL::ComPtr<IXMLDOMElement> CreateNamedElement(const std::wstring& tag, const std::wstring& keyword,
                                                              const wchar_t* namespaceUri);
    void RemoveFromRoot(const std::wstring& query);

    std::unordered_map<std::wstring, std::wstring> m_prefixCache;
};

// A BSTR of the text; hr_error E_OUTOFMEMORY when it cannot be allocated.
ScopedBstr AllocateBstr(const std::wstring& text);
// The text of a VARIANT that holds one; empty for any other type.
std::wstring VariantText(const VARIANT& value);
