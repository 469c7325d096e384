#include "ptpin.h"

#include "ptnamespaces.h"
#include "ptqueries.h"
#include "qxdrvlogger.h"

namespace {

const std::wstring& PinQuery()
{
    static const std::wstring query = ParameterValueQuery(L"JobPin", PrivateNamespaceUri);
    return query;
}

}  // namespace

PTPin::PTPin(IXMLDOMDocument2* document) : PTTextParameter(document, PinQuery(), kCharacters) {}

bool PTPin::GetValue(wchar_t* buffer)
{
    if (ReadText(buffer)) {
        return true;
    }
    QXLOG_INFO(L"Option for feature JobPin not found");
    return false;
}
