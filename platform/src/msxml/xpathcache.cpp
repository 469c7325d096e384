#include "xpathcache.h"

#include <unordered_map>

namespace platform::msxml {

namespace {

class CompiledExpressions {
public:
    ~CompiledExpressions() { Clear(); }

    xmlXPathCompExprPtr Get(const std::string& expression)
    {
        const auto found = compiled_.find(expression);
        if (found != compiled_.end()) {
            return found->second;
        }
        xmlXPathCompExprPtr compiled = xmlXPathCompile(reinterpret_cast<const xmlChar*>(expression.c_str()));
        if (compiled == nullptr) {
            return nullptr;
        }
        if (compiled_.size() >= kMaxExpressions) {
            Clear();
        }
        compiled_.emplace(expression, compiled);
        return compiled;
    }

private:
    // Bounds what a thread keeps of expressions built from data, which never repeat.
    static constexpr std::size_t kMaxExpressions = 512;

    void Clear()
    {
        for (auto& [expression, compiled] : compiled_) {
            xmlXPathFreeCompExpr(compiled);
        }
        compiled_.clear();
    }

    std::unordered_map<std::string, xmlXPathCompExprPtr> compiled_;
};

}  // namespace

XPathCache::~XPathCache()
{
    if (context_ != nullptr) {
        xmlXPathFreeContext(context_);
    }
}

xmlXPathContextPtr XPathCache::Context(xmlDocPtr doc)
{
    if (context_ == nullptr) {
        context_ = xmlXPathNewContext(doc);
        // Reuses the evaluation's own objects (strings, node sets, numbers) from one predicate to
        // the next instead of allocating each one anew.
        if (context_ != nullptr) {
            xmlXPathContextSetCache(context_, 1, -1, 0);
        }
    }
    return context_;
}

xmlXPathCompExprPtr XPathCache::Compiled(const std::string& expression)
{
    thread_local CompiledExpressions expressions;
    return expressions.Get(expression);
}

}  // namespace platform::msxml
