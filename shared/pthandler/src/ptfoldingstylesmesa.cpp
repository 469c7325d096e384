#include "ptfoldingstylesmesa.h"

#include "ptnamespaces.h"
#include "ptqueries.h"
#include "qxdrvlogger.h"

namespace {

const std::wstring& FolderStyleQuery()
{
    static const std::wstring query = FeatureOptionQuery(L"JobFolderStyle", PrivateNamespaceUri);
    return query;
}

}  // namespace

// The option keyword is the value here; its prefix says nothing about the style.
PTFoldingStylesMesa::PTFoldingStylesMesa(IXMLDOMDocument2* document)
    : PTTextParameter(document, FolderStyleQuery(), kCharacters, &XMLHandler::GetOptionName)
{
}

bool PTFoldingStylesMesa::GetValue(wchar_t* buffer)
{
    if (ReadText(buffer)) {
        return true;
    }
    QXLOG_INFO(L"Option for feature JobFolderStyle not found");
    return false;
}
