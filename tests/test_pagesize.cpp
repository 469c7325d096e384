// The preview's page size correction: pages grow to media longer or wider than 3276.7 mm, only in
// the directions where they are smaller, and a failing XPS call ends the correction with its HRESULT.
#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <msxml6.h>
#include <objbase.h>
#include <platform/notimplemented.h>
#include <platform/simulatedmachine.h>
#include <wrl/client.h>
#include <xpsobjectmodel.h>

#include "hostpreviewfilter.h"
#include "hrerror.h"
#include "jobcontext.h"
#include "pipelinepropertybagproxy.h"
#include "printerattributesettings.h"
#include "printerdriverproperties.h"
#include "ptsettings.h"
#include "raiiowners.h"
#include "testbstr.h"
#include "testmachine.h"
#include "tickettext.h"
#include "unknownbase.h"
#include "xpsbuilder.h"

using Microsoft::WRL::ComPtr;
using testsupport::Bstr;
using testsupport::LogTail;

namespace {

// 5 000 000 µm in 1/96 inch, to the nearest float.
constexpr float kLongMedia = 18897.638f;
constexpr std::uint32_t kRollWidth = 914400;  // 36 inches

// ---- tickets

struct Media {
    std::uint32_t width;                   // µm
    std::uint32_t height;                  // µm
    const wchar_t* orientation = nullptr;  // "Portrait", "Landscape" or absent
};

std::wstring Ticket(const Media& media)
{
    using namespace testsupport;
    const std::wstring size = Scored(L"psk:MediaSizeWidth", std::to_wstring(media.width)) +
                              Scored(L"psk:MediaSizeHeight", std::to_wstring(media.height));
    const std::wstring orientation = media.orientation == nullptr ? L"" : Option(L"psk:PageOrientation", media.orientation);
    return BareTicket(Copies(1) + Feature(L"psk:PageMediaSize", L"psk:ISOA1", size) + orientation);
}

platform::PrinterDescription Printer()
{
    platform::PrinterDescription printer;
    printer.name = L"QX Roll Printer";
    printer.port = L"USB001";
    printer.driverName = L"QX LFP Class Driver";
    printer.driverPropertyBag = {{L"Platform", std::wstring(L"Quarry")},
                                 {L"PDL", std::wstring(L"KESTREL")},
                                 {L"EncryptedPinSupported", std::wstring(L"Off")},
                                 {L"ConnectivityProtocolsSupported", std::wstring(L"USB")}};
    return printer;
}

// The job's settings read from a ticket, on a simulated printer, as the job run holds them.
class JobSettings {
public:
    explicit JobSettings(const Media& media)
        : job_(Printer()), proxy_(job_.BagInterface()), attributes_(proxy_), properties_(proxy_, attributes_),
          settings_(&properties_)
    {
        ComPtr<IXMLDOMDocument2> document;
        EXPECT_EQ(CoCreateInstance(CLSID_DOMDocument60, nullptr, CLSCTX_ALL, IID_PPV_ARGS(&document)), S_OK);
        VARIANT_BOOL loaded = VARIANT_FALSE;
        EXPECT_EQ(document->loadXML(Bstr(Ticket(media)), &loaded), S_OK);
        EXPECT_EQ(loaded, VARIANT_TRUE);
        settings_.LoadPrintTicket(document.Get());
    }

    PTSettings& Get() { return settings_; }

private:
    testsupport::JobContext job_;
    PipelinePropertyBagProxy proxy_;
    PrinterAttributeSettings attributes_;
    PrinterDriverProperties properties_;
    PTSettings settings_;
};

// ---- a double of the XPS object model: forwards to the real objects, records every call the
// correction makes and fails the chosen occurrence of one of them

struct CallScript {
    std::string failingCall;
    int occurrence = 1;
    HRESULT failure = S_OK;
    std::vector<std::string> calls;

