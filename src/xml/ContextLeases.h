#pragma once
// Per-thread spares of the libxml2 contexts that cost more to create than
// the short documents and queries the library runs through them.
#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <utility>

namespace vork::xml::detail {

// XPath errors are recorded in the context; nothing goes to stderr.
inline void ignoreStructuredError(void *, xmlErrorPtr) {}

// One spare object per thread: taken by a lease, given back when it ends,
// freed with the thread (an object given back while the thread is ending is
// freed at once).
template <class T, void (*Free)(T *)>
class ThreadSpare {
  public:
    static T *take() { return std::exchange(slot().object, nullptr); }
    static void giveBack(T *object) {
        Slot &spare = slot();
        if (!spare.object && !spare.gone) spare.object = object;
        else Free(object);
    }

  private:
    struct Slot {
        T *object = nullptr;
        bool gone = false;
        ~Slot() {
            gone = true;
            if (object) Free(object);
            object = nullptr;
        }
    };
    static Slot &slot() {
        thread_local Slot spare;
        return spare;
    }
};

// Creating an XPath context registers every XPath function into a fresh
// hash table, which costs more than the short evaluations done here; each
// thread keeps one spare context instead. A lease takes the spare (or a new
// context when it is already out, e.g. a nested evaluation), points it at
// one node and on release wipes everything an evaluation may leave behind,
// so no context keeps a pointer into a document after the evaluation.
class XPathLease {
  public:
    explicit XPathLease(xmlNodePtr node) {
        context_ = Spare::take();
        if (!context_) context_ = xmlXPathNewContext(nullptr);
        if (!context_) return;
        clear(context_);
        context_->doc = node->doc;
        context_->node = node;
        context_->error = &ignoreStructuredError;
    }
    ~XPathLease() {
        if (!context_) return;
        clear(context_);
        Spare::giveBack(context_);
    }
    XPathLease(const XPathLease &) = delete;
    XPathLease &operator=(const XPathLease &) = delete;

    xmlXPathContextPtr get() const { return context_; }

  private:
    using Spare = ThreadSpare<xmlXPathContext, xmlXPathFreeContext>;
    // Back to the state of a new context: no document or node, no
    // registered namespaces or variables, no error, no walk in progress.
    static void clear(xmlXPathContextPtr context) {
        context->doc = nullptr;
        context->node = nullptr;
        context->here = nullptr;
        context->origin = nullptr;
        context->debugNode = nullptr;
        context->namespaces = nullptr;
        context->nsNr = 0;
        if (context->nsHash) xmlXPathRegisteredNsCleanup(context);
        if (context->varHash) xmlXPathRegisteredVariablesCleanup(context);
        if (context->tmpNsList) xmlFree(context->tmpNsList);
        context->tmpNsList = nullptr;
        context->tmpNsNr = 0;
        context->contextSize = -1;
        context->proximityPosition = -1;
        context->function = nullptr;
        context->functionURI = nullptr;
        context->userData = nullptr;
        context->error = nullptr;
        context->opCount = 0;
        context->depth = 0;
        xmlResetError(&context->lastError);
    }

    xmlXPathContextPtr context_ = nullptr;
};

// A parser context costs about as much to create as a short reply costs to
// parse, so each thread keeps a spare. A context that failed is dropped, and
// one that has read many documents is renewed, so that the names its
// dictionary collects stay few (a document keeps its own reference to the
// dictionary it was read with).
class ParserLease {
  public:
    ParserLease() {
        thread_local unsigned uses = 0;
        context_ = Spare::take();
        if (context_ && ++uses % kRenewal == 0) discard();
        if (!context_) context_ = xmlNewParserCtxt();
    }
    ~ParserLease() {
        if (context_) Spare::giveBack(context_);
    }
    ParserLease(const ParserLease &) = delete;
    ParserLease &operator=(const ParserLease &) = delete;

    xmlParserCtxtPtr get() const { return context_; }
    void discard() {
        if (context_) xmlFreeParserCtxt(context_);
        context_ = nullptr;
    }

  private:
    static constexpr unsigned kRenewal = 256;
    using Spare = ThreadSpare<xmlParserCtxt, xmlFreeParserCtxt>;
    xmlParserCtxtPtr context_ = nullptr;
};

}  // namespace vork::xml::detail
