// The objects of the XPS object model over a package archive. Each object reads its own part the
// first time it is asked for what the part holds, and keeps what it read: a package hands out the
// same sequence, documents, page references and pages on every call, so that changes made through
// one of them are the ones written. Children hold the archive, never their parents.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <wrl/client.h>
#include <xpsobjectmodel.h>

#include "platform/comobject.h"
#include "xps/packagearchive.h"
#include "xps/packagewriter.h"
#include "xps/xpsfailure.h"

namespace platform::xps {

using Microsoft::WRL::ComPtr;
using ArchivePtr = std::shared_ptr<PackageArchive>;

// A new object, its first reference held by the result.
template <class T, class... Args>
ComPtr<T> MakeObject(Args&&... args)
{
    ComPtr<T> object;
    object.Attach(new T(std::forward<Args>(args)...));
    return object;
}

// Gives the caller a reference of its own, as an out parameter of an interface the object implements.
template <class Interface, class T>
HRESULT HandOut(const ComPtr<T>& object, Interface** out)
{
    *out = object.Get();
    if (*out != nullptr) {
        (*out)->AddRef();
    }
    return S_OK;
}

class PrintTicketResource final : public ComObject<PrintTicketResource, IXpsOMPrintTicketResource> {
public:
    PrintTicketResource(ArchivePtr archive, const PartEntry& part) : archive_(std::move(archive)), part_(part) {}

    HRESULT GetStream(IStream** stream) override;

private:
    ArchivePtr archive_;
    const PartEntry& part_;
    std::optional<std::string> bytes_;
};

// The print ticket that the part's relationships name, or null; throws XpsFailure.
ComPtr<PrintTicketResource> LoadPrintTicket(PackageArchive& archive, const ArchivePtr& owner,
                                            std::string_view sourcePart, HRESULT multipleTickets);

class Page final : public ComObject<Page, IXpsOMPage> {
public:
    explicit Page(XPS_SIZE size) : read_(size), size_(size) {}

    HRESULT GetPageDimensions(XPS_SIZE* pageDimensions) override;
    HRESULT SetPageDimensions(const XPS_SIZE* pageDimensions) override;

    bool Resized() const { return size_.width != read_.width || size_.height != read_.height; }
    XPS_SIZE Size() const { return size_; }

private:
    XPS_SIZE read_;  // as the markup has it
    XPS_SIZE size_;
};

class PageReference final : public ComObject<PageReference, IXpsOMPageReference> {
public:
    PageReference(ArchivePtr archive, const PartEntry& page, XPS_SIZE advisory, size_t ordinal)
        : archive_(std::move(archive)), page_(page), advisory_(advisory), ordinal_(ordinal)
    {
    }

    HRESULT GetPage(IXpsOMPage** page) override;
    HRESULT IsPageLoaded(BOOL* isPageLoaded) override;
    HRESULT GetAdvisoryPageDimensions(XPS_SIZE* pageDimensions) override;

    const PartEntry& PagePart() const { return page_; }
    Page* LoadedPage() const { return loaded_.Get(); }
    // Its PageContent element's place among those of the document.
    size_t Ordinal() const { return ordinal_; }

private:
    ArchivePtr archive_;
    const PartEntry& page_;
    XPS_SIZE advisory_;
    size_t ordinal_;
    ComPtr<Page> loaded_;
};

template <class CollectionInterface, class ItemInterface, class Item>
class ObjectCollection final
    : public ComObject<ObjectCollection<CollectionInterface, ItemInterface, Item>, CollectionInterface> {
public:
    explicit ObjectCollection(std::vector<ComPtr<Item>> items) : items_(std::move(items)) {}

    HRESULT GetCount(UINT32* count) override
    {
        return Guarded([&]() -> HRESULT {
            if (count == nullptr) {
                return E_POINTER;
            }
            *count = static_cast<UINT32>(items_.size());
            return S_OK;
        });
    }
    HRESULT GetAt(UINT32 index, ItemInterface** item) override
    {
        return Guarded([&]() -> HRESULT {
            if (item == nullptr) {
                return E_POINTER;
            }
            *item = nullptr;
            if (index >= items_.size()) {
                return XPS_E_INDEX_OUT_OF_RANGE;
            }
            return HandOut(items_[index], item);
        });
    }

    const std::vector<ComPtr<Item>>& Items() const { return items_; }

private:
    std::vector<ComPtr<Item>> items_;
};

using PageReferenceCollection = ObjectCollection<IXpsOMPageReferenceCollection, IXpsOMPageReference, PageReference>;

class Document final : public ComObject<Document, IXpsOMDocument> {
public:
    Document(ArchivePtr archive, const PartEntry& part) : archive_(std::move(archive)), part_(part) {}

    HRESULT GetPageReferences(IXpsOMPageReferenceCollection** pageReferences) override;
    HRESULT GetPrintTicketResource(IXpsOMPrintTicketResource** printTicketResource) override;

    const PartEntry& Part() const { return part_; }
    PageReferenceCollection* LoadedPages() const { return pages_.Get(); }

private:
    void LoadPages();

    ArchivePtr archive_;
    const PartEntry& part_;
    ComPtr<PageReferenceCollection> pages_;
    bool ticketLoaded_ = false;
    ComPtr<PrintTicketResource> ticket_;
};

using DocumentCollection = ObjectCollection<IXpsOMDocumentCollection, IXpsOMDocument, Document>;

class DocumentSequence final : public ComObject<DocumentSequence, IXpsOMDocumentSequence> {
public:
    DocumentSequence(ArchivePtr archive, const PartEntry& part, ComPtr<DocumentCollection> documents)
        : archive_(std::move(archive)), part_(part), documents_(std::move(documents))
    {
    }

    HRESULT GetDocuments(IXpsOMDocumentCollection** documents) override;
    HRESULT GetPrintTicketResource(IXpsOMPrintTicketResource** printTicketResource) override;

    const DocumentCollection& Documents() const { return *documents_.Get(); }

private:
    ArchivePtr archive_;
    const PartEntry& part_;
    ComPtr<DocumentCollection> documents_;
    bool ticketLoaded_ = false;
    ComPtr<PrintTicketResource> ticket_;
};

// Follows the package's fixed representation relationship and reads the sequence; throws XpsFailure.
ComPtr<DocumentSequence> LoadDocumentSequence(const ArchivePtr& archive);

class Package final : public ComObject<Package, IXpsOMPackage> {
public:
    explicit Package(ArchivePtr archive) : archive_(std::move(archive)) {}

    HRESULT GetDocumentSequence(IXpsOMDocumentSequence** documentSequence) override;
    HRESULT WriteToFile(LPCWSTR fileName, LPSECURITY_ATTRIBUTES securityAttributes, DWORD flagsAndAttributes,
                        BOOL optimizeMarkupSize) override;
    HRESULT WriteToStream(ISequentialStream* stream, BOOL optimizeMarkupSize) override;

private:
    PackageEdits Edits() const;

    ArchivePtr archive_;
    ComPtr<DocumentSequence> sequence_;
};

// The factory's two ways in; both throw XpsFailure.
ComPtr<IXpsOMPackage> OpenPackageFromStream(IStream* stream);
ComPtr<IXpsOMPackage> OpenPackageFromFile(LPCWSTR fileName);

}  // namespace platform::xps
