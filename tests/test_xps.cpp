// The XPS object model stand-in: reading XPS 1.0 and OpenXPS packages part by part as they are
// asked for, refusing damaged and hostile ones with the XPS and OPC HRESULTs, and writing them
// again with changed page sizes and every other entry as it was.

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include <objbase.h>
#include <platform/comobject.h>
#include <platform/text.h>
#include <wrl/client.h>
#include <xpsobjectmodel.h>

#include "testmachine.h"
#include "xpsbuilder.h"

using Microsoft::WRL::ComPtr;
using namespace testsupport;
namespace fs = std::filesystem;

// Found by argument lookup, as XPS_SIZE lives in the global namespace.
inline bool operator==(const XPS_SIZE& a, const XPS_SIZE& b)
{
    return a.width == b.width && a.height == b.height;
}
inline std::ostream& operator<<(std::ostream& out, const XPS_SIZE& size)
{
    return out << size.width << " x " << size.height;
}

namespace {

constexpr HRESULT kFileTooLarge = HRESULT_FROM_WIN32(223);  // ERROR_FILE_TOO_LARGE
constexpr HRESULT kSharingViolation = HRESULT_FROM_WIN32(32);
constexpr HRESULT kReadFault = _HRESULT_TYPEDEF_(0x8003001EL);  // STG_E_READFAULT

std::string Hex(HRESULT hr)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(hr));
    return text;
}

#define EXPECT_HR(expected, actual) EXPECT_EQ(Hex(expected), Hex(actual))
#define ASSERT_HR(expected, actual) ASSERT_EQ(Hex(expected), Hex(actual))

struct PageInfo {
    XPS_SIZE size;
    XPS_SIZE advisory;
    bool operator==(const PageInfo& other) const { return size == other.size && advisory == other.advisory; }
};
std::ostream& operator<<(std::ostream& out, const PageInfo& page)
{
    return out << page.size << " (" << page.advisory << ")";
}
// Every page of every document.
using Pages = std::vector<std::vector<PageInfo>>;

// An IStream over bytes that can be told to fail reading.
class FailingStream : public platform::ComObject<FailingStream, IStream> {
public:
    explicit FailingStream(const std::string& bytes) : inner_(MemoryStream(bytes)) {}

    bool failReads = false;

    HRESULT Read(void* pv, ULONG cb, ULONG* n) override { return failReads ? kReadFault : inner_->Read(pv, cb, n); }
    HRESULT Write(const void*, ULONG, ULONG*) override { return STG_E_INVALIDFUNCTION; }
    HRESULT Seek(LARGE_INTEGER move, DWORD from, ULARGE_INTEGER* at) override { return inner_->Seek(move, from, at); }
    HRESULT SetSize(ULARGE_INTEGER) override { return STG_E_INVALIDFUNCTION; }
    HRESULT CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override { return E_NOTIMPL; }
    HRESULT Commit(DWORD) override { return S_OK; }
    HRESULT Revert() override { return S_OK; }
    HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
    HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return STG_E_INVALIDFUNCTION; }
    HRESULT Stat(STATSTG* stat, DWORD flags) override { return inner_->Stat(stat, flags); }
    HRESULT Clone(IStream**) override { return E_NOTIMPL; }

private:
    ComPtr<IStream> inner_;
};

// Each entry as three pieces, the last stored first, their names in the case producers differ on.
void Interleave(ZipParts& parts, const std::vector<std::string>& names)
{
    for (const std::string& name : names) {
        const std::string data = parts.Get(name).data;
        const size_t third = data.size() / 3;
        parts.Remove(name);
        parts.Set(name + "/[2].LAST.PIECE", data.substr(2 * third));
        parts.Set(name + "/[1].piece", data.substr(third, third));
        parts.Set(name + "/[0].piece", data.substr(0, third));
    }
}

