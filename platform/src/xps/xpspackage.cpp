#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "platform/machine.h"
#include "xps/xpsfailure.h"
#include "xps/xpsomobjects.h"

namespace platform::xps {
namespace {

// Attribute bits of CreateFileW's flagsAndAttributes; the rest are FILE_FLAG_ options.
constexpr DWORD kAttributeBits = 0x0000FFFFu;

class FileDescriptor {
public:
    explicit FileDescriptor(int fd) : fd_(fd) {}
    ~FileDescriptor()
    {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int Get() const { return fd_; }
    int Close() { return ::close(std::exchange(fd_, -1)); }

private:
    int fd_;
};

HRESULT LastErrno()
{
    return HRESULT_FROM_WIN32(Win32ErrorOfErrno(errno));
}

// A file of its own in the temporary folder that disappears when closed.
int AnonymousFile()
{
    const std::string folder = std::filesystem::temp_directory_path().string();
    int fd = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    if (fd >= 0) {
        return fd;
    }
    std::string pattern = folder + "/qxxps-XXXXXX";
    fd = ::mkostemp(pattern.data(), O_CLOEXEC);
    if (fd >= 0) {
        ::unlink(pattern.c_str());
    }
    return fd;
}

}  // namespace

HRESULT Package::GetDocumentSequence(IXpsOMDocumentSequence** documentSequence)
{
    return Guarded([&] {
        if (documentSequence == nullptr) {
            return E_POINTER;
        }
        *documentSequence = nullptr;
        if (!sequence_) {
            sequence_ = LoadDocumentSequence(archive_);
        }
        return HandOut(sequence_, documentSequence);
    });
}

// What the objects handed out so far have changed. Parts nobody loaded cannot have changed.
PackageEdits Package::Edits() const
{
    PackageEdits edits;
    if (!sequence_) {
        return edits;
    }
    for (const auto& document : sequence_->Documents().Items()) {
        const PageReferenceCollection* pages = document->LoadedPages();
        if (pages == nullptr) {
            continue;
        }
        for (const auto& reference : pages->Items()) {
            const Page* page = reference->LoadedPage();
            if (page != nullptr && page->Resized()) {
                edits.pages[&reference->PagePart()] = page->Size();
                edits.documentReferences[&document->Part()][reference->Ordinal()] = page->Size();
            }
        }
    }
    return edits;
}

HRESULT Package::WriteToFile(LPCWSTR fileName, LPSECURITY_ATTRIBUTES, DWORD flagsAndAttributes, BOOL)
{
    return Guarded([&] {
        if (fileName == nullptr) {
            return E_POINTER;
        }
        const auto path = HostPathOf(fileName);
        if (!path) {
            return HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND);
        }
        // CREATE_ALWAYS refuses a read-only file and a folder whoever the caller is; the host would
        // let root through.
        struct stat existing {};
        if (::stat(path->c_str(), &existing) == 0) {
            if (S_ISDIR(existing.st_mode) || (existing.st_mode & S_IWUSR) == 0) {
                return E_ACCESSDENIED;
            }
            const auto source = archive_->SourceFile();
            if (source && source->first == existing.st_dev && source->second == existing.st_ino) {
                return HRESULT_FROM_WIN32(kErrorSharingViolation);  // the package still reads from it
            }
        }
        FileDescriptor file(::open(path->c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
        if (file.Get() < 0) {
            return LastErrno();
        }
        try {
            WritePackage(*archive_, Edits(), file.Get());
        } catch (...) {
            ::unlink(path->c_str());  // no half-written package is left behind
            throw;
        }
        if (file.Close() != 0) {
            const HRESULT hr = LastErrno();
            ::unlink(path->c_str());
            return hr;
        }
        // A file that CreateFileW makes carries the archive bit beside what it was asked for.
        const DWORD attributes = flagsAndAttributes & kAttributeBits & ~FILE_ATTRIBUTE_NORMAL;
        if (attributes != 0 && !::SetFileAttributesW(fileName, attributes | FILE_ATTRIBUTE_ARCHIVE)) {
            return HRESULT_FROM_WIN32(::GetLastError());
        }
        return S_OK;
    });
}

HRESULT Package::WriteToStream(ISequentialStream* stream, BOOL)
{
    return Guarded([&] {
        if (stream == nullptr) {
            return E_POINTER;
        }
        // libzip goes back to finish entries it has written, which a sequential stream cannot do:
        // the archive is made in a file first.
        FileDescriptor file(AnonymousFile());
        if (file.Get() < 0) {
            return LastErrno();
        }
        WritePackage(*archive_, Edits(), file.Get());
        if (::lseek(file.Get(), 0, SEEK_SET) != 0) {
            return LastErrno();
        }
        std::vector<char> buffer(256 * 1024);
        for (;;) {
            const ssize_t count = ::read(file.Get(), buffer.data(), buffer.size());
            if (count < 0) {
                if (errno == EINTR) {
                    continue;
                }
                return LastErrno();
            }
            if (count == 0) {
                return S_OK;
            }
            ULONG written = 0;
            const HRESULT hr = stream->Write(buffer.data(), static_cast<ULONG>(count), &written);
            if (FAILED(hr)) {
                return hr;
            }
            if (written != static_cast<ULONG>(count)) {
                return STG_E_MEDIUMFULL;
            }
        }
    });
}

ComPtr<IXpsOMPackage> OpenPackageFromStream(IStream* stream)
{
    return MakeObject<Package>(PackageArchive::FromStream(stream));
}

ComPtr<IXpsOMPackage> OpenPackageFromFile(LPCWSTR fileName)
{
    const auto path = HostPathOf(fileName);
    if (!path) {
        Fail(HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
    }
    return MakeObject<Package>(PackageArchive::FromFile(*path));
}

}  // namespace platform::xps
