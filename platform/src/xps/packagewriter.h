// Writes a package archive again as a new ZIP archive: parts with changes are rewritten, every
// other entry is copied as it is stored, compressed bytes and all.
#pragma once

#include <map>

#include <xpsobjectmodel.h>

#include "xps/packagearchive.h"

namespace platform::xps {

struct PackageEdits {
    std::map<const PartEntry*, XPS_SIZE> pages;                                 // FixedPage Width and Height
    std::map<const PartEntry*, std::map<size_t, XPS_SIZE>> documentReferences;  // PageContent by ordinal
};

// Writes the archive to the file descriptor from its current offset; throws XpsFailure.
void WritePackage(const PackageArchive& archive, const PackageEdits& edits, int fd);

}  // namespace platform::xps
