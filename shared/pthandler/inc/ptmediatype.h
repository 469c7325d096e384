// The media type feature with its custom-media extras: a custom medium has its own id and name
// and is derived from a catalogue medium, its donor.
#pragma once

#include <cstddef>
#include <map>
#include <string>

#include "ptfeaturedescs.h"
#include "ptlist.h"

// Media type keyword to the media identifier that the printer and the preview application know
// the medium by. Built before any job runs and only read afterwards, by every job of the process.
extern const std::map<std::wstring, std::wstring> mediaIdByKeyword;

class PTMediaType : public GenericPTFeatureList<EMediaType, mediaTypeDesc> {
public:
    static constexpr std::size_t kCustomMediaCharacters = 129;  // with the terminator

    explicit PTMediaType(IXMLDOMDocument2* document);

    // Fill a buffer of kCustomMediaCharacters; false when the ticket has no custom medium.
    bool GetValueCustomMediaID(wchar_t* buffer);
    bool GetValueCustomMediaName(wchar_t* buffer);
    // Appends "derived-" + custom id + "_" + the donor's media identifier (nothing for a donor
    // without one). False when the ticket lacks id or donor; what was appended by then stays.
    bool GetMesaCustom(std::wstring& mesaCustom);
    // Appends the donor's keyword; without a donor in the ticket, sets the keyword of the given
    // media type instead (empty for a value outside the table).
    void GetMediaTypeDonor(EMediaType mediaType, std::wstring& donor);
};
