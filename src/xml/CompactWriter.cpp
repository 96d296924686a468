#include "xml/CompactWriter.h"

#include <libxml/xmlstring.h>

#include <cstring>

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

class Writer {
  public:
    explicit Writer(xmlDocPtr doc) : doc_(doc) {}

    bool document() {
        out_.reserve(2048);
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

    std::string take() { return std::move(out_); }

  private:
    // Without recursion, so a deep tree cannot exhaust the stack.
    bool element(xmlNodePtr top) {
        xmlNodePtr node = top;
        while (true) {
            if (node->type == XML_ELEMENT_NODE) {
                if (!startTag(node)) return false;
                if (node->children) {
                    node = node->children;
                    continue;
                }
                out_ += "/>";
            } else if (node->type == XML_TEXT_NODE && !xmlStrEqual(node->name, BAD_CAST "textnoenc")) {
                if (node->content && !escaped(node->content, kEscapes.text)) return false;
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

    bool startTag(xmlNodePtr node) {
        out_ += '<';
        qualifiedName(node->ns, node->name);
        for (xmlNsPtr ns = node->nsDef; ns; ns = ns->next) {
            if (ns->type != XML_NAMESPACE_DECL || !ns->href || xmlStrEqual(ns->prefix, BAD_CAST "xml")) continue;
            out_ += ns->prefix ? " xmlns:" : " xmlns";
            if (ns->prefix) append(ns->prefix);
            out_ += '=';
            if (!quoted(ns->href)) return false;
        }
        for (xmlAttrPtr attribute = node->properties; attribute; attribute = attribute->next) {
            // Values with entity references, and attributes of another
            // document (written with character references), go to libxml2.
            if (attribute->doc != doc_) return false;
            out_ += ' ';
            qualifiedName(attribute->ns, attribute->name);
            out_ += "=\"";
            for (xmlNodePtr part = attribute->children; part; part = part->next) {
                if (part->type != XML_TEXT_NODE) return false;
                if (part->content && !escaped(part->content, kEscapes.attribute)) return false;
            }
            out_ += '"';
        }
        if (node->children) out_ += '>';
        return true;
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

    // Runs of plain bytes are copied whole. Text that is not UTF-8 is left
    // to libxml2, whose output encoder decides what becomes of it.
    bool escaped(const xmlChar *text, const char *const *table) {
        const xmlChar *run = text;
        bool ascii = true;
        for (const xmlChar *p = text; *p; ++p) {
            if (*p >= 0x80) ascii = false;
            if (const char *escape = table[*p]) {
                out_.append(reinterpret_cast<const char *>(run), static_cast<size_t>(p - run));
                out_ += escape;
                run = p + 1;
            }
        }
        if (!ascii && !xmlCheckUTF8(text)) return false;
        append(run);
        return true;
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

    xmlDocPtr doc_;
    std::string out_;
};

}  // namespace

std::optional<std::string> writeCompactDocument(xmlDocPtr doc) {
    if (!doc) return std::nullopt;
    Writer writer(doc);
    if (!writer.document()) return std::nullopt;
    return writer.take();
}

}  // namespace vork::xml::detail
