#include "domtree.h"

#include "domtext.h"

namespace platform::msxml {

DomTree::DomTree(xmlDocPtr doc, std::shared_ptr<DocumentSettings> settings) : doc_(doc), settings_(std::move(settings)) {}

DomTree::~DomTree()
{
    // Detached nodes first: their names may live in the document's dictionary. Freeing never
    // follows a node's namespace pointer, so the order among them does not matter.
    for (xmlNodePtr node : detached_) {
        xmlFreeNode(node);
    }
    xmlFreeDoc(doc_);
    for (xmlNsPtr ns : detachedNamespaces_) {
        xmlFreeNs(ns);
    }
}

void DomTree::Adopt(xmlNodePtr detached) { detached_.insert(detached); }

void DomTree::Claim(xmlNodePtr node) { detached_.erase(node); }

xmlNsPtr DomTree::DetachedNamespace(const std::string& uri, const std::optional<std::string>& prefix)
{
    for (xmlNsPtr ns : detachedNamespaces_) {
        const bool samePrefix = prefix ? (ns->prefix != nullptr && xmlStrEqual(ns->prefix, Xml(*prefix)))
                                       : ns->prefix == nullptr;
        if (samePrefix && xmlStrEqual(ns->href, Xml(uri))) {
            return ns;
        }
    }
    xmlNsPtr ns = xmlNewNs(nullptr, Xml(uri), prefix ? Xml(*prefix) : nullptr);
    if (ns != nullptr) {
        detachedNamespaces_.push_back(ns);
    }
    return ns;
}

void DomTree::Retire(xmlNsPtr ns)
{
    ns->next = nullptr;
    detachedNamespaces_.push_back(ns);
}

NodeRef TreeNode(const std::shared_ptr<DomTree>& tree, xmlNodePtr node)
{
    NodeRef ref;
    ref.tree = tree;
    ref.node = node;
    return ref;
}

NodeRef NamespaceNode(const std::shared_ptr<DomTree>& tree, xmlNodePtr element, const xmlChar* prefix,
                      const xmlChar* uri)
{
    NodeRef ref;
    ref.tree = tree;
    ref.node = element;
    ref.isNamespace = true;
    if (prefix != nullptr) {
        ref.namespacePrefix = reinterpret_cast<const char*>(prefix);
    }
    ref.namespaceUri = uri == nullptr ? std::string() : reinterpret_cast<const char*>(uri);
    return ref;
}

namespace {

bool DeclaresPrefix(xmlNodePtr element, const xmlChar* prefix)
{
    for (xmlNsPtr ns = element->nsDef; ns != nullptr; ns = ns->next) {
        if (xmlStrEqual(ns->prefix, prefix)) {
            return true;
        }
    }
    return false;
}

std::string FreePrefix(xmlDocPtr doc, xmlNodePtr element)
{
    for (int i = 0;; ++i) {
        std::string prefix = "ns" + std::to_string(i);
        if (xmlSearchNs(doc, element, Xml(prefix)) == nullptr) {
            return prefix;
        }
    }
}

// Declares a namespace for a node of the subtree: on the subtree's root when nothing between
// rebinds the prefix, else on the node itself. An attribute cannot use a default namespace, so it
// gets a prefix when its namespace has none.
xmlNsPtr Declare(xmlDocPtr doc, xmlNodePtr root, xmlNodePtr element, const xmlChar* href, const xmlChar* prefix,
                 bool forAttribute)
{
    std::string generated;
    if (forAttribute && prefix == nullptr) {
        generated = FreePrefix(doc, element);
        prefix = Xml(generated);
    }
    xmlNodePtr holder = root;
    for (xmlNodePtr node = element; node != root; node = node->parent) {
        if (DeclaresPrefix(node, prefix)) {
            holder = element;
            break;
        }
    }
    if (DeclaresPrefix(holder, prefix)) {
        holder = element;
    }
    if (!DeclaresPrefix(holder, prefix)) {
        return xmlNewNs(holder, href, prefix);
    }
    // The element itself binds the prefix to another URI: choose a free one.
    generated = FreePrefix(doc, element);
    return xmlNewNs(element, href, Xml(generated));
}

void Reconcile(xmlDocPtr doc, xmlNodePtr root, xmlNodePtr element, xmlNsPtr* ns, bool forAttribute)
{
    if (*ns == nullptr || (*ns)->href == nullptr) {
        return;
    }
    xmlNsPtr inScope = xmlSearchNs(doc, element, (*ns)->prefix);
    if (inScope != nullptr && xmlStrEqual(inScope->href, (*ns)->href) && !(forAttribute && inScope->prefix == nullptr)) {
        *ns = inScope;
        return;
    }
    if (forAttribute && (*ns)->prefix == nullptr) {
        inScope = xmlSearchNsByHref(doc, element, (*ns)->href);
        if (inScope != nullptr && inScope->prefix != nullptr) {
            *ns = inScope;
            return;
        }
    }
    if (xmlNsPtr declared = Declare(doc, root, element, (*ns)->href, (*ns)->prefix, forAttribute)) {
        *ns = declared;
    }
}

}  // namespace

void ReconcileNamespaces(xmlDocPtr doc, xmlNodePtr subtreeRoot)
{
    if (subtreeRoot == nullptr || subtreeRoot->type != XML_ELEMENT_NODE) {
        return;
    }
    xmlNodePtr node = subtreeRoot;
    while (node != nullptr) {
        if (node->type == XML_ELEMENT_NODE) {
            Reconcile(doc, subtreeRoot, node, &node->ns, false);
            for (xmlAttrPtr attribute = node->properties; attribute != nullptr; attribute = attribute->next) {
                Reconcile(doc, subtreeRoot, node, &attribute->ns, true);
            }
            if (node->children != nullptr) {
                node = node->children;
                continue;
            }
        }
        while (node != subtreeRoot && node->next == nullptr) {
            node = node->parent;
        }
        if (node == subtreeRoot) {
            break;
        }
        node = node->next;
    }
}

void DropRedundantDeclarations(DomTree& tree, xmlNodePtr subtreeRoot)
{
    if (subtreeRoot == nullptr || subtreeRoot->type != XML_ELEMENT_NODE || subtreeRoot->parent == nullptr) {
        return;
    }
    xmlNsPtr* link = &subtreeRoot->nsDef;
    while (*link != nullptr) {
        xmlNsPtr ns = *link;
        xmlNsPtr inScope = xmlSearchNs(tree.Doc(), subtreeRoot->parent, ns->prefix);
        if (inScope == nullptr || !xmlStrEqual(inScope->href, ns->href)) {
            link = &ns->next;
            continue;
        }
        *link = ns->next;
        xmlNodePtr node = subtreeRoot;
        while (node != nullptr) {
            if (node->type == XML_ELEMENT_NODE) {
                if (node->ns == ns) {
                    node->ns = inScope;
                }
                for (xmlAttrPtr attribute = node->properties; attribute != nullptr; attribute = attribute->next) {
                    if (attribute->ns == ns) {
                        attribute->ns = inScope;
                    }
                }
                if (node->children != nullptr) {
                    node = node->children;
                    continue;
                }
            }
            while (node != subtreeRoot && node->next == nullptr) {
                node = node->parent;
            }
            node = node == subtreeRoot ? nullptr : node->next;
        }
        tree.Retire(ns);
    }
}

}  // namespace platform::msxml
