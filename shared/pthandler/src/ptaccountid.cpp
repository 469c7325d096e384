#include "ptaccountid.h"

#include "ptnamespaces.h"
#include "ptqueries.h"
#include "qxdrvlogger.h"

namespace {

const std::wstring& AccountIdQuery()
{
    static const std::wstring query = ParameterValueQuery(L"JobAccountId", PrivateNamespaceUri);
    return query;
}

}  // namespace

PTAccountId::PTAccountId(IXMLDOMDocument2* document) : PTTextParameter(document, AccountIdQuery(), kCharacters) {}

bool PTAccountId::GetValue(wchar_t* buffer)
{
    if (ReadText(buffer)) {
        return true;
    }
    QXLOG_INFO(L"Option for feature JobAccountId not found");
    return false;
}
