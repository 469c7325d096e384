// What the XPS object model's objects answer for the methods they leave out. The stand-in reads a
// package, resizes its pages and writes it again: it builds, replaces, clones and discards nothing;
// it has no part names, resources beyond print tickets, or visuals to hand out; and its objects hold
// the archive, never their parents, so none knows its owner.
#pragma once

#include "../xpsobjectmodel.h"

namespace platform {

template <class I>
struct NotImplemented;

// I is the interface the object implements, so each method is written once for every interface
// that derives from IXpsOMPart.
template <class I>
struct XpsPartNotImplemented : I {
    HRESULT GetPartName(IOpcPartUri**) override { return E_NOTIMPL; }
    HRESULT SetPartName(IOpcPartUri*) override { return E_NOTIMPL; }
};

// IXpsOMResource adds nothing to IXpsOMPart.
template <class I>
using XpsResourceNotImplemented = XpsPartNotImplemented<I>;

// The collections are read as the package has them.
template <class I, class Item>
struct XpsCollectionNotImplemented : I {
    HRESULT InsertAt(UINT32, Item*) override { return E_NOTIMPL; }
    HRESULT RemoveAt(UINT32) override { return E_NOTIMPL; }
    HRESULT SetAt(UINT32, Item*) override { return E_NOTIMPL; }
    HRESULT Append(Item*) override { return E_NOTIMPL; }
};

template <>
struct NotImplemented<IXpsOMPart> : XpsPartNotImplemented<IXpsOMPart> {};

template <>
struct NotImplemented<IXpsOMResource> : XpsResourceNotImplemented<IXpsOMResource> {};

// A ticket's bytes are the package's own.
template <>
struct NotImplemented<IXpsOMPrintTicketResource> : XpsResourceNotImplemented<IXpsOMPrintTicketResource> {
    HRESULT SetContent(IStream*, IOpcPartUri*) override { return E_NOTIMPL; }
};

// Only the page's dimensions are read or changed.
template <>
struct NotImplemented<IXpsOMPage> : XpsPartNotImplemented<IXpsOMPage> {
    HRESULT GetOwner(IXpsOMPageReference**) override { return E_NOTIMPL; }
    HRESULT GetVisuals(IXpsOMVisualCollection**) override { return E_NOTIMPL; }
    HRESULT GetContentBox(XPS_RECT*) override { return E_NOTIMPL; }
    HRESULT SetContentBox(const XPS_RECT*) override { return E_NOTIMPL; }
    HRESULT GetBleedBox(XPS_RECT*) override { return E_NOTIMPL; }
    HRESULT SetBleedBox(const XPS_RECT*) override { return E_NOTIMPL; }
    HRESULT GetLanguage(LPWSTR*) override { return E_NOTIMPL; }
    HRESULT SetLanguage(LPCWSTR) override { return E_NOTIMPL; }
    HRESULT GetName(LPWSTR*) override { return E_NOTIMPL; }
    HRESULT SetName(LPCWSTR) override { return E_NOTIMPL; }
    HRESULT GetIsHyperlinkTarget(BOOL*) override { return E_NOTIMPL; }
    HRESULT SetIsHyperlinkTarget(BOOL) override { return E_NOTIMPL; }
    HRESULT GetDictionary(IXpsOMDictionary**) override { return E_NOTIMPL; }
    HRESULT GetDictionaryLocal(IXpsOMDictionary**) override { return E_NOTIMPL; }
    HRESULT SetDictionaryLocal(IXpsOMDictionary*) override { return E_NOTIMPL; }
    HRESULT GetDictionaryResource(IXpsOMRemoteDictionaryResource**) override { return E_NOTIMPL; }
    HRESULT SetDictionaryResource(IXpsOMRemoteDictionaryResource*) override { return E_NOTIMPL; }
    HRESULT Write(ISequentialStream*, BOOL) override { return E_NOTIMPL; }
    HRESULT GenerateUnusedLookupKey(XPS_OBJECT_TYPE, LPWSTR*) override { return E_NOTIMPL; }
    HRESULT Clone(IXpsOMPage**) override { return E_NOTIMPL; }
};

template <>
struct NotImplemented<IXpsOMPageReference> : IXpsOMPageReference {
    HRESULT GetOwner(IXpsOMDocument**) override { return E_NOTIMPL; }
    HRESULT SetPage(IXpsOMPage*) override { return E_NOTIMPL; }
    HRESULT DiscardPage() override { return E_NOTIMPL; }
    HRESULT SetAdvisoryPageDimensions(const XPS_SIZE*) override { return E_NOTIMPL; }
    HRESULT GetStoryFragmentsResource(IXpsOMStoryFragmentsResource**) override { return E_NOTIMPL; }
    HRESULT SetStoryFragmentsResource(IXpsOMStoryFragmentsResource*) override { return E_NOTIMPL; }
    HRESULT GetPrintTicketResource(IXpsOMPrintTicketResource**) override { return E_NOTIMPL; }
    HRESULT SetPrintTicketResource(IXpsOMPrintTicketResource*) override { return E_NOTIMPL; }
    HRESULT GetThumbnailResource(IXpsOMImageResource**) override { return E_NOTIMPL; }
    HRESULT SetThumbnailResource(IXpsOMImageResource*) override { return E_NOTIMPL; }
    HRESULT CollectLinkTargets(IXpsOMNameCollection**) override { return E_NOTIMPL; }
    HRESULT CollectPartResources(IXpsOMPartResources**) override { return E_NOTIMPL; }
    HRESULT HasRestrictedFonts(BOOL*) override { return E_NOTIMPL; }
    HRESULT Clone(IXpsOMPageReference**) override { return E_NOTIMPL; }
};

template <>
struct NotImplemented<IXpsOMPageReferenceCollection>
    : XpsCollectionNotImplemented<IXpsOMPageReferenceCollection, IXpsOMPageReference> {};

template <>
struct NotImplemented<IXpsOMDocument> : XpsPartNotImplemented<IXpsOMDocument> {
    HRESULT GetOwner(IXpsOMDocumentSequence**) override { return E_NOTIMPL; }
    HRESULT SetPrintTicketResource(IXpsOMPrintTicketResource*) override { return E_NOTIMPL; }
    HRESULT GetDocumentStructureResource(IXpsOMDocumentStructureResource**) override { return E_NOTIMPL; }
    HRESULT SetDocumentStructureResource(IXpsOMDocumentStructureResource*) override { return E_NOTIMPL; }
    HRESULT GetSignatureBlockResources(IXpsOMSignatureBlockResourceCollection**) override { return E_NOTIMPL; }
    HRESULT Clone(IXpsOMDocument**) override { return E_NOTIMPL; }
};

template <>
struct NotImplemented<IXpsOMDocumentCollection>
    : XpsCollectionNotImplemented<IXpsOMDocumentCollection, IXpsOMDocument> {};

template <>
struct NotImplemented<IXpsOMDocumentSequence> : XpsPartNotImplemented<IXpsOMDocumentSequence> {
    HRESULT GetOwner(IXpsOMPackage**) override { return E_NOTIMPL; }
    HRESULT SetPrintTicketResource(IXpsOMPrintTicketResource*) override { return E_NOTIMPL; }
};

// A package read from a job is written back with the parts it came with.
template <>
struct NotImplemented<IXpsOMPackage> : IXpsOMPackage {
    HRESULT SetDocumentSequence(IXpsOMDocumentSequence*) override { return E_NOTIMPL; }
    HRESULT GetCoreProperties(IXpsOMCoreProperties**) override { return E_NOTIMPL; }
    HRESULT SetCoreProperties(IXpsOMCoreProperties*) override { return E_NOTIMPL; }
    HRESULT GetDiscardControlPartName(IOpcPartUri**) override { return E_NOTIMPL; }
    HRESULT SetDiscardControlPartName(IOpcPartUri*) override { return E_NOTIMPL; }
    HRESULT GetThumbnailResource(IXpsOMImageResource**) override { return E_NOTIMPL; }
    HRESULT SetThumbnailResource(IXpsOMImageResource*) override { return E_NOTIMPL; }
};

// The factory opens packages; it makes nothing new.
template <>
struct NotImplemented<IXpsOMObjectFactory> : IXpsOMObjectFactory {
    HRESULT CreatePackage(IXpsOMPackage**) override { return E_NOTIMPL; }
    HRESULT CreateStoryFragmentsResource(IStream*, IOpcPartUri*, IXpsOMStoryFragmentsResource**) override
    {
        return E_NOTIMPL;
    }
    HRESULT CreateDocumentStructureResource(IStream*, IOpcPartUri*, IXpsOMDocumentStructureResource**) override
    {
        return E_NOTIMPL;
    }
    HRESULT CreateSignatureBlockResource(IStream*, IOpcPartUri*, IXpsOMSignatureBlockResource**) override
    {
        return E_NOTIMPL;
    }
    HRESULT CreateRemoteDictionaryResource(IXpsOMDictionary*, IOpcPartUri*, IXpsOMRemoteDictionaryResource**) override
    {
        return E_NOTIMPL;
    }
    HRESULT CreateRemoteDictionaryResourceFromStream(IStream*, IOpcPartUri*, IXpsOMPartResources*,
                                                     IXpsOMRemoteDictionaryResource**) override
    {
        return E_NOTIMPL;
    }
    HRESULT CreatePartResources(IXpsOMPartResources**) override { return E_NOTIMPL; }
    HRESULT CreateDocumentSequence(IOpcPartUri*, IXpsOMDocumentSequence**) override { return E_NOTIMPL; }
    HRESULT CreateDocument(IOpcPartUri*, IXpsOMDocument**) override { return E_NOTIMPL; }
    HRESULT CreatePageReference(const XPS_SIZE*, IXpsOMPageReference**) override { return E_NOTIMPL; }
    HRESULT CreatePage(const XPS_SIZE*, LPCWSTR, IOpcPartUri*, IXpsOMPage**) override { return E_NOTIMPL; }
    HRESULT CreatePageFromStream(IStream*, IOpcPartUri*, IXpsOMPartResources*, BOOL, IXpsOMPage**) override
    {
        return E_NOTIMPL;
    }
    HRESULT CreateCanvas(IXpsOMCanvas**) override { return E_NOTIMPL; }
    HRESULT CreateGlyphs(IXpsOMFontResource*, IXpsOMGlyphs**) override { return E_NOTIMPL; }
    HRESULT CreatePath(IXpsOMPath**) override { return E_NOTIMPL; }
    HRESULT CreateGeometry(IXpsOMGeometry**) override { return E_NOTIMPL; }
    HRESULT CreateGeometryFigure(const XPS_POINT*, IXpsOMGeometryFigure**) override { return E_NOTIMPL; }
    HRESULT CreateMatrixTransform(const XPS_MATRIX*, IXpsOMMatrixTransform**) override { return E_NOTIMPL; }
    HRESULT CreateSolidColorBrush(const XPS_COLOR*, IXpsOMColorProfileResource*, IXpsOMSolidColorBrush**) override
    {
        return E_NOTIMPL;
    }
    HRESULT CreateColorProfileResource(IStream*, IOpcPartUri*, IXpsOMColorProfileResource**) override
    {
        return E_NOTIMPL;
    }
    HRESULT CreateImageBrush(IXpsOMImageResource*, const XPS_RECT*, const XPS_RECT*, IXpsOMImageBrush**) override
    {
        return E_NOTIMPL;
    }
    HRESULT CreateVisualBrush(const XPS_RECT*, const XPS_RECT*, IXpsOMVisualBrush**) override { return E_NOTIMPL; }
    HRESULT CreateImageResource(IStream*, XPS_IMAGE_TYPE, IOpcPartUri*, IXpsOMImageResource**) override
    {
        return E_NOTIMPL;
    }
    HRESULT CreatePrintTicketResource(IStream*, IOpcPartUri*, IXpsOMPrintTicketResource**) override
    {
        return E_NOTIMPL;
    }
    HRESULT CreateFontResource(IStream*, XPS_FONT_EMBEDDING, IOpcPartUri*, BOOL, IXpsOMFontResource**) override
    {
        return E_NOTIMPL;
    }
    HRESULT CreateGradientStop(const XPS_COLOR*, IXpsOMColorProfileResource*, FLOAT, IXpsOMGradientStop**) override
    {
        return E_NOTIMPL;
    }
    HRESULT CreateLinearGradientBrush(IXpsOMGradientStop*, IXpsOMGradientStop*, const XPS_POINT*, const XPS_POINT*,
                                      IXpsOMLinearGradientBrush**) override
    {
        return E_NOTIMPL;
    }
    HRESULT CreateRadialGradientBrush(IXpsOMGradientStop*, IXpsOMGradientStop*, const XPS_POINT*, const XPS_POINT*,
                                      const XPS_SIZE*, IXpsOMRadialGradientBrush**) override
    {
        return E_NOTIMPL;
    }
    HRESULT CreateCoreProperties(IOpcPartUri*, IXpsOMCoreProperties**) override { return E_NOTIMPL; }
    HRESULT CreateDictionary(IXpsOMDictionary**) override { return E_NOTIMPL; }
    HRESULT CreatePartUriCollection(IXpsOMPartUriCollection**) override { return E_NOTIMPL; }
    HRESULT CreatePackageWriterOnFile(LPCWSTR, LPSECURITY_ATTRIBUTES, DWORD, BOOL, XPS_INTERLEAVING, IOpcPartUri*,
                                      IXpsOMCoreProperties*, IXpsOMImageResource*, IXpsOMPrintTicketResource*,
                                      IOpcPartUri*, IXpsOMPackageWriter**) override
    {
        return E_NOTIMPL;
    }
    HRESULT CreatePackageWriterOnStream(ISequentialStream*, BOOL, XPS_INTERLEAVING, IOpcPartUri*,
                                        IXpsOMCoreProperties*, IXpsOMImageResource*, IXpsOMPrintTicketResource*,
                                        IOpcPartUri*, IXpsOMPackageWriter**) override
    {
        return E_NOTIMPL;
    }
    HRESULT CreatePartUri(LPCWSTR, IOpcPartUri**) override { return E_NOTIMPL; }
    HRESULT CreateReadOnlyStreamOnFile(LPCWSTR, IStream**) override { return E_NOTIMPL; }
};

}  // namespace platform
