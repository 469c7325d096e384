// The spooler's bidi object (CLSID_BidiSpl, IBidiSpl2): a printer of the simulated machine answers
// bidi Get requests from the values its description declares.
#include <bidispl.h>

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "bidipapersources.h"
#include "builtinclasses.h"
#include "msxml/domparser.h"
#include "msxml/domtext.h"
#include "platform/comobject.h"
#include "platform/simulatedmachine.h"
#include "platform/systemapi.h"
#include "platform/text.h"
#include "simulatedmachinestate.h"

namespace platform {
namespace {

constexpr const char* kBidiNamespace = "http://schemas.microsoft.com/windows/2005/03/printing/bidi";

struct BidiAnswer {
    std::wstring schema;
    BidiValue value;
};

// Everything the printer would answer now: its declared values, with the paper source answer it
// gives to this request in place of declared values of the same name.
std::map<std::wstring, BidiValue> ValuesOf(const BidiPrinterState& asked)
{
    std::map<std::wstring, BidiValue> values = asked.printer.bidiValues;
    if (asked.paperSources) {
        for (auto& [schema, value] : PaperSourceBidiValues(*asked.paperSources)) {
            values[schema] = std::move(value);
        }
    }
    return values;
}

// What the printer answers to one query: every value under the query's schema name. The one place
// where a printer's answers are chosen.
std::vector<BidiAnswer> AnswersTo(const std::map<std::wstring, BidiValue>& values, const std::wstring& query)
{
    std::vector<BidiAnswer> answers;
    for (const auto& [schema, value] : values) {
        if (SchemaCovers(query, schema)) {
            answers.push_back({schema, value});
        }
    }
    return answers;
}

const wchar_t* ValueElementName(const std::wstring& type)
{
    static const wchar_t* const kTypes[] = {L"BIDI_INT",  L"BIDI_STRING", L"BIDI_BOOL", L"BIDI_ENUM",
                                            L"BIDI_TEXT", L"BIDI_FLOAT",  L"BIDI_BLOB"};
    for (const wchar_t* known : kTypes) {
        if (type == known) {
            return known;
        }
    }
    return L"BIDI_STRING";  // a description without a known type answers text
}

std::wstring Escaped(const std::wstring& text, bool inAttribute)
{
    std::wstring escaped;
    for (wchar_t c : text) {
        switch (c) {
        case L'&': escaped += L"&amp;"; break;
        case L'<': escaped += L"&lt;"; break;
        case L'>': escaped += L"&gt;"; break;
        case L'\'': escaped += inAttribute ? L"&apos;" : L"'"; break;
        case L'"': escaped += inAttribute ? L"&quot;" : L"\""; break;
        case L'\r': escaped += L"&#xD;"; break;
        case L'\n': escaped += inAttribute ? L"&#xA;" : L"\n"; break;
        case L'\t': escaped += inAttribute ? L"&#x9;" : L"\t"; break;
        default: escaped += c; break;
        }
    }
    return escaped;
}

enum class RequestKind { Get, Set };

struct BidiRequest {
    RequestKind kind = RequestKind::Get;
    std::vector<std::wstring> querySchemas;
};

bool HasBidiNamespace(xmlNodePtr node)
{
    return node->ns != nullptr && xmlStrEqual(node->ns->href, reinterpret_cast<const xmlChar*>(kBidiNamespace));
}

// A bidi request document: <bidi:Get> (or <bidi:Set>) holding Query elements with a schema
// attribute. Nothing for anything else.
std::optional<BidiRequest> ParseRequest(const std::wstring& text)
{
    msxml::DocumentSettings settings;  // DTDs refused, whitespace-only text dropped
    settings.maxElementDepth = 8;
    const std::string utf8 = ToUtf8(text);
    const msxml::ParseResult parsed =
        msxml::ParseDocument(utf8.data(), utf8.size(), msxml::SourceEncoding::Utf8, settings);
    if (parsed.doc == nullptr) {
        return std::nullopt;
    }
    std::unique_ptr<xmlDoc, void (*)(xmlDocPtr)> doc(parsed.doc, xmlFreeDoc);
    xmlNodePtr root = xmlDocGetRootElement(doc.get());
    if (root == nullptr || !HasBidiNamespace(root)) {
        return std::nullopt;
    }
    BidiRequest request;
    if (xmlStrEqual(root->name, reinterpret_cast<const xmlChar*>("Get"))) {
        request.kind = RequestKind::Get;
    } else if (xmlStrEqual(root->name, reinterpret_cast<const xmlChar*>("Set"))) {
        request.kind = RequestKind::Set;
    } else {
        return std::nullopt;
    }
    for (xmlNodePtr child = root->children; child != nullptr; child = child->next) {
        if (child->type == XML_COMMENT_NODE) {
            continue;
        }
        if (child->type != XML_ELEMENT_NODE || child->ns != nullptr ||
            !xmlStrEqual(child->name, reinterpret_cast<const xmlChar*>("Query"))) {
            return std::nullopt;
        }
        const std::string schema =
            msxml::TakeXmlString(xmlGetNoNsProp(child, reinterpret_cast<const xmlChar*>("schema")));
        if (schema.empty()) {
            return std::nullopt;
        }
        request.querySchemas.push_back(FromUtf8(schema));
    }
    return request;
}

bool RequestAsksForPaperSources(const BidiRequest& request)
{
    return std::any_of(request.querySchemas.begin(), request.querySchemas.end(),
                       [](const std::wstring& query) { return AsksForPaperSources(query); });
}

std::wstring Response(const BidiPrinterState& asked, const BidiRequest& request)
{
    const std::map<std::wstring, BidiValue> values = ValuesOf(asked);
    std::wstring response = L"<bidi:Get xmlns:bidi=\"" + FromUtf8(kBidiNamespace) + L"\">";
    for (const std::wstring& query : request.querySchemas) {
        const std::vector<BidiAnswer> answers = AnswersTo(values, query);
        response += L"<Query schema='" + Escaped(query, true) + L"'";
        if (answers.empty()) {
            response += L"/>";  // the printer does not support the schema
            continue;
        }
        response += L">";
        for (const BidiAnswer& answer : answers) {
            const std::wstring element = ValueElementName(answer.value.type);
            response += L"<Schema name='" + Escaped(answer.schema, true) + L"'><" + element + L">" +
                        Escaped(answer.value.text, false) + L"</" + element + L"></Schema>";
        }
        response += L"</Query>";
    }
    response += L"</bidi:Get>";
    return response;
}

class BidiSpl final : public ComObject<BidiSpl, IBidiSpl2> {
public:
    HRESULT BindDevice(const wchar_t* deviceName, DWORD access) override
    {
        if (const HRESULT refused = ComMethodRefusal(); FAILED(refused)) {
            return refused;
        }
        if (access != BIDI_ACCESS_USER && access != BIDI_ACCESS_ADMINISTRATOR) {
            return E_INVALIDARG;
        }
        if (deviceName == nullptr) {
            return HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED);  // the print server itself speaks no bidi
        }
        try {
            const std::optional<PrinterDescription> printer = SimulatedMachine::FindPrinter(deviceName);
            if (!printer) {
                return HRESULT_FROM_WIN32(ERROR_INVALID_PRINTER_NAME);
            }
            if (!printer->bidiReachable) {
                return HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED);
            }
            std::lock_guard<std::mutex> lock(mutex_);
            boundPrinter_ = printer->name;  // binding again rebinds
            return S_OK;
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        } catch (...) {
            return E_FAIL;
        }
    }

