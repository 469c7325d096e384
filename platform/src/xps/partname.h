// OPC part names: "/Documents/1/FixedDocument.fdoc". A part is found by its key, which compares as OPC
// compares part names: percent-escapes decoded, case ignored.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform::xps {

// The part that a URI reference from markup or a relationship names, resolved against the
// part that holds the reference ("/" for the package); nothing for an absolute URI with a scheme, a
// network path, or a path that climbs above the package root.
std::optional<std::string> ResolvePartReference(std::string_view base, std::string_view reference);

std::string PartKey(std::string_view partName);

// "/a/b.xml" -> "/a/_rels/b.xml.rels"; "/" -> "/_rels/.rels".
std::string RelationshipsPartOf(std::string_view partName);

// Lower-cased extension of the part name's last segment, without the dot.
std::string ExtensionOf(std::string_view partName);

bool EqualsIgnoringAsciiCase(std::string_view a, std::string_view b);

// Whether two media types name the same type, ignoring case and parameters.
bool SameMediaType(std::string_view a, std::string_view b);

}  // namespace platform::xps
