// The paper source description that a KORU printer gives through the driver's KORU library: one
// "key=value" entry per line, the keys "Source" + number + "_Name", "_MediaID", "_Type",
// "_MediaUnits", "_MediaSizeName", "_MediaWidth", "_MediaLength", "_InputInstalled",
// "_MediaType" and "_NotReady".
#pragma once

#include <string>

#include "bidipapersource.h"

// The sources 1, 2, ... up to the first number the description has no entry for. Default source
// and not-ready mask are not part of the description and read as not reported.
//
// Type and installed state read as in the bidi answer; the state flag is 1 when "_NotReady" is
// "true". Width and length are "_MediaWidth" and "_MediaLength" in "_MediaUnits", in 1/720 inch;
// a known "_MediaSizeName" gives the width instead. The media type text is "_MediaID" when that
// is a decimal number, otherwise the identifier of the first of "_MediaID" and "_MediaType" that
// the KORU media map knows, otherwise empty.
BIDI_PAPERSOURCE PaperSourcesFromKoruDescription(const std::wstring& description);
