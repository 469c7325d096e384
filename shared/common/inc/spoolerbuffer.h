// Reads a spooler record with the spooler's two calls: one for the size, one into a zero-filled
// buffer of that size.
#pragma once

#include <vector>

#include <windows.h>

// query(buffer, size, needed) is a spooler read such as GetPrinterW with its record level bound.
// Empty when the spooler reports no size or the second call fails.
template <class Query>
std::vector<BYTE> ReadSpoolerRecord(Query query)
{
    DWORD needed = 0;
    query(nullptr, 0, &needed);
    if (needed == 0) {
        return {};
    }
    std::vector<BYTE> buffer(needed, 0);
    if (!query(buffer.data(), needed, &needed)) {
        return {};
    }
    return buffer;
}
