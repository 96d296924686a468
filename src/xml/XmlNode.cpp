#include "xml/XmlNode.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlsave.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <climits>
#include <cstring>
#include <fstream>
#include <iterator>
#include <mutex>
#include <utility>

#include "xml/CompactWriter.h"
#include "xml/ContextLeases.h"

namespace vork::xml {

namespace detail {

// Who frees a tree: a document frees everything in it; a free-standing
// subtree frees itself until it is linked under another tree, from then on
// it only keeps that tree alive. Elements unlinked from a document (a
// replaced root) are kept until the document goes.
struct Tree {
    xmlDocPtr doc = nullptr;
    xmlNodePtr freeNode = nullptr;
    std::shared_ptr<Tree> host;
    std::vector<xmlNodePtr> orphans;

    ~Tree() {
        for (xmlNodePtr orphan : orphans) xmlFreeNode(orphan);
        if (doc) xmlFreeDoc(doc);
        else if (freeNode) xmlFreeNode(freeNode);
    }
};

}  // namespace detail

namespace {

using detail::ParserLease;
using detail::Tree;
using detail::XPathLease;

void initLibxml() {
    static std::once_flag once;
    std::call_once(once, [] { xmlInitParser(); });
}

const xmlChar *X(const std::string &text) { return reinterpret_cast<const xmlChar *>(text.c_str()); }

std::string fromXml(const xmlChar *text) { return text ? std::string(reinterpret_cast<const char *>(text)) : std::string(); }

std::optional<std::string> takeXml(xmlChar *text) {
    if (!text) return std::nullopt;
    std::string out(reinterpret_cast<const char *>(text));
    xmlFree(text);
    return out;
}

XmlError copyError(const xmlError *error, const char *fallback) {
    XmlError out;
    if (error && error->code != 0) {
        out.domain = error->domain;
        out.code = error->code;
        out.line = error->line;
        out.column = error->int2;
        out.message = error->message ? error->message : "";
        while (!out.message.empty() && (out.message.back() == '\n' || out.message.back() == ' ')) out.message.pop_back();
    }
    if (out.message.empty()) out.message = fallback;
    return out;
}

bool isElementLike(const xmlNode *node) {
    return node && (node->type == XML_ELEMENT_NODE || node->type == XML_DOCUMENT_NODE ||
                    node->type == XML_HTML_DOCUMENT_NODE);
}

// Splits "prefix:local"; answers false when there is no prefix.
bool splitQualified(const xmlChar *name, std::string &prefix, std::string &local) {
    if (!name) return false;
    const char *text = reinterpret_cast<const char *>(name);
    const char *colon = std::strchr(text, ':');
    if (!colon || colon == text || colon[1] == '\0') return false;
    prefix.assign(text, colon);
    local.assign(colon + 1);
    return true;
}

// Binds literal "prefix:name" elements and attributes of a subtree to the
// namespaces declared above them, so the tree answers local-name() and
// namespace queries like a parsed one. Unbound prefixes stay literal; the
// serialized bytes are the same either way.
void bindPrefixes(xmlNodePtr top) {
    xmlNodePtr node = top;
    while (node) {
        if (node->type == XML_ELEMENT_NODE) {
            std::string prefix, local;
            if (!node->ns && splitQualified(node->name, prefix, local)) {
                if (xmlNsPtr ns = xmlSearchNs(node->doc, node, X(prefix))) {
                    xmlSetNs(node, ns);
                    xmlNodeSetName(node, X(local));
                }
            }
            for (xmlAttrPtr attr = node->properties; attr;) {
                xmlAttrPtr next = attr->next;
                if (!attr->ns && splitQualified(attr->name, prefix, local)) {
                    if (xmlNsPtr ns = xmlSearchNs(node->doc, node, X(prefix))) {
                        std::optional<std::string> value = takeXml(xmlNodeGetContent(reinterpret_cast<xmlNodePtr>(attr)));
                        xmlRemoveProp(attr);
                        xmlSetNsProp(node, ns, X(local), X(value.value_or("")));
                    }
                }
                attr = next;
            }
        }
        // Depth-first walk without recursion.
        if (node->type == XML_ELEMENT_NODE && node->children) {
            node = node->children;
            continue;
        }
        while (node && node != top && !node->next) node = node->parent;
        if (!node || node == top) break;
        node = node->next;
    }
}

std::string save(xmlNodePtr node, bool pretty, bool declaration) {
    xmlBufferPtr buffer = xmlBufferCreate();
    if (!buffer) return {};
    int options = (pretty ? XML_SAVE_FORMAT : 0) | (declaration ? 0 : XML_SAVE_NO_DECL);
    xmlSaveCtxtPtr ctxt = xmlSaveToBuffer(buffer, "UTF-8", options);
    std::string out;
    if (ctxt) {
        if (node->type == XML_DOCUMENT_NODE) xmlSaveDoc(ctxt, reinterpret_cast<xmlDocPtr>(node));
        else xmlSaveTree(ctxt, node);
        xmlSaveClose(ctxt);
        out.assign(reinterpret_cast<const char *>(xmlBufferContent(buffer)), static_cast<size_t>(xmlBufferLength(buffer)));
    }
    xmlBufferFree(buffer);
    return out;
}

}  // namespace

// --- XmlNode

XmlNode XmlNode::element(const std::string &qualifiedName, const std::optional<std::string> &text) {
    initLibxml();
    xmlNodePtr node = xmlNewDocNode(nullptr, nullptr, X(qualifiedName), nullptr);
    if (!node) return {};
    if (text) {
        if (xmlNodePtr child = xmlNewDocTextLen(nullptr, X(*text), static_cast<int>(std::min<size_t>(text->size(), INT_MAX))))
            xmlAddChild(node, child);
    }
    auto tree = std::make_shared<Tree>();
    tree->freeNode = node;
    return XmlNode(std::move(tree), node);
}

NodeKind XmlNode::kind() const {
    if (!node_) return NodeKind::Other;
    switch (node_->type) {
        case XML_DOCUMENT_NODE:
        case XML_HTML_DOCUMENT_NODE: return NodeKind::Document;
        case XML_ELEMENT_NODE: return NodeKind::Element;
        case XML_ATTRIBUTE_NODE: return NodeKind::Attribute;
        case XML_TEXT_NODE:
        case XML_CDATA_SECTION_NODE: return NodeKind::Text;
        default: return NodeKind::Other;
    }
}

std::string XmlNode::name() const {
    if (!node_) return {};
    switch (node_->type) {
        case XML_ELEMENT_NODE:
        case XML_ATTRIBUTE_NODE:
            if (node_->ns && node_->ns->prefix) return fromXml(node_->ns->prefix) + ":" + fromXml(node_->name);
            return fromXml(node_->name);
        case XML_PI_NODE: return fromXml(node_->name);
        default: return {};
    }
}

std::string XmlNode::localName() const {
    std::string qualified = name();
    if (node_ && !node_->ns) {
        size_t colon = qualified.find(':');
        if (colon != std::string::npos && colon > 0 && colon + 1 < qualified.size()) return qualified.substr(colon + 1);
        return qualified;
    }
    return node_ ? fromXml(node_->name) : std::string();
}

std::optional<std::string> XmlNode::stringValue() const {
    if (!node_) return std::nullopt;
    switch (node_->type) {
        case XML_DOCUMENT_NODE:
        case XML_HTML_DOCUMENT_NODE:
        case XML_ELEMENT_NODE:
        case XML_ATTRIBUTE_NODE:
        case XML_TEXT_NODE:
        case XML_CDATA_SECTION_NODE:
        case XML_COMMENT_NODE:
        case XML_PI_NODE: return takeXml(xmlNodeGetContent(node_));
        default: return std::nullopt;
    }
}

XmlNode XmlNode::parent() const {
    if (!node_ || !node_->parent) return {};
    return XmlNode(tree_, node_->parent);
}

std::vector<XmlNode> XmlNode::children() const {
    std::vector<XmlNode> out;
    if (!isElementLike(node_)) return out;
    for (xmlNodePtr child = node_->children; child; child = child->next) out.push_back(XmlNode(tree_, child));
    return out;
}

std::optional<std::string> XmlNode::attribute(std::string_view qualifiedName) const {
    if (!node_ || node_->type != XML_ELEMENT_NODE) return std::nullopt;
    for (xmlAttrPtr attr = node_->properties; attr; attr = attr->next) {
        std::string attrName = fromXml(attr->name);
        if (attr->ns && attr->ns->prefix) attrName = fromXml(attr->ns->prefix) + ":" + attrName;
        if (attrName == qualifiedName) return takeXml(xmlNodeGetContent(reinterpret_cast<xmlNodePtr>(attr)));
    }
    return std::nullopt;
}

void XmlNode::addChild(const XmlNode &child) {
    if (!node_ || node_->type != XML_ELEMENT_NODE || !child.node_) return;
    if (child.node_->type == XML_ELEMENT_NODE && child.tree_ && child.tree_->freeNode == child.node_ &&
        !child.node_->parent) {
        xmlAddChild(node_, child.node_);
        child.tree_->freeNode = nullptr;
        child.tree_->host = tree_;
        bindPrefixes(child.node_);
        return;
    }
    // Text merges into a neighbouring text node and nodes already placed
    // stay where they are: both go in as copies.
    if (child.node_->type == XML_ATTRIBUTE_NODE || child.node_->type == XML_DOCUMENT_NODE) return;
    xmlNodePtr copy = xmlDocCopyNode(child.node_, node_->doc, 1);
    if (!copy) return;
    if (!xmlAddChild(node_, copy)) {
        xmlFreeNode(copy);
        return;
    }
    if (copy->type == XML_ELEMENT_NODE) bindPrefixes(copy);
}

void XmlNode::addAttribute(const std::string &qualifiedName, const std::string &value) {
    if (!node_ || node_->type != XML_ELEMENT_NODE) return;
    std::string prefix, local;
    if (splitQualified(X(qualifiedName), prefix, local)) {
        if (xmlNsPtr ns = xmlSearchNs(node_->doc, node_, X(prefix))) {
            xmlSetNsProp(node_, ns, X(local), X(value));
            return;
        }
    }
    xmlSetProp(node_, X(qualifiedName), X(value));
}

void XmlNode::addNamespace(const std::string &prefix, const std::string &uri) {
    if (!node_ || node_->type != XML_ELEMENT_NODE) return;
    xmlNewNs(node_, X(uri), prefix.empty() ? nullptr : X(prefix));
    bindPrefixes(node_);
}

XmlNode XmlNode::deepCopy() const {
    if (!node_) return {};
    if (node_->type == XML_DOCUMENT_NODE) {
        xmlDocPtr copy = xmlCopyDoc(reinterpret_cast<xmlDocPtr>(node_), 1);
        if (!copy) return {};
        auto tree = std::make_shared<Tree>();
        tree->doc = copy;
        return XmlNode(std::move(tree), reinterpret_cast<xmlNodePtr>(copy));
    }
    if (node_->type == XML_ATTRIBUTE_NODE) return {};
    xmlNodePtr copy = xmlDocCopyNode(node_, nullptr, 1);
    if (!copy) return {};
    auto tree = std::make_shared<Tree>();
    tree->freeNode = copy;
    return XmlNode(std::move(tree), copy);
}

std::vector<XmlNode> XmlNode::evaluate(const std::string &expression, std::optional<XmlError> *error) const {
    std::vector<XmlNode> hits;
    if (!node_) return hits;
    initLibxml();
    XPathLease lease(node_);
    xmlXPathContextPtr context = lease.get();
    if (!context) return hits;
    xmlXPathObjectPtr result = xmlXPathEvalExpression(X(expression), context);
    if (!result) {
        if (error) *error = copyError(&context->lastError, "Invalid XPath expression");
    } else if (result->type != XPATH_NODESET) {
        if (error) *error = copyError(nullptr, "XPath result is not a node set");
    } else if (result->nodesetval) {
        hits.reserve(static_cast<size_t>(result->nodesetval->nodeNr));
        for (int i = 0; i < result->nodesetval->nodeNr; ++i) {
            xmlNodePtr hit = result->nodesetval->nodeTab[i];
            // Namespace hits are libxml2-owned copies of another layout.
            if (!hit || hit->type == XML_NAMESPACE_DECL) continue;
            hits.push_back(XmlNode(tree_, hit));
        }
    }
    if (result) xmlXPathFreeObject(result);
    return hits;
}

std::string XmlNode::xmlString() const { return node_ ? save(node_, false, false) : std::string(); }

std::string XmlNode::prettyXml() const { return node_ ? save(node_, true, false) : std::string(); }

// --- XmlDocument

XmlDocument XmlDocument::create() {
    initLibxml();
    XmlDocument out;
    xmlDocPtr doc = xmlNewDoc(BAD_CAST "1.0");
    if (!doc) return out;
    doc->encoding = xmlStrdup(BAD_CAST "UTF-8");
    doc->standalone = 1;
    out.tree_ = std::make_shared<Tree>();
    out.tree_->doc = doc;
    out.doc_ = doc;
    return out;
}

XmlDocument XmlDocument::parse(std::string_view bytes, std::optional<XmlError> *error) {
    initLibxml();
    XmlDocument out;
    if (bytes.size() > static_cast<size_t>(INT_MAX)) {
        if (error) *error = copyError(nullptr, "Document too large");
        return out;
    }
    ParserLease lease;
    xmlParserCtxtPtr ctxt = lease.get();
    if (!ctxt) {
        if (error) *error = copyError(nullptr, "Out of memory");
        return out;
    }
    // The reply of a server is data, not a program: no network, no external
    // entities, no messages on stderr. Blank text between elements is not
    // content (the platform parser drops it too).
    const int options = XML_PARSE_NONET | XML_PARSE_NOBLANKS | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
    const char *data = bytes.data() ? bytes.data() : "";
    xmlDocPtr doc = xmlCtxtReadMemory(ctxt, data, static_cast<int>(bytes.size()), nullptr, nullptr, options);
    if (!doc) {
        if (error) *error = copyError(xmlCtxtGetLastError(ctxt), "Document could not be parsed");
        lease.discard();
    } else {
        out.tree_ = std::make_shared<Tree>();
        out.tree_->doc = doc;
        out.doc_ = doc;
    }
    return out;
}

XmlDocument XmlDocument::parseFile(const std::string &path, std::optional<XmlError> *error) {
    std::string file = path;
    if (file.rfind("file://", 0) == 0) file = file.substr(7);
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        if (error) *error = copyError(nullptr, ("Cannot read " + path).c_str());
        return {};
    }
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return parse(bytes, error);
}

