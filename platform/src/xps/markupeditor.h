// Changes attribute values in markup that has already been read and found well-formed, splicing
// the new values in so that every other byte of the part stays as its producer wrote it.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace platform::xps {

// Attribute (without prefix) and its new value; an attribute the element does not carry is not added.
using AttributeValues = std::vector<std::pair<std::string, std::string>>;

// Edits the elements with the local name, counted in document order from 0 among all elements of
// that local name. Markup in UTF-8 or UTF-16 keeps its encoding. Nothing when an edited element is
// not there.
std::optional<std::string> EditAttributes(std::string_view markup, std::string_view localName,
                                          const std::map<size_t, AttributeValues>& edits);

// XPS numbers: an XML Schema double, here a finite one.
std::optional<double> ParseXpsNumber(std::string_view text);
// The shortest text that reads back as the same float.
std::string FormatXpsNumber(float value);

}  // namespace platform::xps
