#include "tickettext.h"

namespace testsupport {

std::wstring Feature(const std::wstring& feature, const std::wstring& option, const std::wstring& content)
{
    const std::wstring opened = L"<psf:Feature name=\"" + feature + L"\"><psf:Option name=\"" + option;
    return (content.empty() ? opened + L"\"/>" : opened + L"\">" + content + L"</psf:Option>") + L"</psf:Feature>\n";
}

std::wstring Option(const std::wstring& feature, const std::wstring& option)
{
    return Feature(feature, feature.substr(0, feature.find(L':') + 1) + option);
}

std::wstring Parameter(const std::wstring& parameter, const std::wstring& value, const std::wstring& type)
{
    return L"<psf:ParameterInit name=\"" + parameter + L"\"><psf:Value xsi:type=\"xsd:" + type + L"\">" + value +
           L"</psf:Value></psf:ParameterInit>\n";
}

std::wstring Scored(const std::wstring& name, const std::wstring& value, const std::wstring& type)
{
    return L"<psf:ScoredProperty name=\"" + name + L"\"><psf:Value xsi:type=\"xsd:" + type + L"\">" + value +
           L"</psf:Value></psf:ScoredProperty>";
}

std::wstring ParameterRef(const std::wstring& property, const std::wstring& parameter)
{
    return L"<psf:ScoredProperty name=\"" + property + L"\"><psf:ParameterRef name=\"" + parameter +
           L"\"/></psf:ScoredProperty>";
}

std::wstring PageScaling(const std::wstring& option, const std::wstring& properties)
{
    return Feature(L"ns0000:PageScaling", L"ns0000:" + option, properties);
}

std::wstring Copies(int copies) { return Parameter(L"psk:JobCopiesAllDocuments", std::to_wstring(copies), L"integer"); }

std::wstring BareTicket(const std::wstring& body) { return kTicketStart + body + kTicketEnd; }

std::wstring Ticket(const std::wstring& body, int copies) { return BareTicket(Copies(copies) + kMediaSizeA1 + body); }

}  // namespace testsupport
