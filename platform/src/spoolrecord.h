// A spooler record and the texts it points to, laid out as the spooler hands them to a caller:
// the record at the start of the caller's buffer, then each text after it, NUL-terminated and
// aligned for WCHAR, so that the one buffer holds everything and is freed in one piece.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include "windows.h"

namespace platform {

template <class Record>
class SpoolRecord {
public:
    SpoolRecord() : record_() {}

    // The record's own values; the text pointers are set by Text and TextList.
    Record& Fields() { return record_; }

    void Text(LPWSTR Record::*field, const std::wstring& text) { texts_.push_back({field, text + L'\0'}); }

    // NUL-separated texts ended by an empty one ("a\0b\0\0"); an empty list leaves the field null.
    void TextList(LPWSTR Record::*field, const std::vector<std::wstring>& list)
    {
        if (list.empty()) {
            return;
        }
        std::wstring joined;
        for (const std::wstring& text : list) {
            joined += text + L'\0';
        }
        texts_.push_back({field, joined + L'\0'});
    }

    // The spooler's two-call pattern: too small a buffer (or none) fails with
    // ERROR_INSUFFICIENT_BUFFER and the size needed; otherwise the whole record is copied in.
    BOOL CopyTo(LPBYTE buffer, DWORD bufferSize, LPDWORD needed) const
    {
        if (needed == nullptr) {
            ::SetLastError(ERROR_INVALID_PARAMETER);
            return FALSE;
        }
        const std::size_t size = Size();
        if (size > 0xFFFFFFFFu) {
            ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return FALSE;
        }
        *needed = static_cast<DWORD>(size);
        if (buffer == nullptr || bufferSize < size) {
            ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return FALSE;
        }
        std::memset(buffer, 0, size);
        Record placed = record_;
        std::size_t offset = sizeof(Record);
        for (const Entry& entry : texts_) {
            offset = Aligned(offset);
            auto* text = reinterpret_cast<LPWSTR>(buffer + offset);
            std::memcpy(text, entry.text.data(), entry.text.size() * sizeof(WCHAR));
            placed.*(entry.field) = text;
            offset += entry.text.size() * sizeof(WCHAR);
        }
        std::memcpy(buffer, &placed, sizeof(Record));
        return TRUE;
    }

private:
    struct Entry {
        LPWSTR Record::*field;
        std::wstring text;  // with its terminating NULs
    };

    static std::size_t Aligned(std::size_t offset)
    {
        constexpr std::size_t alignment = alignof(WCHAR);
        return (offset + alignment - 1) / alignment * alignment;
    }

    std::size_t Size() const
    {
        std::size_t offset = sizeof(Record);
        for (const Entry& entry : texts_) {
            offset = Aligned(offset) + entry.text.size() * sizeof(WCHAR);
        }
        return offset;
    }

    Record record_;
    std::vector<Entry> texts_;
};

}  // namespace platform
