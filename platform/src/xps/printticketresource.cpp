#include <cstring>

#include "xps/partname.h"
#include "xps/xpsfailure.h"
#include "xps/xpsnames.h"
#include "xps/xpsomobjects.h"

namespace platform::xps {

HRESULT PrintTicketResource::GetStream(IStream** stream)
{
    return Guarded([&] {
        if (stream == nullptr) {
            return E_POINTER;
        }
        *stream = nullptr;
        if (!bytes_) {
            bytes_ = archive_->ReadAll(part_);
        }
        // Each caller gets a stream of its own, so that one reader's position never moves another's.
        HGLOBAL memory = ::GlobalAlloc(GMEM_MOVEABLE, bytes_->size());
        if (memory == nullptr) {
            return E_OUTOFMEMORY;
        }
        // An empty part's block is discarded from the start and cannot be locked; its stream is empty.
        if (!bytes_->empty()) {
            void* data = ::GlobalLock(memory);
            if (data == nullptr) {
                ::GlobalFree(memory);
                return E_OUTOFMEMORY;
            }
            std::memcpy(data, bytes_->data(), bytes_->size());
            ::GlobalUnlock(memory);
        }
        const HRESULT hr = ::CreateStreamOnHGlobal(memory, TRUE, stream);
        if (FAILED(hr)) {
            ::GlobalFree(memory);
        }
        return hr;
    });
}

ComPtr<PrintTicketResource> LoadPrintTicket(PackageArchive& archive, const ArchivePtr& owner,
                                            std::string_view sourcePart, HRESULT multipleTickets)
{
    std::optional<Relationship> ticket;
    for (auto& relationship : archive.RelationshipsOf(sourcePart, {kXpsPrintTicket, kOpenXpsPrintTicket})) {
        if (ticket) {
            Fail(multipleTickets);
        }
        ticket = std::move(relationship);
    }
    if (!ticket) {
        return nullptr;
    }
    const PartEntry* part = ticket->target ? archive.Find(*ticket->target) : nullptr;
    if (part == nullptr) {
        Fail(OPC_E_NO_SUCH_PART);
    }
    archive.RequireContentType(*part, kPrintTicketContentType);
    return MakeObject<PrintTicketResource>(owner, *part);
}

}  // namespace platform::xps
