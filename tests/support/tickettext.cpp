#include "tickettext.h"

namespace testsupport {

std::wstring Option(const std::wstring& feature, const std::wstring& option)
{
    const std::wstring prefix = feature.substr(0, feature.find(L':') + 1);
    return L"<psf:Feature name=\"" + feature + L"\"><psf:Option name=\"" + prefix + option + L"\"/></psf:Feature>\n";
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

std::wstring PageScaling(const std::wstring& option, const std::wstring& properties)
{
    return L"<psf:Feature name=\"ns0000:PageScaling\"><psf:Option name=\"ns0000:" + option + L"\">" + properties +
           L"</psf:Option></psf:Feature>\n";
}

std::wstring Copies(int copies) { return Parameter(L"psk:JobCopiesAllDocuments", std::to_wstring(copies), L"integer"); }

std::wstring Ticket(const std::wstring& body, int copies)
{
    return kTicketStart + Copies(copies) + kMediaSizeA1 + body + kTicketEnd;
}

}  // namespace testsupport
