#include "domparser.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/SAX2.h>

#include "domtext.h"
#include "quietlibxmlerrors.h"

namespace platform::msxml {
namespace {

struct ParseState {
    const DocumentSettings* settings = nullptr;
    long depth = 0;
    bool refused = false;  // stopped by one of our own limits
    bool failed = false;
    ParseFailure failure;
    std::size_t expandedBytes = 0;  // what the entity references met so far expand to
    std::unordered_map<xmlEntityPtr, std::size_t> expansions;
};

xmlParserCtxtPtr ContextOf(void* ctx) { return static_cast<xmlParserCtxtPtr>(ctx); }
ParseState& StateOf(void* ctx) { return *static_cast<ParseState*>(ContextOf(ctx)->_private); }

// Only the first error is reported, as MSXML's parseError does.
void Fail(void* ctx, const std::wstring& reason, long line, long column)
{
    ParseState& state = StateOf(ctx);
    if (state.failed) {
        return;
    }
    state.failed = true;
    state.failure.reason = reason;
    state.failure.line = line;
    state.failure.linePosition = column;
    state.failure.filePosition = xmlByteConsumed(ContextOf(ctx));
}

void Refuse(void* ctx, const std::wstring& reason)
{
    xmlParserCtxtPtr parser = ContextOf(ctx);
    const long line = parser->input != nullptr ? parser->input->line : 0;
    const long column = parser->input != nullptr ? parser->input->col : 0;
    Fail(ctx, reason, line, column);
    StateOf(ctx).refused = true;
    xmlStopParser(parser);
}

void OnError(void* ctx, xmlErrorPtr error)
{
    if (error == nullptr || error->level < XML_ERR_ERROR) {
        return;
    }
    // A namespace name is any string to MSXML: xmlns:p=" http://..." (blank first) loads, and
    // binds p to that string as written.
    if (error->domain == XML_FROM_NAMESPACE && (error->code == XML_WAR_NS_URI || error->code == XML_WAR_NS_URI_RELATIVE)) {
        return;
    }
    std::wstring reason = WideOf(reinterpret_cast<const xmlChar*>(error->message));
    while (!reason.empty() && (reason.back() == L'\n' || reason.back() == L'\r')) {
        reason.pop_back();
    }
    Fail(ctx, reason, error->line, error->int2);
}

// MSXML 6 refuses a document type declaration unless ProhibitDTD is off; even then only the
// internal subset is read.
void OnInternalSubset(void* ctx, const xmlChar* name, const xmlChar* externalId, const xmlChar* systemId)
{
    if (StateOf(ctx).settings->prohibitDtd) {
        Refuse(ctx, L"DTD is prohibited.");
        return;
    }
    xmlSAX2InternalSubset(ctx, name, externalId, systemId);
}

void OnExternalSubset(void*, const xmlChar*, const xmlChar*, const xmlChar*) {}

// Nothing outside the document is ever read: no external subset, no external entity.
xmlParserInputPtr OnResolveEntity(void*, const xmlChar*, const xmlChar*) { return nullptr; }

// What an entity expands to, its references included; kMaxDocumentBytes + 1 stands for "more than
// a document may have", which a reference loop also gives.
std::size_t ExpandedSize(ParseState& state, xmlDocPtr doc, xmlEntityPtr entity)
{
    constexpr std::size_t kTooLarge = kMaxDocumentBytes + 1;
    if (const auto known = state.expansions.find(entity); known != state.expansions.end()) {
        return known->second;
    }
    state.expansions[entity] = kTooLarge;
    std::size_t size = 0;
    const char* text = entity->content == nullptr ? "" : reinterpret_cast<const char*>(entity->content);
    for (const char* c = text; *c != '\0' && size < kTooLarge; ++c) {
        const char* end = c[0] == '&' && c[1] != '#' ? std::strchr(c, ';') : nullptr;
        if (end == nullptr) {
            ++size;
            continue;
        }
        const std::string name(c + 1, end);
        xmlEntityPtr inner = xmlGetDocEntity(doc, Xml(name));
        size += inner == nullptr ? 0 : std::min(ExpandedSize(state, doc, inner), kTooLarge);
        c = end;
    }
    return state.expansions[entity] = std::min(size, kTooLarge);
}

// Entities stay references in the tree, but reading a node's text expands them, and attribute
// values hold them expanded. With XML_PARSE_HUGE libxml2 no longer bounds that, so the expansions
// a document asks for are bounded here: together, no more than a document may have.
xmlEntityPtr OnGetEntity(void* ctx, const xmlChar* name)
{
    ParseState& state = StateOf(ctx);
    if (state.refused) {
        return nullptr;
    }
    xmlEntityPtr entity = xmlSAX2GetEntity(ctx, name);
    if (entity != nullptr && entity->etype != XML_INTERNAL_PREDEFINED_ENTITY) {
        state.expandedBytes += ExpandedSize(state, ContextOf(ctx)->myDoc, entity);
        if (state.expandedBytes > kMaxDocumentBytes) {
            Refuse(ctx, L"Entities expand beyond the size of a document.");
            return nullptr;
        }
    }
    return entity;
}

void OnStartElement(void* ctx, const xmlChar* localName, const xmlChar* prefix, const xmlChar* uri,
                    int namespaceCount, const xmlChar** namespaces, int attributeCount, int defaultedCount,
                    const xmlChar** attributes)
{
    ParseState& state = StateOf(ctx);
    ++state.depth;
    if (state.settings->maxElementDepth > 0 && state.depth > state.settings->maxElementDepth) {
        Refuse(ctx, L"Element nesting exceeds the maximum depth of " + std::to_wstring(state.settings->maxElementDepth) + L".");
        return;
    }
    xmlSAX2StartElementNs(ctx, localName, prefix, uri, namespaceCount, namespaces, attributeCount, defaultedCount,
                          attributes);
}

void OnEndElement(void* ctx, const xmlChar* localName, const xmlChar* prefix, const xmlChar* uri)
{
    --StateOf(ctx).depth;
    xmlSAX2EndElementNs(ctx, localName, prefix, uri);
}

// Without preserveWhiteSpace MSXML drops text that is only whitespace, except where xml:space
// asks to keep it.
void DropWhitespaceText(xmlDocPtr doc)
{
    std::vector<xmlNodePtr> blanks;
    xmlNodePtr node = doc->children;
    while (node != nullptr) {
        if (node->type == XML_TEXT_NODE && xmlIsBlankNode(node) && xmlNodeGetSpacePreserve(node->parent) != 1) {
            blanks.push_back(node);
        }
        if (node->type == XML_ELEMENT_NODE && node->children != nullptr) {
            node = node->children;
            continue;
        }
        while (node != nullptr && node->next == nullptr) {
            node = node->parent;
            if (node == reinterpret_cast<xmlNodePtr>(doc)) {
                node = nullptr;
            }
        }
        if (node != nullptr) {
            node = node->next;
        }
    }
    for (xmlNodePtr blank : blanks) {
        xmlUnlinkNode(blank);
        xmlFreeNode(blank);
    }
}

struct ParserContextDeleter {
    void operator()(xmlParserCtxtPtr context) const { xmlFreeParserCtxt(context); }
};

}  // namespace

void InitializeLibxml()
{
    static std::once_flag initialised;
    std::call_once(initialised, [] { xmlInitParser(); });
}

ParseResult ParseDocument(const char* bytes, std::size_t size, SourceEncoding encoding, const DocumentSettings& settings)
{
    InitializeLibxml();
    QuietLibxmlErrors quiet;  // errors are collected through the parser's own handler

    ParseResult result;
    if (size > kMaxDocumentBytes || size > static_cast<std::size_t>(INT_MAX)) {
        result.failure.reason = L"The document is too large.";
        return result;
    }
    static const char empty = '\0';
    std::unique_ptr<xmlParserCtxt, ParserContextDeleter> parser(
        xmlCreateMemoryParserCtxt(size == 0 ? &empty : bytes, static_cast<int>(size)));
    if (!parser) {
        result.failure.reason = L"Out of memory.";
        return result;
    }
    ParseState state;
    state.settings = &settings;
    parser->_private = &state;
    xmlSAXHandler* sax = parser->sax;
    sax->serror = OnError;
    sax->internalSubset = OnInternalSubset;
    sax->externalSubset = OnExternalSubset;
    sax->resolveEntity = OnResolveEntity;
    sax->getEntity = OnGetEntity;
    sax->startElementNs = OnStartElement;
    sax->endElementNs = OnEndElement;

    // No XML_PARSE_NOENT (entities stay references), no DTD loading or validation, no network.
    // XML_PARSE_HUGE, because MSXML 6 bounds neither text nor the document (MaxXMLSize 0); depth
    // stays bounded by MaxElementDepth.
    int options = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE;
    if (encoding == SourceEncoding::Utf8) {
        options |= XML_PARSE_IGNORE_ENC;
        xmlSwitchEncoding(parser.get(), XML_CHAR_ENCODING_UTF8);
    }
    xmlCtxtUseOptions(parser.get(), options);

    xmlParseDocument(parser.get());
    xmlDocPtr doc = parser->myDoc;
    parser->myDoc = nullptr;
    if (!parser->wellFormed || state.failed || doc == nullptr) {
        if (doc != nullptr) {
            xmlFreeDoc(doc);
        }
        result.failure = state.failure;
        if (result.failure.reason.empty()) {
            result.failure.reason = L"The document is not well formed.";
        }
        return result;
    }
    if (!settings.preserveWhiteSpace) {
        DropWhitespaceText(doc);
    }
    result.doc = doc;
    return result;
}

}  // namespace platform::msxml
