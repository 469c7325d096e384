// The job's PIN; a PIN has at most 10 characters.
#pragma once

#include <cstddef>

#include "pttextparameter.h"

class PTPin : public PTTextParameter {
public:
    static constexpr std::size_t kCharacters = 11;  // with the terminator

    explicit PTPin(IXMLDOMDocument2* document);
    // Fills a buffer of kCharacters; false when the ticket lacks the value.
    bool GetValue(wchar_t* buffer) override;
};