std::string ReplaceAll(std::string text, const std::string& from, const std::string& to)
{
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

// A little-endian field of an archive record.
template <class T>
T Le(const std::string& bytes, size_t at)
{
    T value = 0;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}
void PutLe32(std::string& bytes, size_t at, std::uint32_t value) { std::memcpy(&bytes[at], &value, 4); }

size_t EndOfCentralDirectory(const std::string& zip)
{
    return zip.rfind(std::string("PK\x05\x06", 4));
}

// Where the archive's central directory describes the entry.
size_t CentralEntry(const std::string& zip, const std::string& name)
{
    const size_t record = EndOfCentralDirectory(zip);
    size_t at = Le<std::uint32_t>(zip, record + 16);
    for (std::uint16_t i = 0; i < Le<std::uint16_t>(zip, record + 10); ++i) {
        const std::uint16_t nameLength = Le<std::uint16_t>(zip, at + 28);
        if (zip.compare(at + 46, nameLength, name) == 0) {
            return at;
        }
        at += 46 + nameLength + Le<std::uint16_t>(zip, at + 30) + Le<std::uint16_t>(zip, at + 32);
    }
    throw std::runtime_error("no entry " + name);
}

// Makes an archive entry claim another uncompressed size, in its local and central headers.
void PatchDeclaredSize(std::string& zip, const std::string& name, std::uint32_t size)
{
    const size_t at = CentralEntry(zip, name);
    PutLe32(zip, at + 24, size);
    PutLe32(zip, Le<std::uint32_t>(zip, at + 42) + 22, size);
}

std::string Utf16Le(const std::string& ascii)
{
    std::string bytes = "\xFF\xFE";
    for (const char c : ascii) {
        bytes += c;
        bytes += '\0';
    }
    return bytes;
}

class XpsTest : public testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))); }
    static void TearDownTestSuite() { CoUninitialize(); }

    void SetUp() override
    {
        ASSERT_HR(S_OK, CoCreateInstance(CLSID_XpsOMObjectFactory, nullptr, CLSCTX_INPROC_SERVER,
                                         IID_IXpsOMObjectFactory, reinterpret_cast<void**>(factory_.GetAddressOf())));
        const auto* info = testing::UnitTest::GetInstance()->current_test_info();
        folderName_ = std::string(info->test_suite_name()) + "." + info->name();
        for (char& c : folderName_) {
            c = std::isalnum(static_cast<unsigned char>(c)) || c == '.' ? c : '_';
        }
        fs::create_directories(HostFolder());
    }

    fs::path HostFolder() const { return TestMachine::Get().Root() / "C" / "xps" / folderName_; }
    fs::path HostFile(const std::string& name) const { return HostFolder() / name; }
    std::wstring WindowsFile(const std::string& name) const
    {
        return L"C:\\xps\\" + std::wstring(folderName_.begin(), folderName_.end()) + L"\\" +
               std::wstring(name.begin(), name.end());
    }

    ComPtr<IXpsOMPackage> Open(const std::string& bytes)
    {
        ComPtr<IXpsOMPackage> package;
        EXPECT_HR(S_OK, factory_->CreatePackageFromStream(MemoryStream(bytes).Get(), TRUE, &package));
        return package;
    }
    ComPtr<IXpsOMPackage> OpenFile(const std::string& name)
    {
        ComPtr<IXpsOMPackage> package;
        EXPECT_HR(S_OK, factory_->CreatePackageFromFile(WindowsFile(name).c_str(), TRUE, &package));
        return package;
    }

    static ComPtr<IXpsOMDocumentSequence> Sequence(IXpsOMPackage* package)
    {
        ComPtr<IXpsOMDocumentSequence> sequence;
        EXPECT_HR(S_OK, package->GetDocumentSequence(&sequence));
        return sequence;
    }
    static ComPtr<IXpsOMPageReference> ReferenceAt(IXpsOMPackage* package, UINT32 documentIndex, UINT32 index)
    {
        ComPtr<IXpsOMDocumentCollection> documents;
        ComPtr<IXpsOMDocument> document;
        ComPtr<IXpsOMPageReferenceCollection> references;
        ComPtr<IXpsOMPageReference> reference;
        EXPECT_HR(S_OK, Sequence(package)->GetDocuments(&documents));
        EXPECT_HR(S_OK, documents->GetAt(documentIndex, &document));
        EXPECT_HR(S_OK, document->GetPageReferences(&references));
        EXPECT_HR(S_OK, references->GetAt(index, &reference));
        return reference;
    }
    static ComPtr<IXpsOMPage> PageAt(IXpsOMPackage* package, UINT32 document, UINT32 index)
    {
        ComPtr<IXpsOMPage> page;
        EXPECT_HR(S_OK, ReferenceAt(package, document, index)->GetPage(&page));
        return page;
    }
    static void Resize(IXpsOMPackage* package, UINT32 document, UINT32 index, XPS_SIZE size)
    {
        EXPECT_HR(S_OK, PageAt(package, document, index)->SetPageDimensions(&size));
    }

    // Every page of every document, loaded, as the page size correction walks them.
    static Pages Walk(IXpsOMPackage* package)
    {
        Pages walked;
        ComPtr<IXpsOMDocumentCollection> documents;
        UINT32 documentCount = 0;
        EXPECT_HR(S_OK, Sequence(package)->GetDocuments(&documents));
        EXPECT_HR(S_OK, documents->GetCount(&documentCount));
        for (UINT32 d = 0; d < documentCount; ++d) {
            ComPtr<IXpsOMDocument> document;
            ComPtr<IXpsOMPageReferenceCollection> references;
            UINT32 pageCount = 0;
            EXPECT_HR(S_OK, documents->GetAt(d, &document));
            EXPECT_HR(S_OK, document->GetPageReferences(&references));
            EXPECT_HR(S_OK, references->GetCount(&pageCount));
            walked.emplace_back();
            for (UINT32 p = 0; p < pageCount; ++p) {
                ComPtr<IXpsOMPageReference> reference;
                ComPtr<IXpsOMPage> page;
                PageInfo info{};
                EXPECT_HR(S_OK, references->GetAt(p, &reference));
                EXPECT_HR(S_OK, reference->GetAdvisoryPageDimensions(&info.advisory));
                EXPECT_HR(S_OK, reference->GetPage(&page));
                if (page) {
                    EXPECT_HR(S_OK, page->GetPageDimensions(&info.size));
                }
                walked.back().push_back(info);
            }
        }
        return walked;
    }

    static std::string TicketOf(IXpsOMDocumentSequence* sequence)
    {
        ComPtr<IXpsOMPrintTicketResource> ticket;
        ComPtr<IStream> stream;
        EXPECT_HR(S_OK, sequence->GetPrintTicketResource(&ticket));
        if (!ticket) {
            return "(none)";
        }
        EXPECT_HR(S_OK, ticket->GetStream(&stream));
        return stream ? StreamBytes(stream.Get()) : "";
    }

    ComPtr<IXpsOMObjectFactory> factory_;
    std::string folderName_;
};

