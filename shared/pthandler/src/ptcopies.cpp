#include "ptcopies.h"

#include "ptnamespaces.h"
#include "ptqueries.h"

namespace {

const std::wstring& CopiesQuery()
{
    static const std::wstring query = ParameterValueQuery(L"JobCopiesAllDocuments", PrintSchemaKeywordsNamespaceUri);
    return query;
}

}  // namespace

PTCopies::PTCopies(IXMLDOMDocument2* document) : PTFeature<unsigned int>(document) {}

bool PTCopies::GetValue(unsigned int* copies)
{
    *copies = static_cast<unsigned int>(GetIntValue(CopiesQuery()));
    return true;
}
