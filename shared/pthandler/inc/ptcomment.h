// The job's comment.
#pragma once

#include <cstddef>

#include "pttextparameter.h"

class PTComment : public PTTextParameter {
public:
    static constexpr std::size_t kCharacters = 1024;  // with the terminator

    explicit PTComment(IXMLDOMDocument2* document);
    // Fills a buffer of kCharacters; false when the ticket lacks the value.
    bool GetValue(wchar_t* buffer) override;
};
