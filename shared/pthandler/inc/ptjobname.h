// The job's name as the user gave it to the printer.
#pragma once

#include <cstddef>

#include "pttextparameter.h"

class PTJobName : public PTTextParameter {
public:
    static constexpr std::size_t kCharacters = 129;  // with the terminator

    explicit PTJobName(IXMLDOMDocument2* document);
    // Fills a buffer of kCharacters; false when the ticket lacks the value.
    bool GetValue(wchar_t* buffer) override;
};
