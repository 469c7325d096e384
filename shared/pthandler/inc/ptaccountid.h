// The account the job is charged to.
#pragma once

#include <cstddef>

#include "pttextparameter.h"

class PTAccountId : public PTTextParameter {
public:
    static constexpr std::size_t kCharacters = 31;  // with the terminator

    explicit PTAccountId(IXMLDOMDocument2* document);
    // Fills a buffer of kCharacters; false when the ticket lacks the value.
    bool GetValue(wchar_t* buffer) override;
};
