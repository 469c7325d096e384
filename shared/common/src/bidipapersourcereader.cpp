#include "bidipapersourcereader.h"

#include <stdexcept>

#include "bidipapersourceanswer.h"
#include "connectionprintername.h"
#include "korulibrary.h"
#include "korupapersourcedescription.h"

namespace {

const wchar_t kPaperSourceSchema[] = L"\\Printer.PaperSource";

const std::wstring& NonEmpty(const std::wstring& printerName)
{
    if (printerName.empty()) {
        throw std::invalid_argument("Printer name is blank or null");
    }
    return printerName;
}

}  // namespace

BidiPaperSourceReader::BidiPaperSourceReader(const std::wstring& printerName)
    : m_printerName(ConnectionPrinterName(NonEmpty(printerName)))
{
}

int BidiPaperSourceReader::Open()
{
    if (m_connection) {
        return kAlreadyOpen;
    }
    m_connection = std::make_unique<BidiConnection>(m_printerName);
    return kOpened;
}

std::optional<BIDI_PAPERSOURCE> BidiPaperSourceReader::Read(bool refresh)
{
    if (!m_connection || (!refresh && m_answered)) {
        return std::nullopt;
    }
    const std::optional<BidiEntries> answer = m_connection->Query(kPaperSourceSchema);
    if (!answer) {
        return std::nullopt;
    }
    m_answered = true;
    return PaperSourcesFromBidiAnswer(*answer);
}

std::optional<BIDI_PAPERSOURCE> BidiPaperSourceReader::ReadThroughKoru() const
{
    const KoruLibrary library;
    const std::optional<std::wstring> description = library.GetPaperSourceDescription(m_printerName);
    if (!description) {
        return std::nullopt;
    }
    return PaperSourcesFromKoruDescription(*description);
}
