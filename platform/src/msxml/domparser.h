// Turns document bytes into a libxml2 tree, safely: nothing is fetched, no entity is expanded
// into the tree, DTDs are refused unless the document allows them, and element depth is bounded.
#pragma once

#include <cstddef>
#include <string>

#include <libxml/tree.h>

#include "domtree.h"

namespace platform::msxml {

struct ParseFailure {
    std::wstring reason;
    std::wstring url;
    long line = 0;
    long linePosition = 0;
    long filePosition = 0;
};

struct ParseResult {
    xmlDocPtr doc = nullptr;  // owned by the caller; null on failure
    ParseFailure failure;
};

enum class SourceEncoding {
    Declared,  // bytes: a byte order mark or the XML declaration names the encoding
    Utf8,      // text given as a string: any declared encoding is ignored
};

// libxml2's one-time set-up, before any document is made in this process.
void InitializeLibxml();

ParseResult ParseDocument(const char* bytes, std::size_t size, SourceEncoding encoding, const DocumentSettings& settings);

// The most a document may have: far beyond any configuration document, well short of exhausting memory.
inline constexpr std::size_t kMaxDocumentBytes = 64u << 20;

}  // namespace platform::msxml