    HRESULT Enter(const std::string& call)
    {
        calls.push_back(call);
        const bool fails = call == failingCall && Count(call) == occurrence;
        return fails ? failure : S_OK;
    }
    int Count(const std::string& call) const { return static_cast<int>(std::count(calls.begin(), calls.end(), call)); }
};

template <class Interface>
class Forwarding : public UnknownBase<platform::NotImplemented<Interface>> {
public:
    Forwarding(ComPtr<Interface> real, CallScript& script) : m_real(std::move(real)), m_script(script) {}

protected:
    template <class Call>
    HRESULT Forward(const char* name, Call call)
    {
        const HRESULT hr = m_script.Enter(name);
        return FAILED(hr) ? hr : call(m_real.Get());
    }

    // The real call's object comes back wrapped, so the calls made on it are scripted too.
    template <class Wrapper, class Result, class Call>
    HRESULT ForwardWrapped(const char* name, Result** result, Call call)
    {
        *result = nullptr;
        ComPtr<Result> real;
        const HRESULT hr = Forward(name, [&](Interface* object) { return call(object, real.GetAddressOf()); });
        if (SUCCEEDED(hr)) {
            *result = new Wrapper(std::move(real), m_script);
        }
        return hr;
    }

    ComPtr<Interface> m_real;
    CallScript& m_script;
};

class PageDouble : public Forwarding<IXpsOMPage> {
public:
    using Forwarding::Forwarding;
    HRESULT GetPageDimensions(XPS_SIZE* size) override
    {
        return Forward("GetPageDimensions", [&](IXpsOMPage* page) { return page->GetPageDimensions(size); });
    }
    HRESULT SetPageDimensions(const XPS_SIZE* size) override
    {
        return Forward("SetPageDimensions", [&](IXpsOMPage* page) { return page->SetPageDimensions(size); });
    }
};

class PageReferenceDouble : public Forwarding<IXpsOMPageReference> {
public:
    using Forwarding::Forwarding;
    HRESULT GetPage(IXpsOMPage** page) override
    {
        return ForwardWrapped<PageDouble>("GetPage", page,
                                          [](IXpsOMPageReference* reference, IXpsOMPage** real) { return reference->GetPage(real); });
    }
    HRESULT IsPageLoaded(BOOL* loaded) override { return m_real->IsPageLoaded(loaded); }
    HRESULT GetAdvisoryPageDimensions(XPS_SIZE* size) override { return m_real->GetAdvisoryPageDimensions(size); }
};

class PageReferencesDouble : public Forwarding<IXpsOMPageReferenceCollection> {
public:
    using Forwarding::Forwarding;
    HRESULT GetCount(UINT32* count) override
    {
        return Forward("PageReferences::GetCount",
                       [&](IXpsOMPageReferenceCollection* references) { return references->GetCount(count); });
    }
    HRESULT GetAt(UINT32 index, IXpsOMPageReference** reference) override
    {
        return ForwardWrapped<PageReferenceDouble>(
            "PageReferences::GetAt", reference,
            [index](IXpsOMPageReferenceCollection* references, IXpsOMPageReference** real) {
                return references->GetAt(index, real);
            });
    }
};

class DocumentDouble : public Forwarding<IXpsOMDocument> {
public:
    using Forwarding::Forwarding;
    HRESULT GetPageReferences(IXpsOMPageReferenceCollection** references) override
    {
        return ForwardWrapped<PageReferencesDouble>(
            "GetPageReferences", references,
            [](IXpsOMDocument* document, IXpsOMPageReferenceCollection** real) { return document->GetPageReferences(real); });
    }
    HRESULT GetPrintTicketResource(IXpsOMPrintTicketResource** ticket) override { return m_real->GetPrintTicketResource(ticket); }
};

class DocumentsDouble : public Forwarding<IXpsOMDocumentCollection> {
public:
    using Forwarding::Forwarding;
    HRESULT GetCount(UINT32* count) override
    {
        return Forward("Documents::GetCount", [&](IXpsOMDocumentCollection* documents) { return documents->GetCount(count); });
    }
    HRESULT GetAt(UINT32 index, IXpsOMDocument** document) override
    {
        return ForwardWrapped<DocumentDouble>(
            "Documents::GetAt", document,
            [index](IXpsOMDocumentCollection* documents, IXpsOMDocument** real) { return documents->GetAt(index, real); });
    }
};

class SequenceDouble : public Forwarding<IXpsOMDocumentSequence> {
public:
    using Forwarding::Forwarding;
    HRESULT GetDocuments(IXpsOMDocumentCollection** documents) override
    {
        return ForwardWrapped<DocumentsDouble>(
            "GetDocuments", documents,
            [](IXpsOMDocumentSequence* sequence, IXpsOMDocumentCollection** real) { return sequence->GetDocuments(real); });
    }
    HRESULT GetPrintTicketResource(IXpsOMPrintTicketResource** ticket) override { return m_real->GetPrintTicketResource(ticket); }
};

// ---- the package

struct PageState {
    float width;
    float height;
    BOOL loaded;
};

class PageSizeTest : public testing::Test {
protected:
    void LoadJob(const testsupport::XpsJobPlan& plan)
    {
        ComPtr<IXpsOMObjectFactory> factory;
        ASSERT_EQ(CoCreateInstance(CLSID_XpsOMObjectFactory, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&factory)), S_OK);
        const ComPtr<IStream> bytes = testsupport::MemoryStream(testsupport::BuildXps(plan));
        ComPtr<IXpsOMPackage> package;
        ASSERT_EQ(factory->CreatePackageFromStream(bytes.Get(), FALSE, &package), S_OK);
        ASSERT_EQ(package->GetDocumentSequence(&sequence_), S_OK);
        double_.Attach(new SequenceDouble(sequence_, script_));
    }

