// The KORU description of a printer's paper sources: one line "Source<n>_<Field>=<text>" per
// declared text, source by source, fields in the order _Name, _MediaID, _Type, _MediaUnits,
// _MediaSizeName, _MediaWidth, _MediaLength, _InputInstalled, _MediaType, _NotReady.
#pragma once

#include <string>
#include <vector>

#include <platform/papersources.h>

namespace xpsuiolib {

std::wstring KoruDescription(const std::vector<platform::KoruPaperSource>& sources);

}  // namespace xpsuiolib
