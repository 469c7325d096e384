#include "ptpagemediasizefactory.h"

#include "custommediasize.h"
#include "hrerror.h"

PTPageMediaSize::PTPageMediaSize(IXMLDOMDocument2* document) : IPageMediaSize(document) {}

bool PTPageMediaSize::GetValue(PageMediaSize* size)
{
    static const CustomSizeQueries custom = CustomSizeQueriesOf(standardCustomMediaSizeDesc);
    *size = ReadPageMediaSize(*this, m_document, custom);
    return true;
}

void PTPageMediaSize::SetValue(const PageMediaSize& size)
{
    WriteCustomMediaSize(*this, standardCustomMediaSizeDesc, {size.width, size.height});
}

PTPSPageMediaSize::PTPSPageMediaSize(IXMLDOMDocument2* document) : IPageMediaSize(document) {}

bool PTPSPageMediaSize::GetValue(PageMediaSize* size)
{
    static const CustomSizeQueries custom = CustomSizeQueriesOf(psCustomMediaSizeDesc);
    *size = ReadPageMediaSize(*this, m_document, custom);
    return true;
}

void PTPSPageMediaSize::SetValue(const PageMediaSize& size)
{
    // No offsets; orientation 1 as a PostScript custom size expects it.
    WriteCustomMediaSize(*this, psCustomMediaSizeDesc, {size.width, size.height, 0, 0, 1});
}

MemScopePtr<IPageMediaSize> PTPageMediaSizeFactory::CreatePageMediaSize(IXMLDOMDocument2* document, EPdl pdl)
{
    switch (pdl) {
    case KESTREL:
        return std::make_unique<PTPageMediaSize>(document);
    case PS3:
    case OtherPdl:
        return std::make_unique<PTPSPageMediaSize>(document);
    }
    QXLOG_ERROR(L"Invalid Pdl type %u", static_cast<unsigned int>(pdl));
    THROW_HR(E_INVALIDARG);
}
