// A job as the filter receives it: a version-4 printer whose driver declares every property the
// job run reads, and an XPS package whose job ticket carries the chosen features.
#pragma once

#include <string>
#include <vector>

#include <platform/simulatedmachine.h>

namespace testsupport {

platform::PrinterDescription FilterPrinter(const std::wstring& name = L"QX Filter Printer");
// Two letter pages; the ticket is A1 with the given features.
std::vector<BYTE> XpsJobBytes(const std::wstring& ticketFeatures = L"");

}  // namespace testsupport
