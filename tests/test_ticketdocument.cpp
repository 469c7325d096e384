// Print ticket document access and the pick-one-option feature lists, read from tickets written
// as the driver's configuration and other producers write them.
#include <cstdint>
#include <functional>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <msxml6.h>
#include <objbase.h>
#include <platform/text.h>
#include <wrl/client.h>

#include "hrerror.h"
#include "mediatypetable.h"
#include "ptfeaturedescs.h"
#include "ptlist.h"
#include "ptnamespaces.h"
#include "ptqueries.h"
#include "testbstr.h"
#include "testmachine.h"
#include "tickettext.h"
#include "xpsbuilder.h"
#include "xmlhandler.h"

using Microsoft::WRL::ComPtr;
using testsupport::BareTicket;
using testsupport::Bstr;
using testsupport::Feature;
using testsupport::LogTail;
using testsupport::Option;
using testsupport::Parameter;
using testsupport::Scored;

namespace {

// ---- tickets

// One feature selecting its option, both under the prefix.
std::wstring Selecting(const std::wstring& prefix, const std::wstring& feature, const std::wstring& option)
{
    return BareTicket(Option(prefix + L":" + feature, option));
}

// The ticket with its prefixes bound under other names, as other producers write it; a prefix
// renamed to nothing is not declared at all.
std::wstring Reprefixed(std::wstring ticket, const std::vector<std::pair<std::wstring, std::wstring>>& names)
{
    for (const auto& [from, to] : names) {
        ticket = to.empty() ? std::regex_replace(ticket, std::wregex(L"\\s+xmlns:" + from + L"=\"[^\"]*\""), L"")
                            : std::regex_replace(ticket, std::wregex(L"\\b" + from + L"\\b"), to);
    }
    return ticket;
}

// The same settings as the driver's configuration writes them (psk for the keywords, ns0000 for
// the maker's own) and as another producer does: every namespace under another prefix, the
// keywords under ns0001 and the maker's namespace under ns0002.
const std::wstring kTicketWithCustomaryPrefixes =
    BareTicket(Option(L"psk:JobInputBin", L"Roll3") + Option(L"ns0000:JobPrintPreview", L"ON") +
               Feature(L"psk:PageMediaSize", L"psk:ISOA1", Scored(L"psk:MediaSizeWidth", L"594000")) +
               testsupport::Copies(3));
const std::wstring kTicketWithUnusualPrefixes =
    Reprefixed(kTicketWithCustomaryPrefixes,
               {{L"psf", L"f"}, {L"psk", L"ns0001"}, {L"ns0000", L"ns0002"}, {L"xsi", L"i"}, {L"xsd", L"s"}});

// No declaration of the maker's namespace at all, as a ticket from a generic application may come.
const std::wstring kTicketWithoutPrivateNamespace =
    Reprefixed(BareTicket(Feature(L"psk:PageMediaSize", L"psk:ISOA4",
                                  Scored(L"psk:MediaSizeWidth", L"210000") +
                                      Scored(L"psk:MediaSizeHeight", L"297000")) +
                          Parameter(L"psk:PageMediaSizeMediaSizeWidth", L"100", L"integer") +
                          Parameter(L"psk:PageMediaSizeMediaSizeHeight", L"200", L"integer")),
               {{L"psk", L"ns0001"}, {L"ns0000", L""}, {L"xsi", L"i"}, {L"xsd", L"s"}});

// The namespaces the handler is asked for.
const wchar_t* const kKeywords = PrintSchemaKeywordsNamespaceUri;
const wchar_t* const kPrivate = PrivateNamespaceUri;

const wchar_t kPrivateDeclaration[] = L" xmlns:ns0000=\"http://schemas.qx.com/lfp/ptpc/2006/1\"";

// ---- reading a list

// What a list reports: whether the ticket selects a known option, and the value.
using Reading = std::pair<bool, std::int64_t>;

using ListReader = Reading (*)(IXMLDOMDocument2*);

template <class T, const FeatureDesc<T>& desc>
Reading ReadList(IXMLDOMDocument2* document)
{
    GenericPTFeatureList<T, desc> list(document);
    T value{};
    const bool found = list.GetValue(&value);
    return Reading{found, static_cast<std::int64_t>(value)};
}

// ---- the driver log

// The records logged since the mark, each without its time and source line, for example
// "[ERR] [ptlist:PTList<enum EInputBin>::GetValue] - Option roll3 not found for feature JobInputBin".
std::vector<std::string> Records(const LogTail& log)
{
    std::vector<std::string> records;
    std::istringstream lines(log.Settled());
    std::string line;
    while (std::getline(lines, line)) {
        if (lines.eof()) {
            break;  // the start of the sentinel's own record
        }
        const std::size_t start = line.find('[');
        const std::size_t end = line.find("] - ");
        if (start == std::string::npos || end == std::string::npos) {
            ADD_FAILURE() << "not a log record: " << line;
            continue;
        }
        std::string site = line.substr(start, end - start);
        site.erase(site.rfind(':'));
        records.push_back(site + line.substr(end));
    }
    return records;
}

// A mark after everything logged so far has reached the file: the records of earlier reads are
// written by the log's own thread and must not show up after the mark.
LogTail SettledLog()
{
    LogTail().Settled();
    return LogTail();
}

std::string Utf8(const std::wstring& text) { return platform::ToUtf8(text); }

std::string NoMatchRecord(const std::wstring& query)
{
    return "[ERR] [xmlhandler:XMLHandler::GetComValue] - No match found for the query " + Utf8(query);
}

// The record of a list whose feature the ticket lacks.
std::string NotFoundRecord(const std::string& type, const std::string& feature)
{
    return "[INF] [ptlist:PTList<" + type + ">::GetValue] - Option for feature " + feature + " not found";
}

HRESULT ThrownBy(const std::function<void()>& action)
{
    try {
        action();
    } catch (const hr_error& error) {
        return error.hr;
    }
    return S_OK;
}

std::size_t Occurrences(const std::wstring& text, const std::wstring& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::wstring::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

class TicketTest : public testing::Test {
protected:
    void SetUp() override
    {
        testsupport::TestMachine::Get();
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
        ASSERT_EQ(CoCreateInstance(CLSID_DOMDocument60, nullptr, CLSCTX_ALL, IID_IXMLDOMDocument2,
                                   reinterpret_cast<void**>(doc_.GetAddressOf())),
                  S_OK);
    }
    void TearDown() override
    {
        doc_.Reset();
        CoUninitialize();
    }

    // Loads the ticket from a stream of its UTF-8 bytes, as the job's ticket is loaded.
    void Load(const std::wstring& ticket)
    {
        const ComPtr<IStream> stream = testsupport::MemoryStream(Utf8(ticket));
        VARIANT source;
        source.vt = VT_UNKNOWN;
        source.punkVal = stream.Get();
        VARIANT_BOOL loaded = VARIANT_FALSE;
        ASSERT_EQ(doc_->load(source, &loaded), S_OK);
        ASSERT_EQ(loaded, VARIANT_TRUE);
    }

    std::wstring Markup(IXMLDOMNode* node = nullptr)
    {
        Bstr xml;
        EXPECT_EQ((node != nullptr ? node : static_cast<IXMLDOMNode*>(doc_.Get()))->get_xml(xml.Out()), S_OK);
        return xml.Text();
    }

    template <class T, const FeatureDesc<T>& desc>
    Reading Read()
    {
        return ReadList<T, desc>(doc_.Get());
    }

    ComPtr<IXMLDOMDocument2> doc_;
};

// ---- finding keywords by namespace

class DocumentAccess : public TicketTest {};

TEST_F(DocumentAccess, KeywordsAreFoundWhateverPrefixesTheTicketBindsTheirNamespacesTo)
{
    // The unusual ticket first: no handler has yet set the document's selection namespaces.
    for (const std::wstring& ticket : {kTicketWithUnusualPrefixes, kTicketWithCustomaryPrefixes}) {
        SCOPED_TRACE(Utf8(ticket));
        Load(ticket);
        ComPtr<IXMLDOMNode> node;
        if (ticket == kTicketWithUnusualPrefixes) {
            EXPECT_EQ(doc_->selectSingleNode(Bstr(L"psf:PrintTicket"), &node), E_FAIL) << "psf is bound by no one yet";
        }
        EXPECT_EQ((Read<EInputBin, inputBinDesc>()), (Reading{true, 6}));
        EXPECT_EQ((Read<EOnOff, printPreviewDesc>()), (Reading{true, 1}));
        // The handler selects the framework's namespace as psf whatever the ticket calls it, and
        // borrows the document rather than holding it.
        const auto references = [&] {
            doc_->AddRef();
            return doc_->Release();
        };
        const ULONG borrowed = references();
        XMLHandler handler(doc_.Get());
        EXPECT_EQ(references(), borrowed);
        EXPECT_TRUE(handler.IsValuePresent(L"psf:PrintTicket/psf:Feature"));
        EXPECT_EQ(handler.GetIntValue(ParameterValueQuery(L"JobCopiesAllDocuments", kKeywords)), 3);
        EXPECT_EQ(handler.GetIntValue(ScoredPropertyValueQuery(L"PageMediaSize", kKeywords,
                                                               L"MediaSizeWidth", kKeywords)),
                  594000);
        EXPECT_TRUE(handler.IsValuePresent(OptionPresenceQuery(L"PageMediaSize", kKeywords, L"ISOA1")));
        EXPECT_FALSE(handler.IsValuePresent(OptionPresenceQuery(L"PageMediaSize", kKeywords, L"ISOA0")));
    }
}

TEST_F(DocumentAccess, AKeywordBoundToAnotherNamespaceIsNotFound)
{
    // psk:JobInputBin reads right, but here psk names the maker's namespace, and k the keywords.
    Load(Reprefixed(BareTicket(Option(L"ns0000:JobInputBin", L"Roll3") + Option(L"psk:JobPrintPreview", L"ON")),
                    {{L"psk", L"k"}, {L"ns0000", L"psk"}}));
    const LogTail log = SettledLog();
    EXPECT_EQ((Read<EInputBin, inputBinDesc>()), (Reading{false, 0}));
    EXPECT_EQ((Read<EOnOff, printPreviewDesc>()), (Reading{false, 0}));
    const std::vector<std::string> records = Records(log);
    ASSERT_EQ(records.size(), 4u);
    EXPECT_EQ(records[1], NotFoundRecord("enum EInputBin", "JobInputBin"));
    EXPECT_EQ(records[3], NotFoundRecord("enum EOnOff", "JobPrintPreview"));
}

TEST_F(DocumentAccess, AnOptionIsMatchedByTheTextAfterItsFirstColonOnly)
{
    const std::vector<std::pair<std::wstring, std::wstring>> cases{
        {L"psk:Roll3", L"Roll3"},
        {L"ns0000:Roll3", L"Roll3"},    // another prefix than its feature's
        {L"undeclared:Roll3", L"Roll3"},  // a prefix is only text in an attribute value
        {L"Roll3", L"Roll3"},           // no prefix: taken whole
        {L"a:b:Roll3", L"b:Roll3"},
        {L"psk:", L""},
    };
    for (const auto& [option, keyword] : cases) {
        SCOPED_TRACE(Utf8(option));
        Load(BareTicket(Feature(L"psk:JobInputBin", option)));
        XMLHandler handler(doc_.Get());
        wchar_t buffer[256] = L"stale";
        handler.GetOptionName(FeatureOptionQuery(L"JobInputBin", kKeywords), buffer, 256);
        EXPECT_EQ(std::wstring(buffer), keyword);
        EXPECT_EQ((Read<EInputBin, inputBinDesc>()), (Reading{keyword == L"Roll3", keyword == L"Roll3" ? 6 : 0}));
    }
}

TEST_F(DocumentAccess, AnOptionInAnotherCaseIsUnknownAndLoggedWithItsFeature)
{
    Load(Selecting(L"psk", L"JobInputBin", L"roll3"));
    const LogTail log = SettledLog();
    EXPECT_EQ((Read<EInputBin, inputBinDesc>()), (Reading{false, 0}));
    EXPECT_EQ(Records(log),
              std::vector<std::string>{
                  "[ERR] [ptlist:PTList<enum EInputBin>::GetValue] - Option roll3 not found for feature JobInputBin"});

    // On and off are written in capitals, but the gloss enhancer's off is "Off".
    Load(Selecting(L"ns0000", L"JobPrintPreview", L"On"));
    EXPECT_EQ((Read<EOnOff, printPreviewDesc>()), (Reading{false, 0}));
    Load(Selecting(L"ns0000", L"JobGlossEnhancer", L"OFF"));
    EXPECT_EQ((Read<EGlossEnhancer, glossEnhancerDesc>()), (Reading{false, -1}));
}

TEST_F(DocumentAccess, AnAbsentFeatureLogsTheWholeQueryThenTheFeature)
{
    Load(Selecting(L"psk", L"JobInputBin", L"Roll3"));
    // The option query as it must read, piece by piece.
    const auto optionQuery = [](const std::wstring& feature, const std::wstring& namespaceUri) {
        return L"psf:PrintTicket/psf:Feature[substring-after(@name,':')='" + feature + L"']" +
               L"[name(namespace::*[.='" + namespaceUri + L"'])=substring-before(@name,':')]/psf:Option/@name";
    };
    const std::wstring keywords = L"http://schemas.microsoft.com/windows/2003/08/printing/printschemakeywords";
    const std::wstring maker = L"http://schemas.qx.com/lfp/ptpc/2006/1";
    const struct {
        ListReader read;
        Reading expected;
        std::wstring query;
        std::string info;
    } cases[] = {
        {&ReadList<EOnOff, printPreviewDesc>, {false, 0}, optionQuery(L"JobPrintPreview", maker),
         NotFoundRecord("enum EOnOff", "JobPrintPreview")},
        {&ReadList<EAlignment, alignmentDesc>, {false, -1}, optionQuery(L"JobAlignment", maker),
         NotFoundRecord("enum EAlignment", "JobAlignment")},
        {&ReadList<unsigned int, resolutionDesc>, {false, 600}, optionQuery(L"PageResolution", keywords),
         NotFoundRecord("unsigned int", "PageResolution")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.info);
        const LogTail log = SettledLog();
        EXPECT_EQ(c.read(doc_.Get()), c.expected);
        EXPECT_EQ(Records(log), (std::vector<std::string>{NoMatchRecord(c.query), c.info}));
    }
}

TEST_F(DocumentAccess, OfTwoMatchingFeaturesTheFirstInDocumentOrderWins)
{
    Load(BareTicket(Option(L"psk:JobInputBin", L"Roll1") + Option(L"psk:JobInputBin", L"Roll2")));
    EXPECT_EQ((Read<EInputBin, inputBinDesc>()), (Reading{true, 4}));

    // A first feature of the same name in another namespace is no match at all.
    Load(BareTicket(Option(L"ns0000:JobInputBin", L"Roll1") + Option(L"psk:JobInputBin", L"Roll2")));
    EXPECT_EQ((Read<EInputBin, inputBinDesc>()), (Reading{true, 5}));

    // Removing takes out the first match only; the second then decides.
    Load(BareTicket(Option(L"psk:JobInputBin", L"Roll1") + Option(L"psk:JobInputBin", L"Roll2")));
    XMLHandler(doc_.Get()).RemoveFeature(L"JobInputBin", kKeywords);
    EXPECT_EQ((Read<EInputBin, inputBinDesc>()), (Reading{true, 5}));
}

TEST_F(DocumentAccess, ATextIsCopiedWholeWhenItFitsTheBufferAndOtherwiseNotAtAll)
{
    constexpr std::size_t kSize = 256;
    for (const std::size_t length : {std::size_t{0}, std::size_t{1}, kSize - 1, kSize, kSize + 100}) {
        SCOPED_TRACE(length);
        const std::wstring text(length, L'c');
        const std::wstring expected = length < kSize ? text : std::wstring();
        Load(BareTicket(Parameter(L"psk:JobComment", text) + Option(L"psk:JobInputBin", text)));
        XMLHandler handler(doc_.Get());
        // One character past the buffer shows that nothing is written beyond it.
        std::wstring buffer(kSize + 1, L'#');
        handler.GetStringValue(ParameterValueQuery(L"JobComment", kKeywords), buffer.data(), kSize);
        EXPECT_EQ(std::wstring(buffer.c_str()), expected);
        EXPECT_EQ(buffer[kSize], L'#');

        buffer.assign(kSize + 1, L'#');
        handler.GetOptionName(FeatureOptionQuery(L"JobInputBin", kKeywords), buffer.data(), kSize);
        EXPECT_EQ(std::wstring(buffer.c_str()), expected);
        EXPECT_EQ(buffer[kSize], L'#');
    }
}

TEST_F(DocumentAccess, AQueryThatSelectsNothingIsEPointerForValuesButAnAnswerForPresence)
{
    Load(kTicketWithCustomaryPrefixes);
    XMLHandler handler(doc_.Get());
    const std::wstring query = ParameterValueQuery(L"JobPin", kPrivate);
    wchar_t buffer[16] = L"stale";
    const std::vector<std::pair<const char*, std::function<void()>>> reads{
        {"GetComValue", [&] { handler.GetComValue(query); }},
        {"GetIntValue", [&] { handler.GetIntValue(query); }},
        {"GetStringValue", [&] { handler.GetStringValue(query, buffer, 16); }},
        {"GetOptionName", [&] { handler.GetOptionName(query, buffer, 16); }},
    };
    for (const auto& [what, read] : reads) {
        SCOPED_TRACE(what);
        const LogTail log = SettledLog();
        EXPECT_EQ(ThrownBy(read), E_POINTER);
        EXPECT_EQ(Records(log), std::vector<std::string>{NoMatchRecord(query)});
    }
    EXPECT_EQ(std::wstring(buffer), L"") << "the buffer is emptied before the read";

    const LogTail log = SettledLog();
    EXPECT_FALSE(handler.IsValuePresent(query));
    EXPECT_TRUE(Records(log).empty());
}

// The failure is the caller's, not that of the private helper a presence query selects through.
TEST_F(DocumentAccess, AFailingSelectionIsThrownWithItsHresultAndLoggedUnderTheCaller)
{
    Load(kTicketWithCustomaryPrefixes);
    XMLHandler handler(doc_.Get());
    const std::wstring malformed = L"psf:PrintTicket[";
    const std::vector<std::pair<std::string, std::function<void()>>> reads{
        {"GetComValue", [&] { handler.GetComValue(malformed); }},
        {"IsValuePresent", [&] { handler.IsValuePresent(malformed); }},
    };
    for (const auto& [caller, read] : reads) {
        const LogTail log = SettledLog();
        EXPECT_EQ(ThrownBy(read), E_FAIL);
        EXPECT_EQ(Records(log), std::vector<std::string>{"[ERR] [xmlhandler:XMLHandler::" + caller +
                                                         "] - Exception thrown because of failed hresult -2147467259"});
    }
}

TEST_F(DocumentAccess, NumbersAreReadFromTheirText)
{
    const std::vector<std::pair<std::wstring, std::int32_t>> cases{
        {L"3", 3}, {L"-12", -12}, {L"914400", 914400}, {L"2147483647", 2147483647}, {L"abc", 0}, {L"", 0},
    };
    for (const auto& [text, number] : cases) {
        SCOPED_TRACE(Utf8(text));
        Load(BareTicket(Parameter(L"psk:JobCopiesAllDocuments", text, L"integer")));
        EXPECT_EQ(XMLHandler(doc_.Get()).GetIntValue(ParameterValueQuery(L"JobCopiesAllDocuments", kKeywords)), number);
    }
}

// ---- namespace prefixes

class NamespacePrefixes : public TicketTest {};

TEST_F(NamespacePrefixes, ADeclaredNamespaceGivesTheTicketsPrefix)
{
    Load(kTicketWithUnusualPrefixes);
    const std::wstring before = Markup();
    XMLHandler handler(doc_.Get());
    EXPECT_EQ(handler.GetNamespacePrefixFromURI(kKeywords), L"ns0001");
    EXPECT_EQ(handler.GetNamespacePrefixFromURI(kPrivate), L"ns0002");
    EXPECT_EQ(handler.GetNamespacePrefixFromURI(PrintSchemaFrameworkNamespaceUri), L"f");
    EXPECT_EQ(handler.GetQualifiedName(L"JobInputBin", kKeywords), L"ns0001:JobInputBin");
    EXPECT_EQ(handler.GetQualifiedName(L"integer", XmlSchemaNamespaceUri), L"s:integer");
    EXPECT_EQ(handler.GetQualifiedName(L"name", nullptr), L"name");
    EXPECT_EQ(Markup(), before) << "asking changes nothing";
}

TEST_F(NamespacePrefixes, TheMakersNamespaceIsDeclaredOnceAsNs0000WhenTheTicketLacksIt)
{
    Load(kTicketWithoutPrivateNamespace);
    XMLHandler handler(doc_.Get());
    EXPECT_EQ(handler.GetNamespacePrefixFromURI(kPrivate), L"ns0000");
    const std::wstring declared = Markup();
    EXPECT_EQ(Occurrences(declared, kPrivateDeclaration), 1u);
    EXPECT_EQ(Occurrences(declared, L"xmlns:ns0000"), 1u);
    const std::wstring rootTag = declared.substr(0, declared.find(L'>', declared.find(L"<psf:PrintTicket")));
    EXPECT_NE(rootTag.find(kPrivateDeclaration), std::wstring::npos) << "on the document element:\n" << Utf8(declared);

    EXPECT_EQ(handler.GetQualifiedName(L"JobPin", kPrivate), L"ns0000:JobPin");
    EXPECT_EQ(Markup(), declared);
    // Another handler finds the declaration in the document.
    EXPECT_EQ(XMLHandler(doc_.Get()).GetNamespacePrefixFromURI(kPrivate), L"ns0000");
    EXPECT_EQ(Markup(), declared);
}

TEST_F(NamespacePrefixes, EachHandlerKeepsThePrefixesItFoundWithoutTouchingTheDocumentAgain)
{
    Load(kTicketWithCustomaryPrefixes);
    XMLHandler handler(doc_.Get());
    EXPECT_EQ(handler.GetNamespacePrefixFromURI(kKeywords), L"psk");
    // The same document object now holds a ticket that binds the keywords to ns0001.
    Load(kTicketWithUnusualPrefixes);
    EXPECT_EQ(handler.GetNamespacePrefixFromURI(kKeywords), L"psk");
    EXPECT_EQ(XMLHandler(doc_.Get()).GetNamespacePrefixFromURI(kKeywords), L"ns0001");

    Load(kTicketWithoutPrivateNamespace);
    XMLHandler declaring(doc_.Get());
    ASSERT_EQ(declaring.GetNamespacePrefixFromURI(kPrivate), L"ns0000");
    Load(kTicketWithoutPrivateNamespace);
    const std::wstring fresh = Markup();
    EXPECT_EQ(declaring.GetNamespacePrefixFromURI(kPrivate), L"ns0000");
    EXPECT_EQ(Markup(), fresh);
    EXPECT_EQ(fresh.find(L"xmlns:ns0000"), std::wstring::npos);
}

TEST_F(NamespacePrefixes, AnotherUndeclaredNamespaceGivesTheEmptyPrefixEveryTime)
{
    Load(kTicketWithCustomaryPrefixes);
    const std::string record =
        "[ERR] [xmlhandler:XMLHandler::GetNamespacePrefixFromURI] - nsNode is null. Namespace not available";
    XMLHandler handler(doc_.Get());
    const std::wstring before = Markup();
    const LogTail log = SettledLog();
    EXPECT_EQ(handler.GetNamespacePrefixFromURI(L"urn:other"), L"");
    EXPECT_EQ(handler.GetQualifiedName(L"thing", L"urn:other"), L":thing");
    EXPECT_EQ(Records(log), (std::vector<std::string>{record, record})) << "nothing is cached";
    EXPECT_EQ(Markup(), before);
}

// ---- editing

class TicketEditing : public TicketTest {
protected:
    static void Append(IXMLDOMElement* parent, IXMLDOMElement* child)
    {
        ComPtr<IXMLDOMNode> appended;
        ASSERT_EQ(parent->appendChild(child, &appended), S_OK);
    }
};

TEST_F(TicketEditing, ACreatedFeatureIsReadLikeOneTheTicketBroughtAlong)
{
    Load(kTicketWithoutPrivateNamespace);
    EXPECT_EQ((Read<EOnOff, printPreviewDesc>()), (Reading{false, 0}));

    XMLHandler handler(doc_.Get());
    const ComPtr<IXMLDOMElement> feature = handler.CreateFeature(L"JobPrintPreview", kPrivate);
    Append(feature.Get(), handler.CreateOption(L"ON", kPrivate).Get());
    handler.AppendToRoot(feature.Get());

    EXPECT_EQ(Markup(feature.Get()),
              L"<psf:Feature name=\"ns0000:JobPrintPreview\"><psf:Option name=\"ns0000:ON\"/></psf:Feature>");
    const std::wstring markup = Markup();
    EXPECT_EQ(Occurrences(markup, kPrivateDeclaration), 1u);
    EXPECT_NE(markup.find(L"</psf:ParameterInit><psf:Feature name=\"ns0000:JobPrintPreview\">"), std::wstring::npos)
        << "appended as the last child:\n" << Utf8(markup);
    EXPECT_EQ((Read<EOnOff, printPreviewDesc>()), (Reading{true, 1}));
}

TEST_F(TicketEditing, ACustomPageSizeIsWrittenWithTheTicketsOwnPrefixes)
{
    Load(kTicketWithoutPrivateNamespace);
    XMLHandler handler(doc_.Get());
    handler.RemoveParameterInit(L"PageMediaSizeMediaSizeWidth", kKeywords);
    handler.RemoveParameterInit(L"PageMediaSizeMediaSizeHeight", kKeywords);
    handler.RemoveFeature(L"PageMediaSize", kKeywords);
    EXPECT_EQ(Markup().find(L"ns0001:PageMediaSize"), std::wstring::npos) << Utf8(Markup());

    const ComPtr<IXMLDOMElement> feature = handler.CreateFeature(L"PageMediaSize", kKeywords);
    handler.AppendToRoot(feature.Get());
    const ComPtr<IXMLDOMElement> option = handler.CreateOption(L"CustomMediaSize", kKeywords);
    Append(feature.Get(), option.Get());
    const std::vector<std::pair<std::wstring, std::uint32_t>> sizes{{L"Width", 914400}, {L"Height", 4294967295u}};
    for (const auto& [dimension, value] : sizes) {
        const std::wstring parameterKeyword = L"PageMediaSizeMediaSize" + dimension;
        const ComPtr<IXMLDOMElement> property = handler.CreateScoredProperty(L"MediaSize" + dimension, kKeywords);
        Append(property.Get(), handler.CreateParameterRef(parameterKeyword, kKeywords).Get());
        Append(option.Get(), property.Get());
        const ComPtr<IXMLDOMElement> parameter = handler.CreateParameterInit(parameterKeyword, kKeywords);
        Append(parameter.Get(), handler.CreateIntegerValue(value).Get());
        handler.AppendToRoot(parameter.Get());
    }

    EXPECT_EQ(Markup(feature.Get()),
              L"<psf:Feature name=\"ns0001:PageMediaSize\"><psf:Option name=\"ns0001:CustomMediaSize\">"
              L"<psf:ScoredProperty name=\"ns0001:MediaSizeWidth\">"
              L"<psf:ParameterRef name=\"ns0001:PageMediaSizeMediaSizeWidth\"/></psf:ScoredProperty>"
              L"<psf:ScoredProperty name=\"ns0001:MediaSizeHeight\">"
              L"<psf:ParameterRef name=\"ns0001:PageMediaSizeMediaSizeHeight\"/></psf:ScoredProperty>"
              L"</psf:Option></psf:Feature>");
    const std::wstring markup = Markup();
    EXPECT_NE(markup.find(L"<psf:ParameterInit name=\"ns0001:PageMediaSizeMediaSizeWidth\">"
                          L"<psf:Value i:type=\"s:integer\">914400</psf:Value></psf:ParameterInit>"
                          L"<psf:ParameterInit name=\"ns0001:PageMediaSizeMediaSizeHeight\">"
                          L"<psf:Value i:type=\"s:integer\">4294967295</psf:Value></psf:ParameterInit>"
                          L"</psf:PrintTicket>"),
              std::wstring::npos)
        << Utf8(markup);
    EXPECT_EQ(Occurrences(markup, L"PageMediaSizeMediaSizeWidth"), 2u) << "the old parameter is gone";

    EXPECT_EQ(handler.GetIntValue(ParameterValueQuery(L"PageMediaSizeMediaSizeWidth", kKeywords)), 914400);
    // The scored properties refer to the parameters and hold no value of their own.
    const std::wstring width = ScoredPropertyValueQuery(L"PageMediaSize", kKeywords, L"MediaSizeWidth", kKeywords);
    EXPECT_EQ(ThrownBy([&] { handler.GetIntValue(width); }), E_POINTER);
    EXPECT_EQ((Read<EMediaSize, mediaSizeDesc>()), (Reading{false, 1})) << "CustomMediaSize is no named size";
}

TEST_F(TicketEditing, RemovingWhatIsAbsentChangesNothing)
{
    Load(kTicketWithCustomaryPrefixes);
    XMLHandler handler(doc_.Get());
    const std::wstring before = Markup();
    const LogTail log = SettledLog();
    // JobPrintPreview is there, but in the maker's namespace.
    handler.RemoveFeature(L"JobPrintPreview", kKeywords);
    handler.RemoveFeature(L"PageMediaType", kKeywords);
    handler.RemoveParameterInit(L"JobCopiesAllDocuments", kPrivate);
    handler.RemoveParameterInit(L"PageMediaSizeMediaSizeWidth", kKeywords);
    EXPECT_EQ(Markup(), before);
    EXPECT_TRUE(Records(log).empty());

    handler.RemoveParameterInit(L"JobCopiesAllDocuments", kKeywords);
    handler.RemoveFeature(L"JobPrintPreview", kPrivate);
    EXPECT_FALSE(handler.IsValuePresent(ParameterNodeQuery(L"JobCopiesAllDocuments", kKeywords)));
    EXPECT_EQ((Read<EOnOff, printPreviewDesc>()), (Reading{false, 0}));
    EXPECT_EQ((Read<EInputBin, inputBinDesc>()), (Reading{true, 6})) << "the other features stay";
}

// ---- the feature tables

// The prefix a feature is written under: the keywords' or the maker's.
enum Prefix { Psk, Ns0000 };
using Options = std::vector<std::pair<std::wstring, std::int64_t>>;

struct FeatureCase {
    std::wstring keyword;
    Prefix prefix;
    ListReader read;
    Options options;
    std::int64_t defaultValue;
};

const Options kOnOff{{L"ON", 1}, {L"OFF", 0}};

// Every described feature with its default and options as the driver's tickets use them: where the
// values run on from 0, the first and the last, which a keyword lost or added would shift; every
// option where they do not. The media catalogue is checked row by row below.
const std::vector<FeatureCase>& DescribedFeatures()
{
    static const std::vector<FeatureCase> features{
        {L"JobInputBin", Psk, &ReadList<EInputBin, inputBinDesc>,
         {{L"AutoSelect", 0}, {L"Roll3", 6}, {L"SheetFeeder", 10}}, 0},
        {L"PageOutputQuality", Psk, &ReadList<EQuality, qualityDesc>, {{L"Draft", 0}, {L"HighDetail", 5}}, 1},
        {L"JobEconomode", Ns0000, &ReadList<EOnOff, economodeDesc>, kOnOff, -1},
        {L"JobUnidirectional", Ns0000, &ReadList<EOnOff, unidirectionalDesc>, kOnOff, -1},
        {L"JobMaxDetail", Ns0000, &ReadList<EOnOff, maxDetailDesc>, kOnOff, 0},
        {L"JobMorePasses", Ns0000, &ReadList<EOnOff, morePassesDesc>, kOnOff, -1},
        {L"JobMarginsLayout", Ns0000, &ReadList<EMarginsLayout, marginsLayoutDesc>,
         {{L"Standard", 0}, {L"BorderlessAutomatic", 4}}, 0},
        {L"JobAlignment", Ns0000, &ReadList<EAlignment, alignmentDesc>,
         {{L"KeepLeft", 0}, {L"UsePrinterSettings", 3}}, -1},
        {L"PageOutputColor", Psk, &ReadList<EOutputColor, outputColorDesc>, {{L"Color", 0}, {L"Monochrome", 2}}, -1},
        {L"JobPrinterEmulation", Ns0000, &ReadList<EEmulatedPrinter, emulatedPrinterDesc>,
         {{L"None", 0}, {L"QXTerraline800", 8}}, -1},
        {L"PageRGBColorManagement", Ns0000, &ReadList<ERgbColorManagement, rgbColorMgmDesc>,
         {{L"None", 0}, {L"ColorMatchRGB", 4}}, -1},
        {L"PageCMYKColorManagement", Ns0000, &ReadList<ECmykColorManagement, cmykColorMgmDesc>,
         {{L"None", 0}, {L"WebCoatedSWOP2006Grade5", 20}}, 0},
        {L"JobEnableCropLines", Ns0000, &ReadList<EOnOff, cropLinesDesc>, kOnOff, -1},
        {L"DocumentCollate", Psk, &ReadList<ECollate, collateDesc>, {{L"Collated", 1}, {L"Uncollated", 0}}, 0},
        {L"JobPageOrder", Ns0000, &ReadList<EReverse, reverseDesc>, {{L"Standard", 0}, {L"LastPageOnTop", 3}}, 0},
        {L"JobOutputBin", Ns0000, &ReadList<EOutputBin, outputBinDesc>, {{L"Basket", 0}, {L"RearStacker", 6}}, -1},
        {L"PagePantoneEmulation", Ns0000, &ReadList<EOnOff, pantoneEmulationDesc>, kOnOff, -1},
        {L"JobHoldForAttendedMode", Ns0000, &ReadList<EOnOff, holdForAttendedDesc>, kOnOff, -1},
        {L"JobEnableVerticalCutter", Ns0000, &ReadList<EOnOff, verticalCutterDesc>, kOnOff, -1},
        {L"JobPrintPreview", Ns0000, &ReadList<EOnOff, printPreviewDesc>, kOnOff, 0},
        {L"JobRemoveBlankAreas", Ns0000, &ReadList<EOnOff, removeBlankAreasDesc>, kOnOff, 0},
        {L"JobStorage", Ns0000, &ReadList<EPrivacyLevel, jobStorageDesc>, {{L"Public", 0}, {L"Pin", 3}}, -1},
        {L"PageMirrorImage", Psk, &ReadList<EMirror, mirrorDesc>, {{L"None", 0}, {L"MirrorImageHeight", 2}}, 0},
        {L"JobFolderStyle", Ns0000, &ReadList<EFolderStyle, foldingStylesDesc>,
         {{L"UsePrinterDefault", 0}, {L"NotFolded", 5}, {L"DINA19020x297", 16}}, -1},
        {L"JobUserMargin", Ns0000, &ReadList<EUserMargin, userMarginDesc>, {{L"_0mm", 0}, {L"_5mm", 2}}, 2},
        {L"PageOrientation", Psk, &ReadList<EOrientation, orientationDesc>, {{L"Portrait", 0}, {L"Landscape", 1}}, 0},
        {L"JobRotate", Ns0000, &ReadList<ERotate, rotateDesc>,
         {{L"None", 0}, {L"Rotate0", 4}, {L"Rotate90", 1}, {L"Rotate180", 2}, {L"Rotate270", 3}}, 0},
        {L"PageAutorotate", Ns0000, &ReadList<EAutorotate, autorotateDesc>,
         {{L"None", 0}, {L"AUTOROTATEJISB1", 17}}, 0},
        {L"PageColorManagement", Psk, &ReadList<EColorManagement, ColorMgmDesc>, {{L"Driver", 1}, {L"None", 0}}, 1},
        {L"JobPrintQualitySettings", Ns0000, &ReadList<EPrintQualitySettings, printQualitySettingsDesc>,
         {{L"Custom", 1}, {L"Standard", 0}}, 0},
        {L"JobGlossEnhancer", Ns0000, &ReadList<EGlossEnhancer, glossEnhancerDesc>,
         {{L"Off", 1}, {L"Economode", 3}, {L"FullPage", 2}}, -1},
        {L"PageICMRenderingIntent", Psk, &ReadList<ERenderingIntent, renderingIntentDesc>,
         {{L"BusinessGraphics", 0}, {L"AbsoluteColorimetric", 3}}, 1},
        {L"JobFastRenderingMode", Ns0000, &ReadList<EOnOff, fastRenderingModeDesc>, kOnOff, -1},
        {L"JobSizePassTrough", Ns0000, &ReadList<EOnOff, sizePassTroughDesc>, kOnOff, 0},
        {L"JobStorageMesa", Ns0000, &ReadList<EOnOff, storageMesaDesc>, kOnOff, -1},
        {L"JobDeleteJobStorageMesa", Ns0000, &ReadList<EOnOff, deleteJobStorageMesaDesc>, kOnOff, -1},
        {L"JobEnableAutoCutter", Ns0000, &ReadList<EInternalCutter, cutterAutoDesc>,
         {{L"INVALID", 0}, {L"ON", 1}, {L"OFF", 2}}, 0},
        {L"JobEnableMultiPageCutter", Ns0000, &ReadList<EInternalCutter, cutterMultiPageDesc>,
         {{L"INVALID", 0}, {L"ON", 1}, {L"OFF", 3}}, 0},
        {L"PageResolution", Psk, &ReadList<unsigned int, resolutionDesc>,
         {{L"_75dpi", 75}, {L"_150dpi", 150}, {L"_300dpi", 300}, {L"_600dpi", 600}, {L"_1200dpi", 1200}}, 600},
        {L"PageMediaType", Psk, &ReadList<EMediaType, mediaTypeDesc>, {{L"CoatedPaper", 23}}, 1},
        // The named sizes run from 2.
        {L"PageMediaSize", Psk, &ReadList<EMediaSize, mediaSizeDesc>,
         {{L"NorthAmericaLetter", 2}, {L"ISOA1", 18}, {L"ISOC4", 58}}, 1},
    };
    return features;
}

class FeatureTables : public TicketTest {};

TEST_F(FeatureTables, EveryDescribedFeatureReadsItsOptionsAndItsDefault)
{
    ASSERT_EQ(DescribedFeatures().size(), 41u);
    for (const FeatureCase& feature : DescribedFeatures()) {
        SCOPED_TRACE(Utf8(feature.keyword));
        const std::wstring prefix = feature.prefix == Psk ? L"psk" : L"ns0000";
        for (const auto& [option, value] : feature.options) {
            SCOPED_TRACE(Utf8(option));
            Load(Selecting(prefix, feature.keyword, option));
            EXPECT_EQ(feature.read(doc_.Get()), (Reading{true, value}));
        }
        Load(BareTicket(L""));
        EXPECT_EQ(feature.read(doc_.Get()), (Reading{false, feature.defaultValue}));
        // In the other namespace the feature is not the described one.
        Load(Selecting(feature.prefix == Psk ? L"ns0000" : L"psk", feature.keyword, feature.options.front().first));
        EXPECT_EQ(feature.read(doc_.Get()), (Reading{false, feature.defaultValue}));
    }
}

// ---- the media catalogue

#define QX_TEST_MEDIA_KEYWORD(keyword, value) L"" #keyword,
const std::vector<std::wstring> kMediaKeywords{QX_MEDIA_TYPE_OPTIONS(QX_TEST_MEDIA_KEYWORD)};
#undef QX_TEST_MEDIA_KEYWORD

// Every identified keyword is a catalogue medium (an enumerator of 2 to 166), none twice.
#define QX_TEST_MEDIA_ID_VALUE(keyword, identifier) static_cast<int>(EMediaType::keyword),
constexpr int kIdentifiedMedia[] = {QX_MEDIA_IDS(QX_TEST_MEDIA_ID_VALUE)};
#undef QX_TEST_MEDIA_ID_VALUE

constexpr bool IdentifiedMediaAreDistinctCatalogueMedia()
{
    for (std::size_t row = 0; row < std::size(kIdentifiedMedia); ++row) {
        if (kIdentifiedMedia[row] < 2 || kIdentifiedMedia[row] > 166) {
            return false;
        }
        for (std::size_t other = 0; other < row; ++other) {
            if (kIdentifiedMedia[other] == kIdentifiedMedia[row]) {
                return false;
            }
        }
    }
    return true;
}

static_assert(std::size(kIdentifiedMedia) == 164);
static_assert(IdentifiedMediaAreDistinctCatalogueMedia());

class MediaCatalogue : public TicketTest {};

TEST_F(MediaCatalogue, EveryMediaKeywordReadsAsItsPosition)
{
    ASSERT_EQ(kMediaKeywords.size(), 167u);
    for (std::size_t position = 0; position < kMediaKeywords.size(); ++position) {
        SCOPED_TRACE(Utf8(kMediaKeywords[position]));
        Load(Selecting(L"psk", L"PageMediaType", kMediaKeywords[position]));
        EXPECT_EQ((Read<EMediaType, mediaTypeDesc>()), (Reading{true, static_cast<std::int64_t>(position)}));
    }
    Load(Selecting(L"psk", L"PageMediaType", L"PlainPaper283C90gsm29"));
    EXPECT_TRUE((Read<EMediaType, mediaTypeDesc>()).first) << "plain paper under 90 g/m2";
}

}  // namespace
