#include <cmath>

#include "xps/markupeditor.h"
#include "xps/markupreader.h"
#include "xps/xpsfailure.h"
#include "xps/xpsnames.h"
#include "xps/xpsomobjects.h"

namespace platform::xps {
namespace {

bool ValidPageSize(const XPS_SIZE& size)
{
    return std::isfinite(size.width) && std::isfinite(size.height) && size.width >= 1.0f && size.height >= 1.0f;
}

// Only the root's size matters here, but the whole page is read: a page that is not well-formed
// fails now, as it would for any reader that draws it.
class FixedPageReader : public MarkupHandler {
public:
    HRESULT StartElement(int depth, std::string_view uri, std::string_view localName,
                         const std::vector<MarkupAttribute>& attributes) override
    {
        if (depth > 0) {
            return S_OK;
        }
        if (!IsXpsNamespace(uri) || localName != "FixedPage") {
            return XPS_E_INVALID_MARKUP;
        }
        const std::string* width = FindAttribute(attributes, "Width");
        const std::string* height = FindAttribute(attributes, "Height");
        if (width == nullptr || height == nullptr) {
            return XPS_E_INVALID_MARKUP;
        }
        const auto w = ParseXpsNumber(*width);
        const auto h = ParseXpsNumber(*height);
        if (!w || !h) {
            return XPS_E_INVALID_FLOAT;
        }
        size = XPS_SIZE{static_cast<FLOAT>(*w), static_cast<FLOAT>(*h)};
        return ValidPageSize(size) ? S_OK : XPS_E_INVALID_PAGE_SIZE;
    }

    XPS_SIZE size{0, 0};
};

}  // namespace

HRESULT Page::GetPageDimensions(XPS_SIZE* pageDimensions)
{
    return Guarded([&]() -> HRESULT {
        if (pageDimensions == nullptr) {
            return E_POINTER;
        }
        *pageDimensions = size_;
        return S_OK;
    });
}

HRESULT Page::SetPageDimensions(const XPS_SIZE* pageDimensions)
{
    return Guarded([&]() -> HRESULT {
        if (pageDimensions == nullptr) {
            return E_POINTER;
        }
        if (!ValidPageSize(*pageDimensions)) {
            return XPS_E_INVALID_PAGE_SIZE;
        }
        size_ = *pageDimensions;
        return S_OK;
    });
}

HRESULT PageReference::GetPage(IXpsOMPage** page)
{
    return Guarded([&] {
        if (page == nullptr) {
            return E_POINTER;
        }
        *page = nullptr;
        if (!loaded_) {
            FixedPageReader reader;
            archive_->ReadMarkupOf(page_, reader, XPS_E_INVALID_MARKUP);
            loaded_ = MakeObject<Page>(reader.size);
        }
        return HandOut(loaded_, page);
    });
}

HRESULT PageReference::IsPageLoaded(BOOL* isPageLoaded)
{
    return Guarded([&]() -> HRESULT {
        if (isPageLoaded == nullptr) {
            return E_POINTER;
        }
        *isPageLoaded = loaded_ ? TRUE : FALSE;
        return S_OK;
    });
}

HRESULT PageReference::GetAdvisoryPageDimensions(XPS_SIZE* pageDimensions)
{
    return Guarded([&]() -> HRESULT {
        if (pageDimensions == nullptr) {
            return E_POINTER;
        }
        *pageDimensions = advisory_;
        return S_OK;
    });
}

}  // namespace platform::xps