    // A job of documents x pages of one size.
    void LoadJob(size_t documents, size_t pages, float width, float height)
    {
        LoadJob(testsupport::XpsJobPlan::Pages(documents, pages, width, height));
    }

    // Every page of the real package in order, as the correction left it.
    std::vector<PageState> Pages()
    {
        std::vector<PageState> pages;
        ComPtr<IXpsOMDocumentCollection> documents;
        EXPECT_EQ(sequence_->GetDocuments(&documents), S_OK);
        UINT32 documentCount = 0;
        EXPECT_EQ(documents->GetCount(&documentCount), S_OK);
        for (UINT32 d = 0; d < documentCount; ++d) {
            ComPtr<IXpsOMDocument> document;
            EXPECT_EQ(documents->GetAt(d, &document), S_OK);
            ComPtr<IXpsOMPageReferenceCollection> references;
            EXPECT_EQ(document->GetPageReferences(&references), S_OK);
            UINT32 pageCount = 0;
            EXPECT_EQ(references->GetCount(&pageCount), S_OK);
            for (UINT32 p = 0; p < pageCount; ++p) {
                ComPtr<IXpsOMPageReference> reference;
                EXPECT_EQ(references->GetAt(p, &reference), S_OK);
                PageState state{0, 0, FALSE};
                EXPECT_EQ(reference->IsPageLoaded(&state.loaded), S_OK);
                ComPtr<IXpsOMPage> page;
                EXPECT_EQ(reference->GetPage(&page), S_OK);
                XPS_SIZE size{};
                EXPECT_EQ(page->GetPageDimensions(&size), S_OK);
                state.width = size.width;
                state.height = size.height;
                pages.push_back(state);
            }
        }
        return pages;
    }

    BOOL Correct(const Media& media)
    {
        JobSettings settings(media);
        return HostPreviewFilter::CorrectXpsPageSize(double_.Get(), settings.Get());
    }

    // The HRESULT the correction throws, or S_OK.
    HRESULT CorrectFails(const Media& media)
    {
        try {
            Correct(media);
        } catch (const hr_error& error) {
            return error.hr;
        }
        return S_OK;
    }

    ComApartment apartment_{COINIT_MULTITHREADED};
    CallScript script_;
    ComPtr<IXpsOMDocumentSequence> sequence_;
    ComPtr<IXpsOMDocumentSequence> double_;
};

const Media kLongPortrait{kRollWidth, 5000000, L"Portrait"};

