// The records' text fields as UTF-8 for the terminal and the report.
#pragma once

#include <cstddef>
#include <string>

namespace previewapp {

// A zero-terminated UTF-16LE field of `capacity` units; a field without its terminator is read to
// its end. Unpaired surrogates become U+FFFD, so any field converts.
std::string Utf16FieldToUtf8(const char16_t* field, std::size_t capacity);

// A zero-terminated narrow field of `capacity` bytes, read to its end when it has no terminator.
std::string NarrowField(const char* field, std::size_t capacity);

}  // namespace previewapp
