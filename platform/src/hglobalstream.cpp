// IStream over a movable global memory block. The stream's size is the block's size; writing past
// the end grows the block. With delete-on-release the last Release frees the block.
#include <algorithm>
#include <cstring>

#include "platform/comobject.h"
#include "platform/systemapi.h"

namespace platform {
namespace {

class HGlobalStream : public ComObject<HGlobalStream, IStream> {
public:
    HGlobalStream(HGLOBAL memory, bool deleteOnRelease) : memory_(memory), deleteOnRelease_(deleteOnRelease) {}
    ~HGlobalStream() override
    {
        if (deleteOnRelease_) {
            ::GlobalFree(memory_);
        }
    }

    HGLOBAL Memory() const { return memory_; }

    HRESULT Read(void* pv, ULONG cb, ULONG* pcbRead) override
    {
        if (pv == nullptr) {
            return STG_E_INVALIDPOINTER;
        }
        const SIZE_T size = ::GlobalSize(memory_);
        const ULONG count = position_ >= size ? 0 : static_cast<ULONG>(std::min<ULONGLONG>(cb, size - position_));
        if (count > 0) {
            const auto* data = static_cast<const char*>(::GlobalLock(memory_));
            if (data == nullptr) {
                return E_OUTOFMEMORY;
            }
            std::memcpy(pv, data + position_, count);
            ::GlobalUnlock(memory_);
            position_ += count;
        }
        if (pcbRead != nullptr) {
            *pcbRead = count;
        }
        return S_OK;
    }

    HRESULT Write(const void* pv, ULONG cb, ULONG* pcbWritten) override
    {
        if (pv == nullptr) {
            return STG_E_INVALIDPOINTER;
        }
        if (pcbWritten != nullptr) {
            *pcbWritten = 0;
        }
        if (cb == 0) {
            return S_OK;
        }
        if (position_ + cb > ::GlobalSize(memory_) && ::GlobalReAlloc(memory_, position_ + cb, GMEM_MOVEABLE) == nullptr) {
            return STG_E_MEDIUMFULL;
        }
        auto* data = static_cast<char*>(::GlobalLock(memory_));
        if (data == nullptr) {
            return E_OUTOFMEMORY;
        }
        std::memcpy(data + position_, pv, cb);
        ::GlobalUnlock(memory_);
        position_ += cb;
        if (pcbWritten != nullptr) {
            *pcbWritten = cb;
        }
        return S_OK;
    }

    HRESULT Seek(LARGE_INTEGER dlibMove, DWORD dwOrigin, ULARGE_INTEGER* plibNewPosition) override
    {
        LONGLONG base = 0;
        switch (dwOrigin) {
        case STREAM_SEEK_SET:
            break;
        case STREAM_SEEK_CUR:
            base = static_cast<LONGLONG>(position_);
            break;
        case STREAM_SEEK_END:
            base = static_cast<LONGLONG>(::GlobalSize(memory_));
            break;
        default:
            return STG_E_INVALIDFUNCTION;
        }
        const LONGLONG target = base + dlibMove.QuadPart;
        if (target < 0) {
            return STG_E_INVALIDFUNCTION;
        }
        position_ = static_cast<ULONGLONG>(target);
        if (plibNewPosition != nullptr) {
            plibNewPosition->QuadPart = position_;
        }
        return S_OK;
    }

    HRESULT SetSize(ULARGE_INTEGER libNewSize) override
    {
        return ::GlobalReAlloc(memory_, static_cast<SIZE_T>(libNewSize.QuadPart), GMEM_MOVEABLE) == nullptr ? STG_E_MEDIUMFULL
                                                                                                            : S_OK;
    }

    HRESULT CopyTo(IStream* pstm, ULARGE_INTEGER cb, ULARGE_INTEGER* pcbRead, ULARGE_INTEGER* pcbWritten) override
    {
        if (pstm == nullptr) {
            return STG_E_INVALIDPOINTER;
        }
        const SIZE_T size = ::GlobalSize(memory_);
        const ULONGLONG available = position_ >= size ? 0 : size - position_;
        const auto count = static_cast<ULONG>(std::min<ULONGLONG>({cb.QuadPart, available, 0xFFFFFFFFu}));
        ULONG written = 0;
        HRESULT hr = S_OK;
        if (count > 0) {
            const auto* data = static_cast<const char*>(::GlobalLock(memory_));
            if (data == nullptr) {
                return E_OUTOFMEMORY;
            }
            hr = pstm->Write(data + position_, count, &written);
            ::GlobalUnlock(memory_);
            position_ += count;
        }
        if (pcbRead != nullptr) {
            pcbRead->QuadPart = count;
        }
        if (pcbWritten != nullptr) {
            pcbWritten->QuadPart = written;
        }
        return hr;
    }

    HRESULT Commit(DWORD) override { return S_OK; }
    HRESULT Revert() override { return S_OK; }
    HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
    HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }

    HRESULT Stat(STATSTG* pstatstg, DWORD) override
    {
        if (pstatstg == nullptr) {
            return STG_E_INVALIDPOINTER;
        }
        *pstatstg = STATSTG{};
        pstatstg->type = STGTY_STREAM;
        pstatstg->cbSize.QuadPart = ::GlobalSize(memory_);
        return S_OK;
    }

    HRESULT Clone(IStream**) override { return E_NOTIMPL; }

private:
    HGLOBAL memory_;
    bool deleteOnRelease_;
    ULONGLONG position_ = 0;
};

}  // namespace

HRESULT Ole32::CreateStreamOnHGlobal(HGLOBAL memory, BOOL deleteOnRelease, IStream** stream)
{
    if (stream == nullptr) {
        return E_INVALIDARG;
    }
    *stream = nullptr;
    if (memory == nullptr) {
        memory = ::GlobalAlloc(GMEM_MOVEABLE, 0);
        if (memory == nullptr) {
            return E_OUTOFMEMORY;
        }
    } else if (::GlobalFlags(memory) == GMEM_INVALID_HANDLE) {
        return E_INVALIDARG;  // not a live block; a discarded one is an empty stream
    }
    auto* created = new (std::nothrow) HGlobalStream(memory, deleteOnRelease != FALSE);
    if (created == nullptr) {
        return E_OUTOFMEMORY;
    }
    *stream = created;
    return S_OK;
}

HRESULT Ole32::GetHGlobalFromStream(IStream* stream, HGLOBAL* memory)
{
    if (memory == nullptr) {
        return E_INVALIDARG;
    }
    const auto* ours = dynamic_cast<HGlobalStream*>(stream);
    if (ours == nullptr) {
        return E_INVALIDARG;
    }
    *memory = ours->Memory();
    return S_OK;
}

}  // namespace platform
