#include <set>

#include "xps/markupreader.h"
#include "xps/partname.h"
#include "xps/xpsfailure.h"
#include "xps/xpsnames.h"
#include "xps/xpsomobjects.h"

namespace platform::xps {
namespace {

class FixedDocumentSequenceReader : public MarkupHandler {
public:
    explicit FixedDocumentSequenceReader(size_t partCount) : partCount_(partCount) {}

    HRESULT StartElement(int depth, std::string_view uri, std::string_view localName,
                         const std::vector<MarkupAttribute>& attributes) override
    {
        if (depth == 0) {
            return IsXpsNamespace(uri) && localName == "FixedDocumentSequence" ? S_OK : XPS_E_INVALID_MARKUP;
        }
        if (depth > 1 || !IsXpsNamespace(uri) || localName != "DocumentReference") {
            return S_OK;
        }
        const std::string* source = FindAttribute(attributes, "Source");
        if (source == nullptr) {
            return XPS_E_INVALID_MARKUP;
        }
        if (sources.size() == partCount_) {
            return XPS_E_MULTIPLE_REFERENCES_TO_PART;
        }
        sources.push_back(*source);
        return S_OK;
    }

    std::vector<std::string> sources;

private:
    size_t partCount_;
};

const PartEntry& SequencePart(PackageArchive& archive)
{
    std::optional<Relationship> representation;
    for (auto& relationship : archive.RelationshipsOf("/", {kXpsFixedRepresentation, kOpenXpsFixedRepresentation})) {
        if (representation) {
            Fail(XPS_E_MULTIPLE_DOCUMENTSEQUENCE_RELATIONSHIPS);
        }
        representation = std::move(relationship);
    }
    if (!representation) {
        Fail(XPS_E_MISSING_DOCUMENTSEQUENCE_RELATIONSHIP);
    }
    const PartEntry* part = representation->target ? archive.Find(*representation->target) : nullptr;
    if (part == nullptr) {
        Fail(OPC_E_NO_SUCH_PART);
    }
    archive.RequireContentType(*part, kDocumentSequenceContentType);
    return *part;
}

}  // namespace

ComPtr<DocumentSequence> LoadDocumentSequence(const ArchivePtr& archive)
{
    const PartEntry& part = SequencePart(*archive);
    FixedDocumentSequenceReader reader(archive->PartCount());
    archive->ReadMarkupOf(part, reader, XPS_E_INVALID_MARKUP);
    // The documents are found now; each reads its own markup when asked for its pages.
    std::vector<ComPtr<Document>> documents;
    documents.reserve(reader.sources.size());
    std::set<const PartEntry*> referred;
    for (const auto& source : reader.sources) {
        const auto name = ResolvePartReference(part.name, source);
        const PartEntry* document = name ? archive->Find(*name) : nullptr;
        if (document == nullptr) {
            Fail(XPS_E_MISSING_REFERRED_DOCUMENT);
        }
        if (!referred.insert(document).second) {
            Fail(XPS_E_MULTIPLE_REFERENCES_TO_PART);
        }
        archive->RequireContentType(*document, kDocumentContentType);
        documents.push_back(MakeObject<Document>(archive, *document));
    }
    return MakeObject<DocumentSequence>(archive, part, MakeObject<DocumentCollection>(std::move(documents)));
}

HRESULT DocumentSequence::GetDocuments(IXpsOMDocumentCollection** documents)
{
    return Guarded([&]() -> HRESULT {
        if (documents == nullptr) {
            return E_POINTER;
        }
        return HandOut(documents_, documents);
    });
}

HRESULT DocumentSequence::GetPrintTicketResource(IXpsOMPrintTicketResource** printTicketResource)
{
    return Guarded([&] {
        if (printTicketResource == nullptr) {
            return E_POINTER;
        }
        *printTicketResource = nullptr;
        if (!ticketLoaded_) {
            ticket_ = LoadPrintTicket(*archive_, archive_, part_.name, XPS_E_MULTIPLE_PRINTTICKETS_ON_DOCUMENTSEQUENCE);
            ticketLoaded_ = true;
        }
        return HandOut(ticket_, printTicketResource);
    });
}

}  // namespace platform::xps
