#include "ptmediatype.h"

#include "mediatypetable.h"
#include "ptnamespaces.h"
#include "ptqueries.h"
#include "ptticketread.h"
#include "qxdrvlogger.h"

namespace {

// A media identifier for a keyword that is no media type would never be looked up.
#define QX_MEDIA_ID_IS_MEDIA_TYPE(keyword, identifier) \
    static_assert(static_cast<int>(EMediaType::keyword) >= 2, #keyword " is a catalogue medium");
QX_MEDIA_IDS(QX_MEDIA_ID_IS_MEDIA_TYPE)
#undef QX_MEDIA_ID_IS_MEDIA_TYPE

const std::wstring& CustomMediaIdQuery()
{
    static const std::wstring query = ParameterValueQuery(L"PageMediaTypeId", PrivateNamespaceUri);
    return query;
}

const std::wstring& CustomMediaNameQuery()
{
    static const std::wstring query = ParameterValueQuery(L"PageMediaTypeInit", PrivateNamespaceUri);
    return query;
}

const std::wstring& DonorQuery()
{
    static const std::wstring query = ParameterValueQuery(L"PageMediaTypeDonorId", PrivateNamespaceUri);
    return query;
}

bool ReadCustomText(XMLHandler& ticket, const std::wstring& query, wchar_t* buffer)
{
    return TicketReadSucceeds(
        [&] { ticket.GetStringValue(query, buffer, PTMediaType::kCustomMediaCharacters); });
}

// Empty for a keyword without an identifier; a find, so that the shared map never grows.
std::wstring MediaIdOf(const std::wstring& keyword)
{
    const auto entry = mediaIdByKeyword.find(keyword);
    return entry == mediaIdByKeyword.end() ? std::wstring() : entry->second;
}

std::wstring MediaTypeKeyword(EMediaType mediaType)
{
    const auto row = static_cast<std::uint64_t>(static_cast<std::int64_t>(mediaType));
    return row < mediaTypeDesc.optionCount ? std::wstring(mediaTypeDesc.options[row].keyword) : std::wstring();
}

}  // namespace

#define QX_MEDIA_ID_ENTRY(keyword, identifier) {L"" #keyword, L"" identifier},
const std::map<std::wstring, std::wstring> mediaIdByKeyword = {QX_MEDIA_IDS(QX_MEDIA_ID_ENTRY)};
#undef QX_MEDIA_ID_ENTRY

PTMediaType::PTMediaType(IXMLDOMDocument2* document) : GenericPTFeatureList<EMediaType, mediaTypeDesc>(document) {}

bool PTMediaType::GetValueCustomMediaID(wchar_t* buffer)
{
    if (ReadCustomText(*this, CustomMediaIdQuery(), buffer)) {
        return true;
    }
    QXLOG_INFO(L"Option for feature Custom media type not found");
    return false;
}

bool PTMediaType::GetValueCustomMediaName(wchar_t* buffer)
{
    if (ReadCustomText(*this, CustomMediaNameQuery(), buffer)) {
        return true;
    }
    QXLOG_INFO(L"Option for feature Custom media type not found");
    return false;
}

bool PTMediaType::GetMesaCustom(std::wstring& mesaCustom)
{
    mesaCustom += L"derived-";
    const bool complete = TicketReadSucceeds([&] {
        wchar_t text[kCustomMediaCharacters] = {};
        GetStringValue(CustomMediaIdQuery(), text, kCustomMediaCharacters);
        mesaCustom += text;
        mesaCustom += L"_";
        GetStringValue(DonorQuery(), text, kCustomMediaCharacters);
        mesaCustom += MediaIdOf(text);
    });
    if (!complete) {
        QXLOG_INFO(L"Option for feature Custom media type not found");
    }
    return complete;
}

void PTMediaType::GetMediaTypeDonor(EMediaType mediaType, std::wstring& donor)
{
    wchar_t keyword[kCustomMediaCharacters] = {};
    if (ReadCustomText(*this, DonorQuery(), keyword)) {
        donor += keyword;
        return;
    }
    donor = MediaTypeKeyword(mediaType);
}