    HRESULT UnbindDevice() override
    {
        if (const HRESULT refused = ComMethodRefusal(); FAILED(refused)) {
            return refused;
        }
        std::lock_guard<std::mutex> lock(mutex_);
        if (!boundPrinter_) {
            return E_HANDLE;
        }
        boundPrinter_.reset();
        return S_OK;
    }

    HRESULT SendRecvXMLString(BSTR request, BSTR* response) override
    {
        if (const HRESULT refused = ComMethodRefusal(); FAILED(refused)) {
            return refused;
        }
        if (response == nullptr) {
            return E_POINTER;
        }
        *response = nullptr;
        try {
            std::optional<std::wstring> bound;
            {
                std::lock_guard<std::mutex> lock(mutex_);
                bound = boundPrinter_;
            }
            if (!bound) {
                return E_HANDLE;
            }
            if (request == nullptr) {
                return E_INVALIDARG;
            }
            const std::optional<BidiRequest> parsed = ParseRequest(request);
            if (!parsed) {
                return E_INVALIDARG;
            }
            if (parsed->kind == RequestKind::Set) {
                return E_NOTIMPL;  // the simulated printers only answer
            }
            // The printer is asked now, so a change to the machine since binding is seen; a request
            // that asks for paper sources takes the printer's next paper source answer.
            const std::optional<BidiPrinterState> asked = AskPrinterOverBidi(*bound, RequestAsksForPaperSources(*parsed));
            if (!asked) {
                return HRESULT_FROM_WIN32(ERROR_PRINTER_DELETED);
            }
            if (!asked->printer.bidiReachable) {
                return HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED);
            }
            const std::wstring text = Response(*asked, *parsed);
            *response = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
            return *response == nullptr ? E_OUTOFMEMORY : S_OK;
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        } catch (...) {
            return E_FAIL;
        }
    }

private:
    std::mutex mutex_;  // one object may be asked from several threads in turn
    std::optional<std::wstring> boundPrinter_;
};

}  // namespace

IUnknown* NewBidiSpl() { return static_cast<IBidiSpl2*>(new (std::nothrow) BidiSpl); }

}  // namespace platform
