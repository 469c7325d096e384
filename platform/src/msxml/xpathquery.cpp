#include "xpathquery.h"

#include <memory>

#include <libxml/globals.h>
#include <libxml/xmlerror.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include "domtext.h"
#include "quietlibxmlerrors.h"

namespace platform::msxml {
namespace {

void IgnoreStructured(void*, xmlErrorPtr) {}

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

struct XPathObjectDeleter {
    void operator()(xmlXPathObjectPtr object) const { xmlXPathFreeObject(object); }
};

}  // namespace

std::optional<std::vector<std::pair<std::string, std::string>>> ParseSelectionNamespaces(const std::string& text)
{
    std::vector<std::pair<std::string, std::string>> declarations;
    std::size_t i = 0;
    const auto skipSpace = [&] {
        while (i < text.size() && IsSpace(text[i])) {
            ++i;
        }
    };
    skipSpace();
    while (i < text.size()) {
        if (text.compare(i, 5, "xmlns") != 0) {
            return std::nullopt;
        }
        i += 5;
        std::optional<std::string> prefix;
        if (i < text.size() && text[i] == ':') {
            const std::size_t start = ++i;
            while (i < text.size() && text[i] != '=' && !IsSpace(text[i])) {
                ++i;
            }
            prefix = text.substr(start, i - start);
            if (xmlValidateNCName(Xml(*prefix), 0) != 0) {
                return std::nullopt;
            }
        }
        skipSpace();
        if (i >= text.size() || text[i] != '=') {
            return std::nullopt;
        }
        ++i;
        skipSpace();
        if (i >= text.size() || (text[i] != '\'' && text[i] != '"')) {
            return std::nullopt;
        }
        const char quote = text[i++];
        const std::size_t end = text.find(quote, i);
        if (end == std::string::npos) {
            return std::nullopt;
        }
        if (prefix) {
            declarations.emplace_back(*prefix, text.substr(i, end - i));
        }
        i = end + 1;
        if (i < text.size() && !IsSpace(text[i])) {
            return std::nullopt;
        }
        skipSpace();
    }
    return declarations;
}

HRESULT EvaluateXPath(const NodeRef& context, const std::string& expression, std::vector<NodeRef>* nodes)
{
    nodes->clear();
    QuietLibxmlErrors quiet;
    XPathCache& cache = context.tree->XPath();
    const std::unique_lock<std::mutex> lock = cache.Lock();
    xmlXPathContextPtr xpath = cache.Context(context.Doc());
    if (xpath == nullptr) {
        return E_OUTOFMEMORY;
    }
    xpath->error = IgnoreStructured;
    // The document's SelectionNamespaces may have changed since the last query.
    xmlXPathRegisteredNsCleanup(xpath);
    for (const auto& [prefix, uri] : context.tree->Settings().selectionNamespaces) {
        if (xmlXPathRegisterNs(xpath, Xml(prefix), Xml(uri)) != 0) {
            return E_OUTOFMEMORY;
        }
    }
    // A namespace node as context takes libxml2's own form for one: an xmlNs whose next field
    // points at its element.
    xmlNs namespaceContext{};
    if (context.isNamespace) {
        namespaceContext.type = XML_NAMESPACE_DECL;
        namespaceContext.href = Xml(context.namespaceUri);
        namespaceContext.prefix = context.namespacePrefix ? Xml(*context.namespacePrefix) : nullptr;
        namespaceContext.next = reinterpret_cast<xmlNsPtr>(context.node);
        xpath->node = reinterpret_cast<xmlNodePtr>(&namespaceContext);
    } else {
        xpath->node = context.node;
    }
    xpath->contextSize = -1;
    xpath->proximityPosition = -1;

    xmlXPathCompExprPtr compiled = XPathCache::Compiled(expression);
    if (compiled == nullptr) {
        return E_FAIL;
    }
    std::unique_ptr<xmlXPathObject, XPathObjectDeleter> result(xmlXPathCompiledEval(compiled, xpath));
    xpath->node = nullptr;
    if (!result || result->type != XPATH_NODESET) {
        return E_FAIL;
    }
    xmlNodeSetPtr set = result->nodesetval;
    if (set == nullptr) {
        return S_OK;
    }
    xmlXPathNodeSetSort(set);
    nodes->reserve(static_cast<std::size_t>(set->nodeNr));
    for (int i = 0; i < set->nodeNr; ++i) {
        xmlNodePtr node = set->nodeTab[i];
        if (node->type == XML_NAMESPACE_DECL) {
            // libxml2 hands out copies of namespace nodes that end with the result.
            const auto* ns = reinterpret_cast<xmlNsPtr>(node);
            nodes->push_back(NamespaceNode(context.tree, reinterpret_cast<xmlNodePtr>(ns->next), ns->prefix, ns->href));
        } else {
            nodes->push_back(TreeNode(context.tree, node));
        }
    }
    return S_OK;
}

}  // namespace platform::msxml
