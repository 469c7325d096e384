// The page media size as the printer's page description language expects it: the maker's raster
// language takes the standard custom size, PostScript and the other languages the PostScript one.
#pragma once

#include <memory>

#include "ipagemediasize.h"
#include "printerdriverproperties.h"

template <class T>
using MemScopePtr = std::unique_ptr<T>;

// Reads and writes the standard custom size.
class PTPageMediaSize : public IPageMediaSize {
public:
    explicit PTPageMediaSize(IXMLDOMDocument2* document);
    // True unless the ticket has neither a readable named size nor the custom-size parameters,
    // in which case the hr_error escapes.
    bool GetValue(PageMediaSize* size) override;
    void SetValue(const PageMediaSize& size) override;
};

// Reads and writes the PostScript custom size.
class PTPSPageMediaSize : public IPageMediaSize {
public:
    explicit PTPSPageMediaSize(IXMLDOMDocument2* document);
    bool GetValue(PageMediaSize* size) override;
    void SetValue(const PageMediaSize& size) override;
};

class PTPageMediaSizeFactory {
public:
    // hr_error E_INVALIDARG for a PDL outside PS3, KESTREL and OtherPdl.
    static MemScopePtr<IPageMediaSize> CreatePageMediaSize(IXMLDOMDocument2* document, EPdl pdl);
};
