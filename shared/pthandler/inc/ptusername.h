// The name of the job's user as the printer shows it.
#pragma once

#include <cstddef>

#include "pttextparameter.h"

class PTUserName : public PTTextParameter {
public:
    static constexpr std::size_t kCharacters = 31;  // with the terminator

    explicit PTUserName(IXMLDOMDocument2* document);
    // Fills a buffer of kCharacters; false when the ticket lacks the value.
    bool GetValue(wchar_t* buffer) override;
};