// ---- reading

struct ReadCase {
    const char* name;
    XpsFlavor flavor;
    bool absolute;
    size_t interleave;
};

class XpsReadTest : public XpsTest, public testing::WithParamInterface<ReadCase> {};

TEST_P(XpsReadTest, GivesDocumentsPagesSizesAndTicket)
{
    XpsJobPlan plan = XpsJobPlan::Pages(2, 2);  // 816 x 1056 each
    plan.flavor = GetParam().flavor;
    plan.absoluteReferences = GetParam().absolute;
    plan.interleaveBytes = GetParam().interleave;
    plan.jobTicket = SampleTicket("job ticket");
    std::vector<XpsPagePlan>& first = plan.documents[0].pages;
    first[0].advisoryWidth = 816.f;
    first[0].advisoryHeight = 1056.f;
    std::swap(first[1].width, first[1].height);
    if (!plan.absoluteReferences) {  // relative references name their parts ignoring case and escapes
        first[0].name = "Pages/Page One.fpage";
        first[0].source = "pages/PAGE%20one.FPAGE";
        first[1].name = "Other/2.fpage";
        first[1].source = "./Pages/../Other/./2.fpage#frag";
    }
    XpsPagePlan& tall = plan.documents[1].pages[0];
    tall.width = 3456;
    tall.height = 12000;
    tall.advisoryWidth = 3456.f;
    plan.documents[1].pages.pop_back();

    auto parts = BuildXpsParts(plan);
    if (plan.interleaveBytes > 0) {  // the packaging parts and the ticket in pieces as well
        Interleave(parts, {"[Content_Types].xml", "_rels/.rels", kXpsJobTicketItem});
    }
    const auto package = Open(parts.Zip());
    EXPECT_EQ(Walk(package.Get()), (Pages{{{{816, 1056}, {816, 1056}}, {{1056, 816}, {-1, -1}}},
                                          {{{3456, 12000}, {3456, -1}}}}));
    EXPECT_EQ(TicketOf(Sequence(package.Get()).Get()), SampleTicket("job ticket"));
}

INSTANTIATE_TEST_SUITE_P(Packages, XpsReadTest,
                         testing::Values(ReadCase{"Xps", XpsFlavor::Xps, false, 0},
                                         ReadCase{"XpsAbsoluteInterleaved", XpsFlavor::Xps, true, 40},
                                         ReadCase{"OpenXps", XpsFlavor::OpenXps, false, 0},
                                         ReadCase{"OpenXpsAbsoluteInterleaved", XpsFlavor::OpenXps, true, 7}),
                         [](const testing::TestParamInfo<ReadCase>& info) { return std::string(info.param.name); });

