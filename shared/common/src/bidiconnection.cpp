#include "bidiconnection.h"

#include <msxml6.h>

using Microsoft::WRL::ComPtr;

namespace {

const wchar_t kBidiNamespace[] = L"http://schemas.microsoft.com/windows/2005/03/printing/bidi";

std::wstring XmlAttributeText(const std::wstring& text)
{
    std::wstring escaped;
    for (const wchar_t c : text) {
        switch (c) {
        case L'&':
            escaped += L"&amp;";
            break;
        case L'<':
            escaped += L"&lt;";
            break;
        case L'"':
            escaped += L"&quot;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

// The name of the entry's value element: the first element among its children.
std::wstring ValueTypeOf(IXMLDOMNode* entry)
{
    const ScopedBstr anyElement(L"*");
    ComPtr<IXMLDOMNode> value;
    ScopedBstr type;
    if (entry->selectSingleNode(anyElement.Get(), &value) != S_OK || !value ||
        FAILED(value->get_baseName(type.Receive()))) {
        return {};
    }
    return type.Text();
}

void AddSchemaEntry(const ComPtr<IXMLDOMNode>& node, BidiEntries& values)
{
    ComPtr<IXMLDOMElement> entry;
    if (FAILED(node.As(&entry))) {
        return;
    }
    const ScopedBstr nameAttribute(L"name");
    ScopedVariant name;
    ScopedBstr text;
    if (entry->getAttribute(nameAttribute.Get(), &name) == S_OK && name.Get().vt == VT_BSTR &&
        SUCCEEDED(entry->get_text(text.Receive()))) {
        values.emplace(std::wstring(name.Get().bstrVal, SysStringLen(name.Get().bstrVal)),
                       BidiEntry{ValueTypeOf(node.Get()), text.Text()});
    }
}

std::optional<BidiValues> TextsOf(const std::optional<BidiEntries>& entries)
{
    if (!entries) {
        return std::nullopt;
    }
    BidiValues texts;
    for (const auto& [name, entry] : *entries) {
        texts.emplace_hint(texts.end(), name, entry.text);
    }
    return texts;
}

}  // namespace

BidiConnection::BidiConnection(const std::wstring& printerName) : m_apartment(COINIT_MULTITHREADED)
{
    if (FAILED(CoCreateInstance(CLSID_BidiSpl, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&m_bidi)))) {
        m_bidi.Reset();
        return;
    }
    m_bound = SUCCEEDED(m_bidi->BindDevice(printerName.c_str(), BIDI_ACCESS_USER));
    if (!m_bound) {
        m_bidi->UnbindDevice();
        m_bidi.Reset();  // an unbound connection never asks again
    }
}

BidiConnection::~BidiConnection()
{
    if (m_bound) {
        m_bidi->UnbindDevice();
    }
}

std::optional<BidiValues> BidiConnection::Get(const std::wstring& schema)
{
    return TextsOf(Query(schema));
}

std::optional<BidiEntries> BidiConnection::Query(const std::wstring& schema)
{
    if (!m_bound) {
        return std::nullopt;
    }
    const ScopedBstr request(std::wstring(L"<bidi:Get xmlns:bidi=\"") + kBidiNamespace + L"\"><Query schema=\"" +
                             XmlAttributeText(schema) + L"\"/></bidi:Get>");
    ScopedBstr response;
    if (request.Get() == nullptr || FAILED(m_bidi->SendRecvXMLString(request.Get(), response.Receive()))) {
        return std::nullopt;
    }
    return ReadBidiSchemaEntries(response.Text());
}

std::optional<BidiValues> ReadBidiSchemaValues(const std::wstring& response)
{
    return TextsOf(ReadBidiSchemaEntries(response));
}

std::optional<BidiEntries> ReadBidiSchemaEntries(const std::wstring& response)
{
    ComPtr<IXMLDOMDocument2> document;
    if (FAILED(CoCreateInstance(CLSID_DOMDocument60, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&document)))) {
        return std::nullopt;
    }
    const ScopedBstr text(response);
    VARIANT_BOOL loaded = VARIANT_FALSE;
    if (FAILED(document->loadXML(text.Get(), &loaded)) || loaded != VARIANT_TRUE) {
        return std::nullopt;
    }
    const ScopedBstr query(L"//Schema[@name]");
    ComPtr<IXMLDOMNodeList> entries;
    long count = 0;
    if (FAILED(document->selectNodes(query.Get(), &entries)) || !entries || FAILED(entries->get_length(&count))) {
        return std::nullopt;
    }
    BidiEntries values;
    for (long i = 0; i < count; ++i) {
        ComPtr<IXMLDOMNode> node;
        if (SUCCEEDED(entries->get_item(i, &node)) && node) {
            AddSchemaEntry(node, values);
        }
    }
    return values;
}
