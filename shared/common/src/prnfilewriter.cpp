#include "prnfilewriter.h"

#include <array>

#include <fileapi.h>
#include <shlobj.h>

#include "hrerror.h"
#include "qxdrvlogger.h"
#include "streamhandler.h"

namespace {

constexpr wchar_t kTempSubfolder[] = L"\\Temp";
constexpr wchar_t kTempFilePrefix[] = L"QX_";
constexpr ULONG kCopyChunk = 4096;

// A file handle closed on every way out; Close reports whether the explicit close succeeded.
class ScopedFile {
public:
    explicit ScopedFile(HANDLE file) : m_file(file) {}
    ~ScopedFile()
    {
        if (Valid()) {
            CloseHandle(m_file);
        }
    }
    bool Valid() const { return m_file != INVALID_HANDLE_VALUE && m_file != nullptr; }
    HANDLE Get() const { return m_file; }
    bool Close()
    {
        const HANDLE file = m_file;
        m_file = INVALID_HANDLE_VALUE;
        return CloseHandle(file) != FALSE;
    }

    ScopedFile(const ScopedFile&) = delete;
    ScopedFile& operator=(const ScopedFile&) = delete;

private:
    HANDLE m_file;
};

// Failures are logged for caller.
void CopyToFile(IStreamReader& reader, HANDLE file, const std::wstring& fileName, const LogSite& caller)
{
    std::array<BYTE, kCopyChunk> buffer{};
    ULONG read = 0;
    BOOL endOfStream = FALSE;
    do {
        read = 0;
        endOfStream = FALSE;
        ThrowIfFailed(reader.Read(buffer.data(), kCopyChunk, &read, &endOfStream), QX_FOR(caller));
        DWORD written = 0;
        if (!WriteFile(file, buffer.data(), read, &written, nullptr) && GetLastError() != ERROR_IO_PENDING) {
            LogAt(LogLevel::Error, QX_FOR(caller), L"Error %d writing the File: %s", static_cast<int>(GetLastError()),
                  fileName.c_str());
        }
    } while (!endOfStream && read != 0);
}

}  // namespace

std::wstring PrnFileWriter::GetLocalTempFolder()
{
    std::array<wchar_t, MAX_PATH> folder{};
    if (!SHGetSpecialFolderPathW(nullptr, folder.data(), CSIDL_LOCAL_APPDATA, FALSE)) {
        return std::wstring();
    }
    const std::wstring temp = std::wstring(folder.data()) + kTempSubfolder;
    if (temp.size() > kMaxFolderCharacters) {
        QXLOG_ERROR(L"Temporary folder path too long: %s", temp.c_str());
        return std::wstring();
    }
    return temp;
}

std::wstring PrnFileWriter::MakeTempFileName(const std::wstring& folder)
{
    std::array<wchar_t, MAX_PATH> name{};
    if (GetTempFileNameW(folder.c_str(), kTempFilePrefix, 0, name.data()) == 0) {
        return std::wstring();
    }
    return name.data();
}

bool PrnFileWriter::TempFileProcessing(const std::wstring& fileName, IXpsOMPackage* package)
{
    try {
        const HRESULT hr = package->WriteToFile(fileName.c_str(), nullptr, FILE_ATTRIBUTE_READONLY, TRUE);
        if (FAILED(hr)) {
            QXLOG_ERROR(L"Error opening the File %s because of failed hresult %d", fileName.c_str(),
                        static_cast<int>(hr));
            return false;
        }
        return true;
    } catch (const hr_error& error) {
        QXLOG_ERROR(L"Error %d opening the File: %s", static_cast<int>(error.hr), fileName.c_str());
        return false;
    }
}

bool PrnFileWriter::TempFileProcessing(const std::wstring& fileName, IPrintReadStream* stream)
{
    try {
        PrintReadStreamReader reader(stream);
        ScopedFile file(CreateFileW(fileName.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!file.Valid()) {
            QXLOG_ERROR(L"Error %d opening the File: %s", static_cast<int>(GetLastError()), fileName.c_str());
            return false;
        }
        CopyToFile(reader, file.Get(), fileName, QX_HERE);
        if (!file.Close()) {
            QXLOG_ERROR(L"Error %d closing the File: %s", static_cast<int>(GetLastError()), fileName.c_str());
        }
        return true;
    } catch (const hr_error& error) {
        QXLOG_ERROR(L"Error %d opening the File: %s", static_cast<int>(error.hr), fileName.c_str());
        return false;
    }
}

void PrnFileWriter::Delete(const std::wstring& fileName)
{
    if (fileName.empty()) {
        return;
    }
    const DWORD attributes = GetFileAttributesW(fileName.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0) {
        SetFileAttributesW(fileName.c_str(), attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
    }
    DeleteFileW(fileName.c_str());
}