TEST_F(XpsTest, CollectionsRefuseIndexesPastTheEnd)
{
    const auto package = Open(BuildXps(XpsJobPlan::Pages(1, 2)));
    ComPtr<IXpsOMDocumentCollection> documents;
    ComPtr<IXpsOMDocument> document;
    ComPtr<IXpsOMPageReferenceCollection> references;
    ComPtr<IXpsOMPageReference> reference;
    UINT32 count = 0;
    ASSERT_HR(S_OK, Sequence(package.Get())->GetDocuments(&documents));
    EXPECT_HR(XPS_E_INDEX_OUT_OF_RANGE, documents->GetAt(1, &document));
    EXPECT_HR(E_POINTER, documents->GetCount(nullptr));
    ASSERT_HR(S_OK, documents->GetAt(0, &document));
    ASSERT_HR(S_OK, document->GetPageReferences(&references));
    ASSERT_HR(S_OK, references->GetCount(&count));
    EXPECT_EQ(count, 2u);
    EXPECT_HR(XPS_E_INDEX_OUT_OF_RANGE, references->GetAt(2, &reference));
    EXPECT_EQ(reference.Get(), nullptr);
}

// ---- print tickets

TEST_F(XpsTest, TicketStreamsAreNewAndStartAtTheBeginning)
{
    XpsJobPlan plan = XpsJobPlan::Pages(1, 1);
    plan.jobTicket = SampleTicket("independent");
    const auto package = Open(BuildXps(plan));
    ComPtr<IXpsOMPrintTicketResource> ticket;
    ComPtr<IStream> first;
    ComPtr<IStream> second;
    ASSERT_HR(S_OK, Sequence(package.Get())->GetPrintTicketResource(&ticket));
    ASSERT_HR(S_OK, ticket->GetStream(&first));
    EXPECT_EQ(StreamBytes(first.Get()), SampleTicket("independent"));
    ASSERT_HR(S_OK, ticket->GetStream(&second));
    EXPECT_NE(first.Get(), second.Get());
    EXPECT_EQ(StreamBytes(second.Get()), SampleTicket("independent"));
    EXPECT_HR(E_POINTER, ticket->GetStream(nullptr));

    // A job without a ticket answers S_OK with no resource, which the ticket loader relies on.
    EXPECT_HR(S_OK, Sequence(Open(BuildXps(XpsJobPlan::Pages(1, 1))).Get())->GetPrintTicketResource(&ticket));
    EXPECT_EQ(ticket.Get(), nullptr);
}

// ---- reading only what is asked for

// A damaged page fails only when it is loaded, so the pages before it are still corrected.
TEST_F(XpsTest, PagesAreReadOnlyWhenAskedFor)
{
    auto parts = BuildXpsParts(XpsJobPlan::Pages(1, 2));
    parts.Get(XpsPageItem(0, 1)).data = "<FixedPage this is not markup";
    const auto package = Open(parts.Zip());
    ComPtr<IXpsOMPage> page;
    EXPECT_HR(S_OK, ReferenceAt(package.Get(), 0, 0)->GetPage(&page));
    page.Reset();
    EXPECT_HR(XPS_E_INVALID_MARKUP, ReferenceAt(package.Get(), 0, 1)->GetPage(&page));
    EXPECT_EQ(page.Get(), nullptr);
}

// The package holds the stream it was given, and what goes wrong reading it reaches the caller.
TEST_F(XpsTest, PackageKeepsTheStreamItWasGivenAndPassesOnItsReadFailures)
{
    ComPtr<IXpsOMPackage> package;
    FailingStream* const stream = new FailingStream(BuildXps(XpsJobPlan::Pages(1, 1, 600, 700)));
    {
        ComPtr<FailingStream> given;
        given.Attach(stream);
        ASSERT_HR(S_OK, factory_->CreatePackageFromStream(given.Get(), TRUE, &package));
    }
    stream->failReads = true;
    ComPtr<IXpsOMDocumentSequence> sequence;
    EXPECT_HR(kReadFault, package->GetDocumentSequence(&sequence));
    stream->failReads = false;
    EXPECT_EQ(Walk(package.Get()), (Pages{{{{600, 700}, {-1, -1}}}}));
}

// ---- damaged packages

enum class Step { Open, Sequence, Pages, Page, Ticket, TicketStream };

std::string PageWith(const std::string& attributes, const std::string& content = "")
{
    return "<FixedPage xmlns=\"http://schemas.microsoft.com/xps/2005/06\" " + attributes + ">" + content +
           "</FixedPage>";
}

std::string Nested(size_t depth)
{
    std::string content;
    for (size_t i = 0; i < 2 * depth; ++i) {
        content += i < depth ? "<Canvas>" : "</Canvas>";
    }
    return content;
}

