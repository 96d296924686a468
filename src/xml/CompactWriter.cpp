#include "xml/CompactWriter.h"

#include <libxml/xmlstring.h>

#include <vector>

namespace vork::xml::detail {

namespace {

// What each byte becomes in text and in attribute values (nullptr: itself).
struct Escapes {
    const char *text[256] = {};
    const char *attribute[256] = {};
    Escapes() {
        text['<'] = attribute['<'] = "&lt;";
        text['>'] = attribute['>'] = "&gt;";
        text['&'] = attribute['&'] = "&amp;";
        text['\r'] = attribute['\r'] = "&#13;";
        attribute['"'] = "&quot;";
        attribute['\n'] = "&#10;";
        attribute['\t'] = "&#9;";
    }
};

const Escapes kEscapes;

bool isXmlPrefix(const xmlChar *prefix) { return xmlStrEqual(prefix, BAD_CAST "xml"); }

class Writer {
  public:
    // Attributes of another document than `doc` are left to libxml2;
    // without a document every attribute counts as the document's own.
    Writer(std::string &out, xmlDocPtr doc) : out_(out), doc_(doc) {}

    bool document() {
        out_ += "<?xml version=";
        if (doc_->version) {
            if (!quoted(doc_->version)) return false;
        } else {
            out_ += "\"1.0\"";
        }
        out_ += " encoding=\"UTF-8\"";
        if (doc_->standalone == 0) out_ += " standalone=\"no\"";
        else if (doc_->standalone == 1) out_ += " standalone=\"yes\"";
        out_ += "?>\n";
        for (xmlNodePtr child = doc_->children; child; child = child->next) {
            if (child->type != XML_ELEMENT_NODE || !element(child)) return false;
            out_ += '\n';
        }
        return true;
    }

    // Without recursion, so a deep tree cannot exhaust the stack. The top
    // element declares `extra` after its own namespaces.
    bool element(xmlNodePtr top, const std::vector<xmlNsPtr> *extra = nullptr) {
        xmlNodePtr node = top;
        while (true) {
            if (node->type == XML_ELEMENT_NODE) {
                if (!startTag(node, node == top ? extra : nullptr)) return false;
                if (node->children) {
                    node = node->children;
                    continue;
                }
                out_ += "/>";
            } else if (node->type == XML_TEXT_NODE && !xmlStrEqual(node->name, BAD_CAST "textnoenc")) {
                if (node->content && !appendEscaped(out_, reinterpret_cast<const char *>(node->content), false))
                    return false;
            } else {
                return false;
            }
            // Close every element whose last child this was.
            while (node != top && !node->next) {
                node = node->parent;
                endTag(node);
            }
            if (node == top) return true;
            node = node->next;
        }
    }

  private:
    bool startTag(xmlNodePtr node, const std::vector<xmlNsPtr> *extra) {
        out_ += '<';
        qualifiedName(node->ns, node->name);
        for (xmlNsPtr ns = node->nsDef; ns; ns = ns->next)
            if (!declaration(ns)) return false;
        if (extra)
            for (xmlNsPtr ns : *extra)
                if (!declaration(ns)) return false;
        for (xmlAttrPtr attribute = node->properties; attribute; attribute = attribute->next) {
            // Values with entity references, and attributes of another
            // document (written with character references), go to libxml2.
            if (doc_ && attribute->doc != doc_) return false;
            out_ += ' ';
            qualifiedName(attribute->ns, attribute->name);
            out_ += "=\"";
            for (xmlNodePtr part = attribute->children; part; part = part->next) {
                if (part->type != XML_TEXT_NODE) return false;
                if (part->content && !appendEscaped(out_, reinterpret_cast<const char *>(part->content), true))
                    return false;
            }
            out_ += '"';
        }
        if (node->children) out_ += '>';
        return true;
    }

    bool declaration(xmlNsPtr ns) {
        if (ns->type != XML_NAMESPACE_DECL || !ns->href || isXmlPrefix(ns->prefix)) return true;
        out_ += ns->prefix ? " xmlns:" : " xmlns";
        if (ns->prefix) append(ns->prefix);
        out_ += '=';
        return quoted(ns->href);
    }

    void endTag(xmlNodePtr node) {
        out_ += "</";
        qualifiedName(node->ns, node->name);
        out_ += '>';
    }

    void qualifiedName(xmlNsPtr ns, const xmlChar *name) {
        if (ns && ns->prefix) {
            append(ns->prefix);
            out_ += ':';
        }
        append(name);
    }

