// HRESULTs as a driver engineer reads them: hex, signed decimal (as the driver log prints them) and
// the symbolic name when it is a well-known one.
#pragma once

#include <string>

#include <windows.h>

namespace pipelinehost {

// "E_ABORT", "HRESULT_FROM_WIN32(ERROR_NOT_FOUND)", "HRESULT_FROM_WIN32(1234)"; empty when unknown.
std::string HresultName(HRESULT hr);
// "0x80004004".
std::string HresultHex(HRESULT hr);
// The name when known, else the hex: for one-line call records.
std::string HresultShort(HRESULT hr);
// "0x80004004 (-2147467260, E_ABORT)"; an XPS or OPC code also says which layer it comes from.
std::string HresultDescription(HRESULT hr);

}  // namespace pipelinehost
