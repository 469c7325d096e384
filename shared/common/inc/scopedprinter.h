// A printer handle opened for use, closed on every way out of the scope.
#pragma once

#include <string>

#include <windows.h>
#include <winspool.h>

class ScopedPrinter {
public:
    // Opens the printer with no data type, no DEVMODE and use access; check Get() for success.
    explicit ScopedPrinter(const std::wstring& printerName)
    {
        PRINTER_DEFAULTSW defaults{nullptr, nullptr, PRINTER_ACCESS_USE};
        Open(printerName, &defaults);
    }
    // Opens it with the spooler's defaults; null asks for none.
    ScopedPrinter(const std::wstring& printerName, PRINTER_DEFAULTSW* defaults) { Open(printerName, defaults); }
    ~ScopedPrinter()
    {
        if (m_printer != nullptr) {
            ClosePrinter(m_printer);
        }
    }
    HANDLE Get() const { return m_printer; }

    ScopedPrinter(const ScopedPrinter&) = delete;
    ScopedPrinter& operator=(const ScopedPrinter&) = delete;

private:
    void Open(const std::wstring& printerName, PRINTER_DEFAULTSW* defaults)
    {
        std::wstring name = printerName;
        if (!OpenPrinterW(name.data(), &m_printer, defaults)) {
            m_printer = nullptr;
        }
    }

    HANDLE m_printer = nullptr;
};
