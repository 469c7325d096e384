// Message numbers of the channel between the filter and the preview application.
#pragma once

#include <cstdint>

enum EPreviewMessage : std::int32_t {
    PP_MSG_DATA_REQUEST = 101,          // application to filter; payload not used
    PP_MSG_DATA = 102,                  // filter to application; PrintPreviewData
    PP_MSG_PAPER_SOURCE = 103,          // filter to application; one PaperSourceEntry, zero-filled
    PP_MSG_PAPER_SOURCE_END = 104,      // filter to application; zeros
    PP_MSG_SOFTWARE_URL = 105,          // filter to application; UTF-8 text, zero-filled
    PP_MSG_RESULT = 106,                // application to filter; PrintPreviewResult
    PP_MSG_SOFTWARE_URL_REQUEST = 107,  // application to filter; payload not used
};

// Every message the filter sends carries this many bytes.
inline constexpr std::int32_t kPreviewMessageSize = 2048;