    // Quoted the way libxml2 quotes versions and namespace names.
    bool quoted(const xmlChar *value) {
        if (xmlStrchr(value, '"')) return false;
        out_ += '"';
        append(value);
        out_ += '"';
        return true;
    }

    void append(const xmlChar *text) { out_ += reinterpret_cast<const char *>(text); }

    std::string &out_;
    xmlDocPtr doc_;
};

// The namespaces libxml2's copy of `top` declares on its top element beyond
// the copied declarations: those its elements and attributes use from
// outside it, in the order the copy meets them (elements before their
// attributes, parents before children). False where the copy would invent
// a prefix or where placing it would bind a literal "prefix:name": libxml2
// writes such a copy.
class OutsideNamespaces {
  public:
    explicit OutsideNamespaces(xmlNodePtr top) : top_(top) {}

    bool collect() {
        xmlNodePtr node = top_;
        while (true) {
            if (node->type == XML_ELEMENT_NODE && !element(node)) return false;
            if (node->type == XML_ELEMENT_NODE && node->children) {
                node = node->children;
                continue;
            }
            while (node != top_ && !node->next) node = node->parent;
            if (node == top_) return true;
            node = node->next;
        }
    }

    const std::vector<xmlNsPtr> &added() const { return added_; }

  private:
    bool element(xmlNodePtr node) {
        if (!node->ns && xmlStrchr(node->name, ':')) return false;
        if (node->ns && !hrefInCopy(node, node->ns->prefix) && !addFromOriginal(node, node->ns->prefix)) return false;
        for (xmlAttrPtr attribute = node->properties; attribute; attribute = attribute->next) {
            if (!attribute->ns) {
                if (xmlStrchr(attribute->name, ':')) return false;
                continue;
            }
            const xmlChar *href = hrefInCopy(node, attribute->ns->prefix);
            if (!href) {
                if (!addFromOriginal(node, attribute->ns->prefix)) return false;
            } else if (!xmlStrEqual(href, attribute->ns->href)) {
                return false;
            }
        }
        return true;
    }

    // The namespace name a prefix finds in the copy, from the element up to
    // the top (whose added declarations follow its own). The "xml" prefix
    // is always bound.
    const xmlChar *hrefInCopy(xmlNodePtr node, const xmlChar *prefix) const {
        if (isXmlPrefix(prefix)) return XML_XML_NAMESPACE;
        for (xmlNodePtr at = node;; at = at->parent) {
            for (xmlNsPtr ns = at->nsDef; ns; ns = ns->next)
                if (ns->href && xmlStrEqual(ns->prefix, prefix)) return ns->href;
            if (at == top_) break;
        }
        for (xmlNsPtr ns : added_)
            if (ns->href && xmlStrEqual(ns->prefix, prefix)) return ns->href;
        return nullptr;
    }

    bool addFromOriginal(xmlNodePtr node, const xmlChar *prefix) {
        xmlNsPtr original = xmlSearchNs(node->doc, node, prefix);
        if (!original) return false;
        added_.push_back(original);
        return true;
    }

    xmlNodePtr top_;
    std::vector<xmlNsPtr> added_;
};

}  // namespace

bool appendEscaped(std::string &out, const char *text, bool attributeValue) {
    const char *const *table = attributeValue ? kEscapes.attribute : kEscapes.text;
    // Runs of plain bytes are copied whole. Text that is not UTF-8 is left
    // to libxml2, whose output encoder decides what becomes of it.
    const char *run = text;
    bool ascii = true;
    const char *p = text;
    for (; *p; ++p) {
        const auto byte = static_cast<unsigned char>(*p);
        if (byte >= 0x80) ascii = false;
        if (const char *escape = table[byte]) {
            out.append(run, static_cast<size_t>(p - run));
            out += escape;
            run = p + 1;
        }
    }
    if (!ascii && !xmlCheckUTF8(reinterpret_cast<const xmlChar *>(text))) return false;
    out.append(run, static_cast<size_t>(p - run));
    return true;
}

std::optional<std::string> writeCompactDocument(xmlDocPtr doc) {
    if (!doc) return std::nullopt;
    std::string out;
    out.reserve(2048);
    if (!Writer(out, doc).document()) return std::nullopt;
    return out;
}

bool writeCompactCopy(xmlNodePtr element, std::string &out) {
    if (!element || element->type != XML_ELEMENT_NODE) return false;
    OutsideNamespaces outside(element);
    if (!outside.collect()) return false;
    const size_t start = out.size();
    if (Writer(out, nullptr).element(element, &outside.added())) return true;
    out.resize(start);
    return false;
}

}  // namespace vork::xml::detail
