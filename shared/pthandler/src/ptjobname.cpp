#include "ptjobname.h"

#include "ptnamespaces.h"
#include "ptqueries.h"
#include "qxdrvlogger.h"

namespace {

const std::wstring& JobNameQuery()
{
    static const std::wstring query = ParameterValueQuery(L"JobName", PrivateNamespaceUri);
    return query;
}

}  // namespace

PTJobName::PTJobName(IXMLDOMDocument2* document) : PTTextParameter(document, JobNameQuery(), kCharacters) {}

bool PTJobName::GetValue(wchar_t* buffer)
{
    if (ReadText(buffer)) {
        return true;
    }
    QXLOG_INFO(L"Option for feature JobName not found");
    return false;
}
