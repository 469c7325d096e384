// The libxml2 tree behind one loaded document, and the references that the COM node objects hold
// into it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include <libxml/tree.h>

#include "xpathcache.h"

namespace platform::msxml {

// The document's properties. The document and every tree it loads share them, so that a node of
// an earlier load still queries with the namespaces the document has now, as MSXML does.
struct DocumentSettings {
    std::wstring selectionNamespacesText;
    std::vector<std::pair<std::string, std::string>> selectionNamespaces;  // prefix, URI (UTF-8)
    bool preserveWhiteSpace = false;
    bool prohibitDtd = true;       // MSXML 6's default
    long maxElementDepth = 256;    // MSXML 6's default; 0 leaves only libxml2's own limit
    bool async = true;
};

// Owns an xmlDoc and every node that was ever detached from it or created for it. Nodes are never
// freed while the tree lives: a COM node object may still point at a node that an edit removed,
// and libxml2 would otherwise free it under that object (removal, text replacement, merging).
class DomTree {
public:
    DomTree(xmlDocPtr doc, std::shared_ptr<DocumentSettings> settings);
    ~DomTree();
    DomTree(const DomTree&) = delete;
    DomTree& operator=(const DomTree&) = delete;

    xmlDocPtr Doc() const { return doc_; }
    const DocumentSettings& Settings() const { return *settings_; }

    // Keeps a node that belongs to no tree (new, removed or replaced) until the tree ends.
    void Adopt(xmlNodePtr detached);
    // Forgets a kept node that is about to be linked into the tree again.
    void Claim(xmlNodePtr node);
    // A namespace for a node created outside any element's scope; linking the node declares it
    // where needed (see ReconcileNamespaces).
    xmlNsPtr DetachedNamespace(const std::string& uri, const std::optional<std::string>& prefix);
    // Keeps a declaration taken off an element until the tree ends.
    void Retire(xmlNsPtr ns);

    XPathCache& XPath() { return xpath_; }

private:
    xmlDocPtr doc_;
    std::shared_ptr<DocumentSettings> settings_;
    std::unordered_set<xmlNodePtr> detached_;
    std::vector<xmlNsPtr> detachedNamespaces_;
    XPathCache xpath_;  // declared last: it goes before the document it refers to
};

// What a COM node object designates: a node of a tree, or a namespace node (which libxml2 only
// has as transient copies in XPath results, so its data is kept here with its element).
struct NodeRef {
    std::shared_ptr<DomTree> tree;
    xmlNodePtr node = nullptr;  // for a namespace node: the element it belongs to
    bool isNamespace = false;
    std::optional<std::string> namespacePrefix;  // none: the default namespace
    std::string namespaceUri;

    xmlDocPtr Doc() const { return tree->Doc(); }
    xmlElementType Type() const { return isNamespace ? XML_NAMESPACE_DECL : node->type; }
};

NodeRef TreeNode(const std::shared_ptr<DomTree>& tree, xmlNodePtr node);
NodeRef NamespaceNode(const std::shared_ptr<DomTree>& tree, xmlNodePtr element, const xmlChar* prefix,
                      const xmlChar* uri);

// After a subtree moved (linked into a tree or detached from it), makes every namespace it uses
// declared in its new scope, keeping the prefixes it was created with: a prefix bound to the same
// URI in scope is reused, otherwise the declaration goes on the subtree's root.
void ReconcileNamespaces(xmlDocPtr doc, xmlNodePtr subtreeRoot);

// After a subtree was linked under a parent: takes off its root the declarations that only repeat
// what is in scope there, as MSXML writes no redundant declarations for the nodes it creates.
void DropRedundantDeclarations(DomTree& tree, xmlNodePtr subtreeRoot);

}  // namespace platform::msxml
