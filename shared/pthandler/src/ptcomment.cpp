#include "ptcomment.h"

#include "ptnamespaces.h"
#include "ptqueries.h"
#include "qxdrvlogger.h"

namespace {

const std::wstring& CommentQuery()
{
    static const std::wstring query = ParameterValueQuery(L"JobComment", PrintSchemaKeywordsNamespaceUri);
    return query;
}

}  // namespace

PTComment::PTComment(IXMLDOMDocument2* document) : PTTextParameter(document, CommentQuery(), kCharacters) {}

bool PTComment::GetValue(wchar_t* buffer)
{
    if (ReadText(buffer)) {
        return true;
    }
    QXLOG_INFO(L"Option for feature JobComment not found");
    return false;
}
