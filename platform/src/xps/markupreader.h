// Reads the markup of a part as it is inflated, element by element, without building a tree: a page
// of any size costs the same memory. Markup that is not well-formed, carries a DTD or nests deeper
// than libxml2's default limit is refused; nothing outside the part is ever read and no entity is
// expanded.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <winerror.h>

namespace platform::xps {

struct MarkupAttribute {
    std::string_view uri;  // empty for an attribute without a prefix
    std::string_view localName;
    std::string value;
};

class MarkupHandler {
public:
    virtual ~MarkupHandler() = default;
    // Depth 0 is the root element. A failed HRESULT stops the reading with that result.
    virtual HRESULT StartElement(int depth, std::string_view uri, std::string_view localName,
                                 const std::vector<MarkupAttribute>& attributes) = 0;
};

// Fills the buffer with the part's next bytes and tells how many; 0 at the end. Throws XpsFailure.
using MarkupSource = std::function<size_t(char* buffer, size_t size)>;

// Reads the whole part; throws XpsFailure with markupError when the markup is refused, with the
// handler's failure when it stops, or with whatever the source throws.
void ReadMarkup(const MarkupSource& source, MarkupHandler& handler, HRESULT markupError);

// The value of the attribute without a namespace, or null.
const std::string* FindAttribute(const std::vector<MarkupAttribute>& attributes, std::string_view localName);

}  // namespace platform::xps
