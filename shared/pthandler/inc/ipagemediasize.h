// The page media size, which a job can also write back as a custom size.
#pragma once

#include "ptfeature.h"
#include "ptparameterrecords.h"

class IPageMediaSize : public PTFeature<PageMediaSize> {
public:
    explicit IPageMediaSize(IXMLDOMDocument2* document) : PTFeature<PageMediaSize>(document) {}
    // Replaces the ticket's page size by a custom size of the given width and height.
    virtual void SetValue(const PageMediaSize& size) = 0;
};
