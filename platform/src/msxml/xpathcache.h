// What XPath queries reuse: each tree's libxml2 evaluation context (whose set-up registers every
// XPath function anew) with its object cache, and each thread's compiled expressions. A print
// ticket is read with a few dozen queries, the same ones for every job.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include <libxml/xpath.h>

namespace platform::msxml {

class XPathCache {
public:
    XPathCache() = default;
    ~XPathCache();
    XPathCache(const XPathCache&) = delete;
    XPathCache& operator=(const XPathCache&) = delete;

    // The tree's evaluation context, made on first use; null when libxml2 cannot allocate it.
    // Callers hold Lock() while they use it.
    xmlXPathContextPtr Context(xmlDocPtr doc);
    // The compiled expression, kept for the calling thread's life (libxml2 notes lookups in a
    // compiled expression while evaluating it, so threads do not share them); null when it does
    // not compile.
    static xmlXPathCompExprPtr Compiled(const std::string& expression);
    std::unique_lock<std::mutex> Lock() { return std::unique_lock<std::mutex>(mutex_); }

private:
    std::mutex mutex_;
    xmlXPathContextPtr context_ = nullptr;
};

}  // namespace platform::msxml