struct DamageCase {
    const char* name;
    Step failingStep;
    HRESULT expected;
    std::function<void(ZipParts&)> damage;  // to a one-page job with a ticket
    std::function<void(XpsJobPlan&)> plan = [](XpsJobPlan&) {};
    std::function<void(std::string&)> zip = [](std::string&) {};  // to the archive's bytes
};

std::string DamagedJob(const DamageCase& damage)
{
    XpsJobPlan plan = XpsJobPlan::Pages(1, 1);
    plan.jobTicket = SampleTicket("damaged");
    damage.plan(plan);
    auto parts = BuildXpsParts(plan);
    damage.damage(parts);
    std::string job = parts.Zip();
    damage.zip(job);
    return job;
}

// A ZIP64 end record announcing ten million entries, and nothing else.
std::string MillionsOfEntries()
{
    std::string job(56, '\0');
    PutLe32(job, 0, 0x06064b50u);
    const std::uint64_t entries = 10'000'000;
    std::memcpy(&job[24], &entries, 8);
    std::memcpy(&job[32], &entries, 8);
    std::string locator(20, '\0');
    PutLe32(locator, 0, 0x07064b50u);
    std::string record(22, '\0');
    PutLe32(record, 0, 0x06054b50u);
    record[8] = record[9] = record[10] = record[11] = '\xFF';
    return job + locator + record;
}

void SetPage(ZipParts& parts, const std::string& data)
{
    parts.Get(XpsPageItem(0, 0)).data = data;
}

