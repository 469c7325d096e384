// libzip sources that the package reads from and writes to.
#pragma once

#include <memory>

#include <zip.h>

#include <objidl.h>

namespace platform::xps {

// The last failure of the stream or file under a source, so that a read or write error of libzip
// can be reported with the HRESULT or errno that caused it.
struct SourceStatus {
    HRESULT streamFailure = S_OK;
    int writeErrno = 0;
};

// A seekable read-only source over the stream's bytes, read in place: nothing is copied ahead of
// need. The source holds a reference on the stream until libzip frees it.
zip_source_t* CreateStreamZipSource(IStream* stream, std::shared_ptr<SourceStatus> status, zip_error_t* error);

// A source that libzip writes a new archive into, over a file descriptor that the caller opened
// for writing and closes after libzip is done. It reads as an archive that does not exist yet.
zip_source_t* CreateFileZipSink(int fd, std::shared_ptr<SourceStatus> status, zip_error_t* error);

}  // namespace platform::xps
