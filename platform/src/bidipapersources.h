// The bidi entries of a paper source answer, named as in the driver's bidi schema
// ("\Printer.PaperSource.Source1:Width").
#pragma once

#include <map>
#include <string>

#include "platform/simulatedmachine.h"

namespace platform {

// A query answers every value at its schema name or below it: "\Printer.PaperSource" covers
// "\Printer.PaperSource.Source1:Width" and "\Printer.PaperSource:NotReady", and "\Printer" covers
// both; names are matched by whole segments.
bool SchemaCovers(const std::wstring& query, const std::wstring& schema);

// Whether a query's answer includes paper source values.
bool AsksForPaperSources(const std::wstring& query);

std::map<std::wstring, BidiValue> PaperSourceBidiValues(const PaperSourceAnswer& answer);

}  // namespace platform
