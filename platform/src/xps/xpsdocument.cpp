#include <set>

#include "xps/markupeditor.h"
#include "xps/markupreader.h"
#include "xps/partname.h"
#include "xps/xpsfailure.h"
#include "xps/xpsnames.h"
#include "xps/xpsomobjects.h"

namespace platform::xps {
namespace {

struct PageContent {
    std::string source;
    XPS_SIZE advisory;
    size_t ordinal;
};

std::optional<FLOAT> AdvisoryDimension(const std::string* text, HRESULT& failure)
{
    if (text == nullptr) {
        return -1.0f;  // not given
    }
    const auto value = ParseXpsNumber(*text);
    if (!value) {
        failure = XPS_E_INVALID_FLOAT;
        return std::nullopt;
    }
    if (*value < 1.0) {
        failure = XPS_E_INVALID_PAGE_SIZE;
        return std::nullopt;
    }
    return static_cast<FLOAT>(*value);
}

class FixedDocumentReader : public MarkupHandler {
public:
    explicit FixedDocumentReader(size_t partCount) : partCount_(partCount) {}

    HRESULT StartElement(int depth, std::string_view uri, std::string_view localName,
                         const std::vector<MarkupAttribute>& attributes) override
    {
        // Counted as the writer counts them when it rewrites a page's entry.
        const size_t ordinal = localName == "PageContent" ? ordinals_++ : 0;
        if (depth == 0) {
            return IsXpsNamespace(uri) && localName == "FixedDocument" ? S_OK : XPS_E_INVALID_MARKUP;
        }
        if (depth > 1 || !IsXpsNamespace(uri) || localName != "PageContent") {
            return S_OK;  // link targets and other content of no concern here
        }
        const std::string* source = FindAttribute(attributes, "Source");
        if (source == nullptr) {
            return XPS_E_INVALID_MARKUP;
        }
        HRESULT failure = S_OK;
        const auto width = AdvisoryDimension(FindAttribute(attributes, "Width"), failure);
        const auto height = AdvisoryDimension(FindAttribute(attributes, "Height"), failure);
        if (!width || !height) {
            return failure;
        }
        // More references than the archive has parts cannot all name a page of their own.
        if (pages.size() == partCount_) {
            return XPS_E_MULTIPLE_REFERENCES_TO_PART;
        }
        pages.push_back(PageContent{*source, XPS_SIZE{*width, *height}, ordinal});
        return S_OK;
    }

    std::vector<PageContent> pages;

private:
    size_t partCount_;
    size_t ordinals_ = 0;
};

}  // namespace

void Document::LoadPages()
{
    FixedDocumentReader reader(archive_->PartCount());
    archive_->ReadMarkupOf(part_, reader, XPS_E_INVALID_MARKUP);
    std::vector<ComPtr<PageReference>> references;
    references.reserve(reader.pages.size());
    std::set<const PartEntry*> referred;
    for (const auto& content : reader.pages) {
        const auto name = ResolvePartReference(part_.name, content.source);
        const PartEntry* page = name ? archive_->Find(*name) : nullptr;
        if (page == nullptr) {
            Fail(XPS_E_MISSING_REFERRED_PAGE);
        }
        if (!referred.insert(page).second) {
            Fail(XPS_E_MULTIPLE_REFERENCES_TO_PART);
        }
        archive_->RequireContentType(*page, kPageContentType);
        references.push_back(MakeObject<PageReference>(archive_, *page, content.advisory, content.ordinal));
    }
    pages_ = MakeObject<PageReferenceCollection>(std::move(references));
}

HRESULT Document::GetPageReferences(IXpsOMPageReferenceCollection** pageReferences)
{
    return Guarded([&] {
        if (pageReferences == nullptr) {
            return E_POINTER;
        }
        *pageReferences = nullptr;
        if (!pages_) {
            LoadPages();
        }
        return HandOut(pages_, pageReferences);
    });
}

HRESULT Document::GetPrintTicketResource(IXpsOMPrintTicketResource** printTicketResource)
{
    return Guarded([&] {
        if (printTicketResource == nullptr) {
            return E_POINTER;
        }
        *printTicketResource = nullptr;
        if (!ticketLoaded_) {
            ticket_ = LoadPrintTicket(*archive_, archive_, part_.name, XPS_E_MULTIPLE_PRINTTICKETS_ON_DOCUMENT);
            ticketLoaded_ = true;
        }
        return HandOut(ticket_, printTicketResource);
    });
}

}  // namespace platform::xps