const DamageCase kDamageCases[] = {
    {"CentralDirectoryCut", Step::Open, OPC_E_ZIP_CORRUPTED_ARCHIVE, [](ZipParts&) {}, [](XpsJobPlan&) {},
     [](std::string& job) {
         const size_t record = EndOfCentralDirectory(job);
         job = job.substr(0, Le<std::uint32_t>(job, record + 16) + 10) + job.substr(record);
     }},
    {"ClaimingMillionsOfEntries", Step::Open, OPC_E_ZIP_CENTRAL_DIRECTORY_TOO_LARGE, [](ZipParts&) {},
     [](XpsJobPlan&) {}, [](std::string& job) { job = MillionsOfEntries(); }},
    {"ContentTypesMissing", Step::Sequence, OPC_E_MISSING_CONTENT_TYPES,
     [](ZipParts& p) { p.Remove("[Content_Types].xml"); }},
    {"PackageRelationshipsMissing", Step::Sequence, XPS_E_MISSING_DOCUMENTSEQUENCE_RELATIONSHIP,
     [](ZipParts& p) { p.Remove("_rels/.rels"); }},
    {"SequencePartMissing", Step::Sequence, OPC_E_NO_SUCH_PART, [](ZipParts& p) { p.Remove(kXpsSequenceItem); }},
    {"PageMissing", Step::Pages, XPS_E_MISSING_REFERRED_PAGE, [](ZipParts& p) { p.Remove(XpsPageItem(0, 0)); }},
    {"PageOutsideThePackage", Step::Pages, XPS_E_MISSING_REFERRED_PAGE, [](ZipParts&) {},
     [](XpsJobPlan& plan) { plan.documents[0].pages[0].source = "../../../../Pages/1.fpage"; }},
    {"PageMalformed", Step::Page, XPS_E_INVALID_MARKUP,
     [](ZipParts& p) { p.Get(XpsPageItem(0, 0)).data += "</FixedPage>"; }},
    {"PageWithADtd", Step::Page, XPS_E_INVALID_MARKUP,
     [](ZipParts& p) {
         SetPage(p, "<!DOCTYPE FixedPage [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;\">"
                    "<!ENTITY c \"&b;&b;&b;&b;&b;&b;&b;&b;\">]>" +
                        PageWith("Width=\"5\" Height=\"5\"", "<Glyphs UnicodeString=\"&c;\"/>"));
     }},
    {"PageWithAnExternalEntity", Step::Page, XPS_E_INVALID_MARKUP,
     [](ZipParts& p) {
         SetPage(p, "<!DOCTYPE FixedPage SYSTEM \"file:///etc/passwd\">" + PageWith("Width=\"5\" Height=\"5\""));
     }},
    {"PageNestedTooDeep", Step::Page, XPS_E_INVALID_MARKUP,
     [](ZipParts& p) { SetPage(p, PageWith("Width=\"5\" Height=\"5\"", Nested(100000))); }},
    {"PageDataDamaged", Step::Page, OPC_E_ZIP_DECOMPRESSION_FAILED,
     [](ZipParts& p) { p.Get(XpsPageItem(0, 0)).data += std::string(4000, ' '); }, [](XpsJobPlan&) {},
     [](std::string& job) {
         const std::string page = XpsPageItem(0, 0);
         const size_t at = job.find(page) + page.size() + 20;  // past the local header's name, into the data
         for (size_t i = 0; i < 40; ++i) {
             job[at + i] = static_cast<char>(job[at + i] ^ 0x5A);
         }
     }},
    {"ContentTypesPieceNumberedWithALeadingZero", Step::Sequence, OPC_E_MISSING_PIECE, [](ZipParts& p) {
         Interleave(p, {"[Content_Types].xml"});
         p.Get("[Content_Types].xml/[1].piece").name = "[Content_Types].xml/[01].piece";
     }},
    {"RelationshipsLastPieceMissing", Step::Sequence, OPC_E_MISSING_PIECE,
     [](ZipParts& p) { Interleave(p, {"_rels/.rels"}), p.Remove("_rels/.rels/[2].LAST.PIECE"); }},
    {"PagePieceAfterTheLast", Step::Page, OPC_E_INVALID_PIECE,
     [](ZipParts& p) { Interleave(p, {XpsPageItem(0, 0)}), p.Set(XpsPageItem(0, 0) + "/[3].piece", ""); }},
    {"PageWholeAndInPieces", Step::Open, OPC_E_DUPLICATE_PART,
     [](ZipParts& p) { Interleave(p, {XpsPageItem(0, 0)}), p.Set(XpsPageItem(0, 0), PageWith("")); }},
    {"TicketPieceDoubled", Step::TicketStream, OPC_E_DUPLICATE_PIECE,
     [](ZipParts& p) { Interleave(p, {kXpsJobTicketItem}), p.Set(kXpsJobTicketItem + "/[1].Piece", "x"); }},
    // A declared size past the limit is refused before inflating; one that deflate cannot produce
    // from the compressed bytes is refused as wrong; a bomb, a small entry that claims little and
    // inflates to far more, is stopped at what it claims.
    {"PageDeclaredPastTheLimit", Step::Page, kFileTooLarge, [](ZipParts&) {}, [](XpsJobPlan&) {},
     [](std::string& job) { PatchDeclaredSize(job, XpsPageItem(0, 0), 300u << 20); }},
    {"PageDeclaredLargerThanItsDataCanInflateTo", Step::Page, OPC_E_ZIP_INCORRECT_DATA_SIZE, [](ZipParts&) {},
     [](XpsJobPlan&) {},
     [](std::string& job) {
         const std::string page = XpsPageItem(0, 0);
         PatchDeclaredSize(job, page, Le<std::uint32_t>(job, CentralEntry(job, page) + 20) * 2000);
     }},
    {"PageInflatingPastItsDeclaredSize", Step::Page, OPC_E_ZIP_INCORRECT_DATA_SIZE, [](ZipParts&) {},
     [](XpsJobPlan& plan) { plan.documents[0].pages[0].content = std::string(8 << 20, ' '); },
     [](std::string& job) {
         EXPECT_LT(job.size(), 64u * 1024) << "a bomb";
         PatchDeclaredSize(job, XpsPageItem(0, 0), 16u * 1024);
     }},
};

class XpsDamageTest : public XpsTest, public testing::WithParamInterface<DamageCase> {};

// Every step before the failing one succeeds; the failing one reports the HRESULT.
TEST_P(XpsDamageTest, FailsAtTheCallThatNeedsTheDamagedPart)
{
    const DamageCase& damage = GetParam();
    HRESULT hr = S_OK;
    ComPtr<IXpsOMPackage> package;
    ComPtr<IXpsOMDocumentSequence> sequence;
    ComPtr<IXpsOMPageReferenceCollection> references;
    ComPtr<IXpsOMPage> page;
    ComPtr<IXpsOMPrintTicketResource> ticket;
    ComPtr<IStream> ticketStream;
    Step step = Step::Open;
    const auto run = [&](Step next, const std::function<HRESULT()>& call) {
        if (FAILED(hr)) {
            return;
        }
        step = next;
        hr = call();
    };
    run(Step::Open,
        [&] { return factory_->CreatePackageFromStream(MemoryStream(DamagedJob(damage)).Get(), TRUE, &package); });
    run(Step::Sequence, [&] { return package->GetDocumentSequence(&sequence); });
    run(Step::Pages, [&] {
        ComPtr<IXpsOMDocumentCollection> documents;
        ComPtr<IXpsOMDocument> document;
        EXPECT_HR(S_OK, sequence->GetDocuments(&documents));
        EXPECT_HR(S_OK, documents->GetAt(0, &document));
        return document->GetPageReferences(&references);
    });
    run(Step::Page, [&] {
        ComPtr<IXpsOMPageReference> reference;
        EXPECT_HR(S_OK, references->GetAt(0, &reference));
        return reference->GetPage(&page);
    });
    run(Step::Ticket, [&] { return sequence->GetPrintTicketResource(&ticket); });
    run(Step::TicketStream, [&] { return ticket->GetStream(&ticketStream); });

    EXPECT_EQ(static_cast<int>(step), static_cast<int>(damage.failingStep));
    EXPECT_HR(damage.expected, hr);
    EXPECT_EQ(package.Get() == nullptr, step == Step::Open) << "a refused package is not handed out";
}