XmlNode XmlDocument::documentNode() const {
    if (!doc_) return {};
    return XmlNode(tree_, reinterpret_cast<xmlNodePtr>(doc_));
}

XmlNode XmlDocument::rootElement() const {
    if (!doc_) return {};
    xmlNodePtr root = xmlDocGetRootElement(doc_);
    return root ? XmlNode(tree_, root) : XmlNode();
}

void XmlDocument::setRootElement(const XmlNode &element) {
    if (!doc_ || !element.node_ || element.node_->type != XML_ELEMENT_NODE) return;
    XmlNode candidate = element;
    if (!(element.tree_ && element.tree_->freeNode == element.node_ && !element.node_->parent))
        candidate = element.deepCopy();
    if (!candidate.node_) return;
    xmlNodePtr old = xmlDocSetRootElement(doc_, candidate.node_);
    candidate.tree_->freeNode = nullptr;
    candidate.tree_->host = tree_;
    if (old) tree_->orphans.push_back(old);
    bindPrefixes(candidate.node_);
}

std::string XmlDocument::version() const { return doc_ ? fromXml(doc_->version) : std::string(); }

std::string XmlDocument::characterEncoding() const { return doc_ ? fromXml(doc_->encoding) : std::string(); }

bool XmlDocument::standalone() const { return doc_ && doc_->standalone == 1; }

std::string XmlDocument::xmlData() const {
    if (!doc_) return {};
    if (auto written = detail::writeCompactDocument(doc_)) return std::move(*written);
    return save(reinterpret_cast<xmlNodePtr>(doc_), false, true);
}

std::string XmlDocument::prettyXml() const {
    return doc_ ? save(reinterpret_cast<xmlNodePtr>(doc_), true, true) : std::string();
}

}  // namespace vork::xml