// How many records of the log carry the failure of an XPS call, in the correction's own name.
int FailureRecords(const std::string& log, HRESULT hr)
{
    const std::string site = "[ERR] [hostpreviewfilter:HostPreviewFilter::CorrectXpsPageSize:";
    const std::string message = "] - Exception thrown because of failed hresult " + std::to_string(hr);
    int records = 0;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        const bool atSite = line.find(site) != std::string::npos;
        const bool endsWithMessage =
            line.size() >= message.size() && line.compare(line.size() - message.size(), message.size(), message) == 0;
        records += atSite && endsWithMessage ? 1 : 0;
    }
    return records;
}

// ---- the threshold

// 3276.701 mm in 1/96 inch, worked in double precision and only then rounded to a float.
const float kJustBeyond = static_cast<float>(3276701 / 25400.0 * 96.0);

struct ThresholdCase {
    const char* name;
    std::uint32_t width;
    std::uint32_t height;
    BOOL corrected;
    float pageWidth;  // of every page, after the correction
    float pageHeight;
};

class Threshold : public PageSizeTest, public testing::WithParamInterface<ThresholdCase> {};

TEST_P(Threshold, OnlyMediaBeyond3276Point7MillimetresTouchesThePackage)
{
    const ThresholdCase& c = GetParam();
    LoadJob(1, 2, 816, 1056);
    EXPECT_EQ(Correct({c.width, c.height, L"Portrait"}), c.corrected);
    EXPECT_EQ(script_.Count("SetPageDimensions"), c.corrected ? 2 : 0);
    EXPECT_EQ(script_.calls.empty(), !c.corrected);
    for (const PageState& page : Pages()) {
        if (!c.corrected) {
            EXPECT_FALSE(page.loaded);  // no page was loaded to decide
        }
        EXPECT_EQ(page.width, c.pageWidth);
        EXPECT_EQ(page.height, c.pageHeight);
    }
}

INSTANTIATE_TEST_SUITE_P(PageSize, Threshold,
                         testing::Values(ThresholdCase{"HeightAtThreshold", kRollWidth, 3276700, FALSE, 816, 1056},
                                         ThresholdCase{"BothAtThreshold", 3276700, 3276700, FALSE, 816, 1056},
                                         ThresholdCase{"HeightJustBeyond", kRollWidth, 3276701, TRUE, 3456, kJustBeyond},
                                         ThresholdCase{"WidthJustBeyond", 3276701, kRollWidth, TRUE, kJustBeyond, 3456},
                                         ThresholdCase{"NoMediaSize", 0, 0, FALSE, 816, 1056}),
                         [](const testing::TestParamInfo<ThresholdCase>& info) { return info.param.name; });

// ---- enlarging the pages

struct EnlargeCase {
    const char* name;
    const wchar_t* orientation;
    float pageWidth;
    float pageHeight;
    BOOL corrected;
    float width;
    float height;
};

class Enlarge : public PageSizeTest, public testing::WithParamInterface<EnlargeCase> {};

TEST_P(Enlarge, EveryPageOfEveryDocumentGrowsOnlyWhereItIsSmaller)
{
    const EnlargeCase& c = GetParam();
    LoadJob(2, 3, c.pageWidth, c.pageHeight);
    const LogTail log;
    EXPECT_EQ(Correct({kRollWidth, 5000000, c.orientation}), c.corrected);
    EXPECT_EQ(log.Settled().find("HostPreviewFilter::CorrectXpsPageSize"), std::string::npos);
    const std::vector<PageState> pages = Pages();
    ASSERT_EQ(pages.size(), 6u);
    for (const PageState& page : pages) {
        EXPECT_EQ(page.width, c.width);
        EXPECT_EQ(page.height, c.height);
    }
    EXPECT_EQ(script_.Count("GetPage"), 6);
    EXPECT_EQ(script_.Count("SetPageDimensions"), c.corrected ? 6 : 0);
}

