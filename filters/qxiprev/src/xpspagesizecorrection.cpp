#include "xpspagesizecorrection.h"

#include <utility>

#include <wrl/client.h>

#include "hrerror.h"

using Microsoft::WRL::ComPtr;

namespace {

float MicrometresToXpsUnits(std::uint32_t micrometres)
{
    return static_cast<float>(micrometres / 25400.0 * 96.0);
}

}  // namespace

XpsPageSizeCorrection::XpsPageSizeCorrection(std::uint32_t mediaWidth, std::uint32_t mediaHeight,
                                             EOrientation orientation, const LogSite& site)
    : m_mediaWidth(mediaWidth),
      m_mediaHeight(mediaHeight),
      m_target{MicrometresToXpsUnits(mediaWidth), MicrometresToXpsUnits(mediaHeight)},
      m_site(site)
{
    // The ticket's media size is given portrait; landscape pages lie across it.
    if (orientation == EOrientation::Landscape) {
        std::swap(m_target.width, m_target.height);
    }
}

bool XpsPageSizeCorrection::MediaIsOversized() const
{
    return m_mediaWidth > kOversizeThreshold || m_mediaHeight > kOversizeThreshold;
}

bool XpsPageSizeCorrection::Apply(IXpsOMDocumentSequence* documentSequence) const
{
    // Media within reach of an ordinary page leaves the package untouched: no page is even loaded.
    if (!MediaIsOversized()) {
        return false;
    }
    ComPtr<IXpsOMDocumentCollection> documents;
    ThrowIfFailed(documentSequence->GetDocuments(&documents), QX_FOR(m_site));
    UINT32 count = 0;
    ThrowIfFailed(documents->GetCount(&count), QX_FOR(m_site));
    bool changed = false;
    for (UINT32 index = 0; index < count; ++index) {
        ComPtr<IXpsOMDocument> document;
        ThrowIfFailed(documents->GetAt(index, &document), QX_FOR(m_site));
        changed = ApplyToDocument(document.Get()) || changed;
    }
    return changed;
}

bool XpsPageSizeCorrection::ApplyToDocument(IXpsOMDocument* document) const
{
    ComPtr<IXpsOMPageReferenceCollection> pageReferences;
    ThrowIfFailed(document->GetPageReferences(&pageReferences), QX_FOR(m_site));
    UINT32 count = 0;
    ThrowIfFailed(pageReferences->GetCount(&count), QX_FOR(m_site));
    bool changed = false;
    for (UINT32 index = 0; index < count; ++index) {
        ComPtr<IXpsOMPageReference> pageReference;
        ThrowIfFailed(pageReferences->GetAt(index, &pageReference), QX_FOR(m_site));
        changed = ApplyToPage(pageReference.Get()) || changed;
    }
    return changed;
}

bool XpsPageSizeCorrection::ApplyToPage(IXpsOMPageReference* pageReference) const
{
    ComPtr<IXpsOMPage> page;
    ThrowIfFailed(pageReference->GetPage(&page), QX_FOR(m_site));
    XPS_SIZE dimensions{};
    ThrowIfFailed(page->GetPageDimensions(&dimensions), QX_FOR(m_site));
    // Pages only grow: a page already larger than the media in a direction keeps that size.
    bool changed = false;
    if (m_target.height > dimensions.height) {
        dimensions.height = m_target.height;
        changed = true;
    }
    if (m_target.width > dimensions.width) {
        dimensions.width = m_target.width;
        changed = true;
    }
    if (changed) {
        ThrowIfFailed(page->SetPageDimensions(&dimensions), QX_FOR(m_site));
    }
    return changed;
}
