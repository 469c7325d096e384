// Kernel services of the simulated machine that need no state of their own: last error, local
// time and the files under the machine root.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <map>
#include <mutex>

#include "platform/machine.h"
#include "platform/systemapi.h"
#include "platform/text.h"
#include "win32error.h"

namespace platform {
namespace {

thread_local DWORD lastError = ERROR_SUCCESS;

// Attribute bits that a POSIX file system has no place for (archive, hidden, system), kept per host
// path for the life of the process. A file without an entry carries the archive bit, as a newly
// written Windows file does.
class ExtraAttributes {
public:
    static constexpr DWORD kKept = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;

    DWORD Of(const std::string& path, bool directory)
    {
        std::lock_guard lock(mutex_);
        const auto found = bits_.find(path);
        if (found != bits_.end()) {
            return found->second;
        }
        return directory ? 0 : FILE_ATTRIBUTE_ARCHIVE;
    }
    void Set(const std::string& path, DWORD bits)
    {
        std::lock_guard lock(mutex_);
        bits_[path] = bits & kKept;
    }
    // A file made again at a deleted file's path starts with the bits of a new file.
    void Forget(const std::string& path)
    {
        std::lock_guard lock(mutex_);
        bits_.erase(path);
    }

private:
    std::mutex mutex_;
    std::map<std::string, DWORD> bits_;
};

ExtraAttributes& Extras()
{
    static ExtraAttributes* extras = new ExtraAttributes;
    return *extras;
}

// The C runtime's text mode for reading: a CR LF pair reads as LF.
class TextModeReader {
public:
    static FILE* Wrap(FILE* file)
    {
        static const cookie_io_functions_t functions = {&Read, nullptr, nullptr, &Close};
        auto* reader = new TextModeReader{file};
        FILE* wrapped = ::fopencookie(reader, "r", functions);
        if (wrapped == nullptr) {
            std::fclose(file);
            delete reader;
        }
        return wrapped;
    }

private:
    explicit TextModeReader(FILE* file) : file_(file) {}

    static ssize_t Read(void* cookie, char* buffer, size_t size)
    {
        FILE* file = static_cast<TextModeReader*>(cookie)->file_;
        size_t count = 0;
        while (count < size) {
            int c = std::fgetc(file);
            if (c == EOF) {
                break;
            }
            if (c == '\r') {
                const int next = std::fgetc(file);
                if (next == '\n') {
                    c = '\n';
                } else if (next != EOF) {
                    std::ungetc(next, file);
                }
            }
            buffer[count++] = static_cast<char>(c);
        }
        return static_cast<ssize_t>(count);
    }

    static int Close(void* cookie)
    {
        auto* reader = static_cast<TextModeReader*>(cookie);
        const int result = std::fclose(reader->file_);
        delete reader;
        return result;
    }

    FILE* file_;
};

}  // namespace

void Kernel32::GetLocalTime(SYSTEMTIME* time)
{
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    ::localtime_r(&now.tv_sec, &local);
    time->wYear = static_cast<WORD>(local.tm_year + 1900);
    time->wMonth = static_cast<WORD>(local.tm_mon + 1);
    time->wDayOfWeek = static_cast<WORD>(local.tm_wday);
    time->wDay = static_cast<WORD>(local.tm_mday);
    time->wHour = static_cast<WORD>(local.tm_hour);
    time->wMinute = static_cast<WORD>(local.tm_min);
    time->wSecond = static_cast<WORD>(local.tm_sec);
    time->wMilliseconds = static_cast<WORD>(now.tv_nsec / 1000000);
}

DWORD Kernel32::GetFileAttributesW(LPCWSTR fileName)
{
    const auto path = fileName == nullptr ? std::nullopt : HostPathOf(fileName);
    if (!path) {
        ::SetLastError(ERROR_PATH_NOT_FOUND);
        return INVALID_FILE_ATTRIBUTES;
    }
    struct stat status {};
    if (::stat(path->c_str(), &status) != 0) {
        ::SetLastError(errno == ENOENT ? MissingFileError(*path) : Win32ErrorOf(errno));
        return INVALID_FILE_ATTRIBUTES;
    }
    const bool directory = S_ISDIR(status.st_mode);
    DWORD attributes = Extras().Of(*path, directory);
    if (directory) {
        attributes |= FILE_ATTRIBUTE_DIRECTORY;
    }
    if (IsReadOnly(status)) {
        attributes |= FILE_ATTRIBUTE_READONLY;
    }
    return attributes == 0 ? FILE_ATTRIBUTE_NORMAL : attributes;
}

BOOL Kernel32::SetFileAttributesW(LPCWSTR fileName, DWORD attributes)
{
    const auto path = fileName == nullptr ? std::nullopt : HostPathOf(fileName);
    struct stat status {};
    if (!path || ::stat(path->c_str(), &status) != 0) {
        ::SetLastError(!path ? ERROR_PATH_NOT_FOUND : errno == ENOENT ? MissingFileError(*path) : Win32ErrorOf(errno));
        return FALSE;
    }
    const mode_t writable = (attributes & FILE_ATTRIBUTE_READONLY) != 0 ? status.st_mode & ~(S_IWUSR | S_IWGRP | S_IWOTH)
                                                                        : status.st_mode | S_IWUSR;
    if (::chmod(path->c_str(), writable & 07777) != 0) {
        ::SetLastError(Win32ErrorOf(errno));
        return FALSE;
    }
    Extras().Set(*path, attributes);
    return TRUE;
}

// unlink alone would remove a read-only file (and root may remove anything), so the attribute is
// checked first, as Windows refuses to delete a read-only file.
BOOL Kernel32::DeleteFileW(LPCWSTR fileName)
{
    const auto path = fileName == nullptr ? std::nullopt : HostPathOf(fileName);
    if (!path) {
        ::SetLastError(ERROR_PATH_NOT_FOUND);
        return FALSE;
    }
    struct stat status {};
    if (::lstat(path->c_str(), &status) != 0) {
        ::SetLastError(errno == ENOENT ? MissingFileError(*path) : Win32ErrorOf(errno));
        return FALSE;
    }
    if (S_ISDIR(status.st_mode) || (!S_ISLNK(status.st_mode) && IsReadOnly(status))) {
        ::SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    if (::unlink(path->c_str()) != 0) {
        ::SetLastError(Win32ErrorOf(errno));
        return FALSE;
    }
    Extras().Forget(*path);
    return TRUE;
}

FILE* Kernel32::_wfsopen(const wchar_t* fileName, const wchar_t* mode, int)
{
    const auto path = fileName == nullptr ? std::nullopt : HostPathOf(fileName);
    if (!path || mode == nullptr) {
        errno = ENOENT;
        return nullptr;
    }
    // Files open in text mode unless "b" says otherwise. Reading in text mode turns CR LF into LF;
    // writing keeps the platform's LF line ends.
    std::string posixMode;
    for (const wchar_t* m = mode; *m != L'\0' && *m != L','; ++m) {
        if (*m == L'r' || *m == L'w' || *m == L'a' || *m == L'+' || *m == L'b') {
            posixMode += static_cast<char>(*m);
        }
    }
    FILE* file = std::fopen(path->c_str(), posixMode.c_str());
    const bool textRead = posixMode == "r";
    return file != nullptr && textRead ? TextModeReader::Wrap(file) : file;
}

}  // namespace platform

DWORD GetLastError() { return platform::lastError; }
void SetLastError(DWORD dwErrCode) { platform::lastError = dwErrCode; }
BOOL DisableThreadLibraryCalls(HMODULE) { return TRUE; }
