#include "korudescription.h"

namespace xpsuiolib {
namespace {

struct Field {
    const wchar_t* suffix;
    std::wstring platform::KoruPaperSource::*text;
};

const Field kFields[] = {
    {L"_Name", &platform::KoruPaperSource::name},
    {L"_MediaID", &platform::KoruPaperSource::mediaId},
    {L"_Type", &platform::KoruPaperSource::type},
    {L"_MediaUnits", &platform::KoruPaperSource::mediaUnits},
    {L"_MediaSizeName", &platform::KoruPaperSource::mediaSizeName},
    {L"_MediaWidth", &platform::KoruPaperSource::mediaWidth},
    {L"_MediaLength", &platform::KoruPaperSource::mediaLength},
    {L"_InputInstalled", &platform::KoruPaperSource::inputInstalled},
    {L"_MediaType", &platform::KoruPaperSource::mediaType},
    {L"_NotReady", &platform::KoruPaperSource::notReady},
};

}  // namespace

std::wstring KoruDescription(const std::vector<platform::KoruPaperSource>& sources)
{
    std::wstring description;
    for (std::size_t place = 0; place < sources.size(); ++place) {
        const platform::KoruPaperSource& source = sources[place];
        const std::wstring key = L"Source" + std::to_wstring(source.number != 0 ? source.number : place + 1);
        for (const Field& field : kFields) {
            const std::wstring& text = source.*field.text;
            if (!text.empty()) {
                description += key + field.suffix + L"=" + text + L"\n";
            }
        }
    }
    return description;
}

}  // namespace xpsuiolib
