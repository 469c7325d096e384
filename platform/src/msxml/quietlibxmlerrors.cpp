#include "quietlibxmlerrors.h"

#include <libxml/globals.h>
#include <libxml/xmlerror.h>

namespace platform::msxml {
namespace {

void IgnoreGeneric(void*, const char*, ...) {}
void IgnoreStructured(void*, xmlErrorPtr) {}

}  // namespace

QuietLibxmlErrors::QuietLibxmlErrors()
    : genericContext_(xmlGenericErrorContext),
      generic_(xmlGenericError),
      structuredContext_(xmlStructuredErrorContext),
      structured_(xmlStructuredError)
{
    xmlSetGenericErrorFunc(nullptr, IgnoreGeneric);
    xmlSetStructuredErrorFunc(nullptr, IgnoreStructured);
}

QuietLibxmlErrors::~QuietLibxmlErrors()
{
    xmlSetGenericErrorFunc(genericContext_, generic_);
    xmlSetStructuredErrorFunc(structuredContext_, structured_);
}

}  // namespace platform::msxml