INSTANTIATE_TEST_SUITE_P(Packages, XpsDamageTest, testing::ValuesIn(kDamageCases),
                         [](const testing::TestParamInfo<DamageCase>& info) { return std::string(info.param.name); });

// ---- changing pages

TEST_F(XpsTest, SetPageDimensionsRefusesSizesBelowOne)
{
    const auto page = PageAt(Open(BuildXps(XpsJobPlan::Pages(1, 1))).Get(), 0, 0);
    for (const XPS_SIZE& wrong : {XPS_SIZE{0.5f, 100}, XPS_SIZE{NAN, 100}, XPS_SIZE{100, INFINITY}}) {
        EXPECT_HR(XPS_E_INVALID_PAGE_SIZE, page->SetPageDimensions(&wrong)) << wrong;
    }
    EXPECT_HR(E_POINTER, page->SetPageDimensions(nullptr));
    EXPECT_HR(E_POINTER, page->GetPageDimensions(nullptr));
    XPS_SIZE size{};
    EXPECT_HR(S_OK, page->GetPageDimensions(&size));
    EXPECT_EQ(size, (XPS_SIZE{816, 1056}));
}

// ---- writing

class XpsWriteTest : public XpsTest {
protected:
    // Two documents; the first gives advisory sizes, the second does not.
    static XpsJobPlan Job()
    {
        XpsJobPlan plan = XpsJobPlan::Pages(2, 2, 3456, 12000);
        plan.jobTicket = SampleTicket("write");
        for (auto& page : plan.documents[0].pages) {
            page.advisoryWidth = page.width;
            page.advisoryHeight = page.height;
        }
        std::string photo(1 << 20, '\0');  // that does not compress
        std::mt19937 generator(3);
        std::generate(photo.begin(), photo.end(), [&] { return static_cast<char>(generator()); });
        plan.extraParts.push_back(XpsExtraPart{"Resources/Images/photo.jpg", photo, "image/jpeg", false});
        plan.extraParts.push_back(XpsExtraPart{"Resources/Fonts/font.odttf", std::string(100000, 'f'),
                                               "application/vnd.ms-package.obfuscated-opentype", true});
        return plan;
    }
};

// Only the resized pages and the documents that refer to them change; every other entry keeps
// its stored bytes.
TEST_F(XpsWriteTest, WrittenPackageHasTheNewPageSizesAndEveryOtherEntryAsStored)
{
    const std::string job = BuildXps(Job());
    const auto package = Open(job);
    const XPS_SIZE wide{20000.5f, 12000};
    const XPS_SIZE tall{3456, 18897.637f};
    Resize(package.Get(), 0, 1, wide);
    Resize(package.Get(), 1, 0, tall);
    ASSERT_HR(S_OK, package->WriteToFile(WindowsFile("out.xps").c_str(), nullptr, FILE_ATTRIBUTE_NORMAL, TRUE));

    EXPECT_EQ(Walk(OpenFile("out.xps").Get()), (Pages{{{{3456, 12000}, {3456, 12000}}, {wide, wide}},
                                                       {{tall, {-1, -1}}, {{3456, 12000}, {-1, -1}}}}));
    EXPECT_EQ(TicketOf(Sequence(OpenFile("out.xps").Get()).Get()), SampleTicket("write"));
    const auto before = ReadZip(job);
    const auto after = ReadZip(ReadFile(HostFile("out.xps")));
    ASSERT_EQ(before.size(), after.size());
    for (size_t i = 0; i < before.size(); ++i) {
        SCOPED_TRACE(before[i].name);
        ASSERT_EQ(before[i].name, after[i].name);
        if (before[i].name == XpsPageItem(0, 1)) {
            EXPECT_EQ(after[i].data, ReplaceAll(before[i].data, "Width=\"3456\"", "Width=\"20000.5\""));
        } else if (before[i].name == XpsDocumentItem(0)) {
            const std::string second = "Source=\"Pages/2.fpage\" Width=\"3456\"";
            EXPECT_EQ(after[i].data, ReplaceAll(before[i].data, second, "Source=\"Pages/2.fpage\" Width=\"20000.5\""));
        } else if (before[i].name != XpsPageItem(1, 0)) {  // its size is read back above
            EXPECT_TRUE(std::tie(before[i].method, before[i].crc, before[i].compressed) ==
                        std::tie(after[i].method, after[i].crc, after[i].compressed));
        }
    }
}

