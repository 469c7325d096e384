// A file opened with CreateFileW: the host descriptor and the access the handle was opened for.
#pragma once

#include <unistd.h>

#include "handletable.h"

namespace platform {

class FileObject : public KernelObject {
public:
    FileObject(int descriptor, bool canRead, bool canWrite)
        : descriptor_(descriptor), canRead_(canRead), canWrite_(canWrite)
    {
    }
    ~FileObject() override { ::close(descriptor_); }
    FileObject(const FileObject&) = delete;
    FileObject& operator=(const FileObject&) = delete;

    // Synchronous files have no pending operation: always signalled.
    DWORD Wait(DWORD) override { return WAIT_OBJECT_0; }

    int Descriptor() const { return descriptor_; }
    bool CanRead() const { return canRead_; }
    bool CanWrite() const { return canWrite_; }

private:
    int descriptor_;
    bool canRead_;
    bool canWrite_;
};

}  // namespace platform
