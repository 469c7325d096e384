// The printer's bidi answer to "\Printer.PaperSource" read into paper source records.
#pragma once

#include "bidiconnection.h"
#include "bidipapersource.h"

// Reads "\Printer.PaperSource:DefaultSource", "\Printer.PaperSource:NotReady" and the entries of
// "\Printer.PaperSource.Source1:", "...Source2:", ... up to the first source number the answer has
// nothing for. Entries whose value type is not one of the bidi schema's types are left out, and a
// number that does not read as a 32-bit integer counts as not reported.
BIDI_PAPERSOURCE PaperSourcesFromBidiAnswer(const BidiEntries& answer);