// As CreateFileW with CREATE_ALWAYS: a read-only file is not written over, nor the file the package
// reads, and a failed write leaves the package readable.
TEST_F(XpsWriteTest, WriteToFileRefusesWhatCreateFileRefuses)
{
    BuildXpsParts(Job()).WriteTo(HostFile("source.xps"));
    const auto package = OpenFile("source.xps");
    const std::wstring preview = WindowsFile("preview.xps");
    ASSERT_HR(S_OK, package->WriteToFile(preview.c_str(), nullptr, FILE_ATTRIBUTE_READONLY, TRUE));
    EXPECT_NE(GetFileAttributesW(preview.c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
    EXPECT_EQ(fs::status(HostFile("preview.xps")).permissions() & fs::perms::owner_write, fs::perms::none);
    fs::create_directories(HostFile("folder"));
    const std::pair<std::wstring, HRESULT> cases[] = {
        {preview, E_ACCESSDENIED},
        {WindowsFile("source.xps"), kSharingViolation},
        {WindowsFile("no such folder\\out.xps"), HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND)},
        {L"out.xps", HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND)},
        {WindowsFile("folder"), E_ACCESSDENIED},
    };
    for (const auto& [file, expected] : cases) {
        EXPECT_HR(expected, package->WriteToFile(file.c_str(), nullptr, 0, TRUE)) << platform::ToUtf8(file);
    }
    EXPECT_HR(E_POINTER, package->WriteToFile(nullptr, nullptr, 0, TRUE));
    EXPECT_FALSE(fs::exists(HostFolder() / "no such folder"));
    EXPECT_EQ(Walk(package.Get()).size(), 2u);
    EXPECT_EQ(Walk(OpenFile("preview.xps").Get()).size(), 2u);
}

TEST_F(XpsWriteTest, InterleavedPageIsWrittenWhole)
{
    XpsJobPlan plan = XpsJobPlan::Pages(1, 2);
    plan.interleaveBytes = 50;
    auto parts = BuildXpsParts(plan);
    Interleave(parts, {"[Content_Types].xml"});
    const auto package = Open(parts.Zip());
    Resize(package.Get(), 0, 0, XPS_SIZE{900, 1200});
    ASSERT_HR(S_OK, package->WriteToFile(WindowsFile("out.xps").c_str(), nullptr, 0, TRUE));

    std::string pieced;  // the rewritten page is stored whole; the other page and the content types keep their pieces
    for (const auto& item : ReadZip(ReadFile(HostFile("out.xps")))) {
        pieced += item.name.find("/[0]") != std::string::npos ? item.name.substr(0, item.name.find("/[")) + " " : "";
    }
    EXPECT_EQ(pieced, XpsPageItem(0, 1) + " [Content_Types].xml ");
    EXPECT_EQ(Walk(OpenFile("out.xps").Get()), (Pages{{{{900, 1200}, {-1, -1}}, {{816, 1056}, {-1, -1}}}}));
}

TEST_F(XpsWriteTest, Utf16PageKeepsItsEncoding)
{
    auto parts = BuildXpsParts(XpsJobPlan::Pages(1, 1));
    parts.Get(XpsPageItem(0, 0)).data = Utf16Le("<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n" +
                                                PageWith("Width=\"816\" Height=\"1056\"", "<Canvas/>"));
    const auto package = Open(parts.Zip());
    Resize(package.Get(), 0, 0, XPS_SIZE{1000.5f, 2000});
    ASSERT_HR(S_OK, package->WriteToFile(WindowsFile("out.xps").c_str(), nullptr, 0, TRUE));
    for (const auto& item : ReadZip(ReadFile(HostFile("out.xps")))) {
        if (item.name == XpsPageItem(0, 0)) {
            EXPECT_EQ(item.data, Utf16Le("<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n" +
                                         PageWith("Width=\"1000.5\" Height=\"2000\"", "<Canvas/>")));
        }
    }
    EXPECT_EQ(Walk(OpenFile("out.xps").Get())[0][0].size, (XPS_SIZE{1000.5f, 2000}));
}

}  // namespace
