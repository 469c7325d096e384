// Asks a printer for its paper sources: through the spooler's bidi interface, or through the
// driver's KORU library for printers that speak only KORU.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "bidiconnection.h"
#include "bidipapersource.h"

class BidiPaperSourceReader {
public:
    static constexpr int kOpened = 0;
    static constexpr int kAlreadyOpen = 1;

    // Throws std::invalid_argument "Printer name is blank or null" for an empty name. A
    // connection printer named by its GUID is asked under its connection name.
    explicit BidiPaperSourceReader(const std::wstring& printerName);

    // Connects to the printer's bidi interface: kOpened, also when the printer cannot be bound
    // (every read then answers nothing); kAlreadyOpen when an earlier call connected.
    int Open();

    // One "\Printer.PaperSource" query; nothing before Open, when the request fails or, with
    // refresh false, when an answer was already read (the caller has it).
    std::optional<BIDI_PAPERSOURCE> Read(bool refresh);

    // The same through the KORU library; throws std::runtime_error "ComLibrary not loaded" when
    // the library or its export is missing.
    std::optional<BIDI_PAPERSOURCE> ReadThroughKoru() const;

    const std::wstring& PrinterName() const { return m_printerName; }

    BidiPaperSourceReader(const BidiPaperSourceReader&) = delete;
    BidiPaperSourceReader& operator=(const BidiPaperSourceReader&) = delete;

private:
    std::wstring m_printerName;
    std::unique_ptr<BidiConnection> m_connection;
    bool m_answered = false;
};
