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
    if (!m_bound) {
        return std::nullopt;
    }
    const ScopedBstr request(std::wstring(L"<bidi:Get xmlns:bidi=\"") + kBidiNamespace + L"\"><Query schema=\"" +
                             XmlAttributeText(schema) + L"\"/></bidi:Get>");
    ScopedBstr response;
    if (request.Get() == nullptr || FAILED(m_bidi->SendRecvXMLString(request.Get(), response.Receive()))) {
        return std::nullopt;
    }
    return ReadBidiSchemaValues(response.Text());
}