INSTANTIATE_TEST_SUITE_P(
    PageSize, Enlarge,
    testing::Values(EnlargeCase{"Portrait", L"Portrait", 3456, 12000, TRUE, 3456, kLongMedia},
                    EnlargeCase{"Landscape", L"Landscape", 3456, 12000, TRUE, kLongMedia, 12000},
                    EnlargeCase{"NoOrientationReadsAsPortrait", nullptr, 3456, 12000, TRUE, 3456, kLongMedia},
                    EnlargeCase{"NarrowerMediaKeepsTheWiderPage", L"Portrait", 4000, 2000, TRUE, 4000, kLongMedia},
                    EnlargeCase{"PagesAlreadyLarger", L"Portrait", 20000, 20000, FALSE, 20000, 20000},
                    EnlargeCase{"PagesExactlyTheMedia", L"Portrait", 3456, kLongMedia, FALSE, 3456, kLongMedia}),
    [](const testing::TestParamInfo<EnlargeCase>& info) { return info.param.name; });

TEST_F(PageSizeTest, OnlyThePagesSmallerThanTheMediaCountAsAChange)
{
    testsupport::XpsJobPlan plan = testsupport::XpsJobPlan::Pages(2, 2, 20000, 20000);
    plan.documents[1].pages[1].height = 12000;
    LoadJob(plan);

    EXPECT_EQ(Correct(kLongPortrait), TRUE);
    const std::vector<PageState> pages = Pages();
    ASSERT_EQ(pages.size(), 4u);
    EXPECT_EQ(pages[2].height, 20000.0f);
    EXPECT_EQ(pages[3].width, 20000.0f);
    EXPECT_EQ(pages[3].height, kLongMedia);
    EXPECT_EQ(script_.Count("SetPageDimensions"), 1);
}

// ---- a failing XPS call

struct FailureCase {
    const char* name;
    const char* call;
    int occurrence;
    HRESULT failure;
    size_t pagesChangedBefore;  // of the 2 x 2 job, in order
};

class FailingCall : public PageSizeTest, public testing::WithParamInterface<FailureCase> {};

TEST_P(FailingCall, ThrowsItsHresultAfterLoggingItOnceAndKeepsTheEarlierPagesChanged)
{
    const FailureCase& c = GetParam();
    LoadJob(2, 2, 3456, 12000);
    script_.failingCall = c.call;
    script_.occurrence = c.occurrence;
    script_.failure = c.failure;
    const LogTail log;

    EXPECT_EQ(CorrectFails(kLongPortrait), c.failure);
    EXPECT_EQ(script_.calls.back(), c.call);  // nothing more was asked after the failure
    EXPECT_EQ(FailureRecords(log.Settled(), c.failure), 1);
    const std::vector<PageState> pages = Pages();
    ASSERT_EQ(pages.size(), 4u);
    for (size_t i = 0; i < pages.size(); ++i) {
        EXPECT_EQ(pages[i].height, i < c.pagesChangedBefore ? kLongMedia : 12000.0f) << "page " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(
    PageSize, FailingCall,
    testing::Values(FailureCase{"GetDocuments", "GetDocuments", 1, E_OUTOFMEMORY, 0},
                    FailureCase{"DocumentCount", "Documents::GetCount", 1, E_UNEXPECTED, 0},
                    FailureCase{"SecondDocument", "Documents::GetAt", 2, E_INVALIDARG, 2},
                    FailureCase{"PageReferences", "GetPageReferences", 1, E_FAIL, 0},
                    FailureCase{"SecondPageCount", "PageReferences::GetCount", 2, E_POINTER, 2},
                    FailureCase{"PageReference", "PageReferences::GetAt", 1, E_ACCESSDENIED, 0},
                    FailureCase{"ThirdPage", "GetPage", 3, XPS_E_INVALID_MARKUP, 2},
                    FailureCase{"PageDimensions", "GetPageDimensions", 1, XPS_E_INVALID_FLOAT, 0},
                    FailureCase{"SecondSetPageDimensions", "SetPageDimensions", 2, XPS_E_INVALID_PAGE_SIZE, 1}),
    [](const testing::TestParamInfo<FailureCase>& info) { return info.param.name; });

}  // namespace
