#include "ptusername.h"

#include "ptnamespaces.h"
#include "ptqueries.h"
#include "qxdrvlogger.h"

namespace {

const std::wstring& UserNameQuery()
{
    static const std::wstring query = ParameterValueQuery(L"JobUserName", PrivateNamespaceUri);
    return query;
}

}  // namespace

PTUserName::PTUserName(IXMLDOMDocument2* document) : PTTextParameter(document, UserNameQuery(), kCharacters) {}

bool PTUserName::GetValue(wchar_t* buffer)
{
    if (ReadText(buffer)) {
        return true;
    }
    QXLOG_INFO(L"Option for feature %s not found", L"JobUserName");
    return false;
}
