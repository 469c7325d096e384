#include "xps/markupreader.h"

#include <algorithm>
#include <memory>
#include <mutex>

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include "xps/xpsfailure.h"

namespace platform::xps {
namespace {

// libxml2's own limit for a tree; the reader keeps it without building one.
constexpr int kMaxDepth = 256;

struct ReadState {
    MarkupHandler* handler = nullptr;
    HRESULT markupError = S_OK;
    HRESULT failure = S_OK;
    int depth = 0;
};

xmlParserCtxtPtr ContextOf(void* ctx)
{
    return static_cast<xmlParserCtxtPtr>(ctx);
}
ReadState& StateOf(void* ctx)
{
    return *static_cast<ReadState*>(ContextOf(ctx)->_private);
}

void Stop(void* ctx, HRESULT failure)
{
    ReadState& state = StateOf(ctx);
    if (SUCCEEDED(state.failure)) {
        state.failure = failure;
    }
    xmlStopParser(ContextOf(ctx));
}

// Without entity substitution libxml2 hands "&amp;" and "&#38;" on as "&#38;" (so that a tree
// builder could tell them from text); every other reference arrives decoded.
std::string AttributeValue(const xmlChar* begin, const xmlChar* end)
{
    std::string value(reinterpret_cast<const char*>(begin), static_cast<size_t>(end - begin));
    size_t at = 0;
    while ((at = value.find("&#38;", at)) != std::string::npos) {
        value.replace(at, 5, "&");
        ++at;
    }
    return value;
}

std::string_view ViewOf(const xmlChar* text)
{
    return text == nullptr ? std::string_view() : std::string_view(reinterpret_cast<const char*>(text));
}

// Callbacks run inside libxml2: nothing may be thrown through it, so failures stop the parser and
// travel in the state.
void OnStartElement(void* ctx, const xmlChar* localName, const xmlChar*, const xmlChar* uri, int, const xmlChar**,
                    int attributeCount, int, const xmlChar** attributes)
{
    ReadState& state = StateOf(ctx);
    ++state.depth;
    if (FAILED(state.failure)) {
        return;
    }
    if (state.depth > kMaxDepth) {
        Stop(ctx, state.markupError);
        return;
    }
    HRESULT hr = S_OK;
    try {
        std::vector<MarkupAttribute> list;
        list.reserve(static_cast<size_t>(attributeCount));
        for (int i = 0; i < attributeCount; ++i) {
            const xmlChar** attribute = attributes + 5 * i;  // local name, prefix, URI, value, value end
            list.push_back(MarkupAttribute{ViewOf(attribute[2]), ViewOf(attribute[0]),
                                           AttributeValue(attribute[3], attribute[4])});
        }
        hr = state.handler->StartElement(state.depth - 1, ViewOf(uri), ViewOf(localName), list);
    } catch (const XpsFailure& failure) {
        hr = failure.hr;
    } catch (const std::bad_alloc&) {
        hr = E_OUTOFMEMORY;
    } catch (...) {
        hr = E_UNEXPECTED;
    }
    if (FAILED(hr)) {
        Stop(ctx, hr);
    }
}

void OnEndElement(void* ctx, const xmlChar*, const xmlChar*, const xmlChar*)
{
    --StateOf(ctx).depth;
}

// Neither XPS nor OPC markup may carry a document type declaration.
void OnInternalSubset(void* ctx, const xmlChar*, const xmlChar*, const xmlChar*)
{
    Stop(ctx, StateOf(ctx).markupError);
}

xmlParserInputPtr OnResolveEntity(void* ctx, const xmlChar*, const xmlChar*)
{
    Stop(ctx, StateOf(ctx).markupError);
    return nullptr;
}

void OnError(void* ctx, xmlErrorPtr error)
{
    if (error != nullptr && error->level >= XML_ERR_ERROR) {
        Stop(ctx, StateOf(ctx).markupError);
    }
}

struct ContextDeleter {
    void operator()(xmlParserCtxtPtr context) const
    {
        if (context->myDoc != nullptr) {
            xmlFreeDoc(context->myDoc);
        }
        xmlFreeParserCtxt(context);
    }
};

}  // namespace

void ReadMarkup(const MarkupSource& source, MarkupHandler& handler, HRESULT markupError)
{
    static std::once_flag initialised;
    std::call_once(initialised, [] { xmlInitParser(); });

    xmlSAXHandler sax{};
    sax.initialized = XML_SAX2_MAGIC;
    sax.startElementNs = OnStartElement;
    sax.endElementNs = OnEndElement;
    sax.internalSubset = OnInternalSubset;
    sax.resolveEntity = OnResolveEntity;
    sax.serror = OnError;

    ReadState state;
    state.handler = &handler;
    state.markupError = markupError;

    std::vector<char> buffer(64 * 1024);
    size_t count = source(buffer.data(), buffer.size());
    // libxml2 tells the encoding from the first bytes it is given.
    std::unique_ptr<xmlParserCtxt, ContextDeleter> context(
        xmlCreatePushParserCtxt(&sax, nullptr, buffer.data(), static_cast<int>(std::min<size_t>(count, 4)), nullptr));
    if (!context) {
        Fail(E_OUTOFMEMORY);
    }
    context->_private = &state;
    xmlCtxtUseOptions(context.get(), XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    size_t offset = std::min<size_t>(count, 4);
    while (count > 0 && SUCCEEDED(state.failure)) {
        if (count > offset) {
            xmlParseChunk(context.get(), buffer.data() + offset, static_cast<int>(count - offset), 0);
        }
        if (FAILED(state.failure) || context->disableSAX != 0) {
            break;
        }
        offset = 0;
        count = source(buffer.data(), buffer.size());
    }
    if (SUCCEEDED(state.failure) && context->disableSAX == 0) {
        xmlParseChunk(context.get(), nullptr, 0, 1);
    }
    if (FAILED(state.failure)) {
        Fail(state.failure);
    }
    if (context->wellFormed == 0 || context->disableSAX != 0) {
        Fail(markupError);
    }
}

const std::string* FindAttribute(const std::vector<MarkupAttribute>& attributes, std::string_view localName)
{
    for (const auto& attribute : attributes) {
        if (attribute.uri.empty() && attribute.localName == localName) {
            return &attribute.value;
        }
    }
    return nullptr;
}

}  // namespace platform::xps
