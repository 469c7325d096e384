// XPath 1.0 over the DOM through libxml2, with the document's SelectionNamespaces.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "domtree.h"
#include "winerror.h"

namespace platform::msxml {

// "xmlns:a='uri' xmlns:b=\"uri2\"" as (prefix, URI) pairs; nothing when the text is malformed. A
// default namespace declaration is accepted and left out: XPath 1.0 names never use one.
std::optional<std::vector<std::pair<std::string, std::string>>> ParseSelectionNamespaces(const std::string& text);

// The nodes the expression selects relative to the context, in document order. E_FAIL for an
// invalid expression, an undeclared prefix, or an expression that does not give a node set.
HRESULT EvaluateXPath(const NodeRef& context, const std::string& expression, std::vector<NodeRef>* nodes);

}  // namespace platform::msxml
