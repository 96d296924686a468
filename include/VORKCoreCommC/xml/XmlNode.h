#pragma once
/** \file
 * Thin, value-type handles over libxml2 trees. An XmlNode keeps the tree it
 * belongs to alive (shared ownership), so a node taken from a document stays
 * valid as long as any handle to it exists. Free-standing elements made with
 * XmlNode::element own themselves until they are added to a parent; from
 * then on they live as long as the parent's tree.
 *
 * These handles are the library's "platform" XML layer: they do exactly what
 * libxml2 does, without the forgiving conventions of VORKXMLNode and friends.
 */
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "VORKCoreCommC/export.h"

struct _xmlNode;
struct _xmlDoc;

namespace vork::xml {

/// A parse or XPath error as libxml2 reported it.
struct XmlError {
    int domain = 0;       ///< libxml2's error domain.
    int code = 0;         ///< libxml2's error code.
    int line = 0;         ///< Line of the error, from 1 (0 when unknown).
    int column = 0;       ///< Column of the error, from 1 (0 when unknown).
    std::string message;  ///< libxml2's message.
};

/// The kind of a node.
enum class NodeKind { Document, Element, Attribute, Text, Other };

/// \cond INTERNAL
namespace detail {
struct Tree;
}
/// \endcond

/// A handle on a node of an XML tree. Handles share the tree: it lives as
/// long as any handle on one of its nodes does. Copies are cheap and name
/// the same node.
class VORK_EXPORT XmlNode {
public:
    /// A null handle.
    XmlNode() = default;

    /// A new free-standing element. The name may carry a prefix ("ns2:site");
    /// the prefix is bound to its namespace once the element is placed under
    /// an element that declares it. With text, the element's only child is a
    /// text node holding it (an empty text still makes the child).
    static XmlNode element(const std::string &qualifiedName,
                           const std::optional<std::string> &text = std::nullopt);

    /// Whether the handle names no node.
    bool isNull() const { return node_ == nullptr; }
    /// Whether the handle names a node.
    explicit operator bool() const { return node_ != nullptr; }
    /// Whether both handles name the same node.
    bool operator==(const XmlNode &other) const { return node_ == other.node_; }

    /// The node's kind.
    NodeKind kind() const;
    /// Qualified name as written ("ns2:status"); "" for text and document nodes.
    std::string name() const;
    /// Name without prefix ("status").
    std::string localName() const;
    /// libxml2's string value: an element's concatenated descendant text, an
    /// attribute's value, a text node's content; none for other kinds.
    std::optional<std::string> stringValue() const;

    /// The parent node, or a null handle.
    XmlNode parent() const;
    /// Every child node (elements, text, comments, ...) in document order.
    std::vector<XmlNode> children() const;
    /// Value of the attribute with this (qualified) name, or none.
    std::optional<std::string> attribute(std::string_view qualifiedName) const;

    /// Appends a child. A free-standing node is moved under this element; a
    /// node that already sits in a tree is deep-copied first. Prefixed names
    /// in the added subtree are bound to namespaces declared above them.
    void addChild(const XmlNode &child);
    /// Adds an attribute; a prefixed name is bound to a declared namespace.
    void addAttribute(const std::string &qualifiedName, const std::string &value);
    /// Declares a namespace on this element (xmlns:prefix="uri").
    void addNamespace(const std::string &prefix, const std::string &uri);
    /// A free-standing deep copy.
    XmlNode deepCopy() const;

    /// Evaluates an XPath 1.0 expression with this node as context. Answers
    /// the node-set hits in document order; on an error (or a result that is
    /// not a node set) answers nothing and fills *error when given.
    std::vector<XmlNode> evaluate(const std::string &expression, std::optional<XmlError> *error = nullptr) const;

    /// Compact serialization of this node (no prologue).
    std::string xmlString() const;
    /// Indented serialization, one element a line.
    std::string prettyXml() const;

    /// The libxml2 node (owned by the tree; null for a null handle).
    _xmlNode *raw() const { return node_; }

private:
    friend class XmlDocument;
    XmlNode(std::shared_ptr<detail::Tree> tree, _xmlNode *node) : tree_(std::move(tree)), node_(node) {}

    std::shared_ptr<detail::Tree> tree_;
    _xmlNode *node_ = nullptr;
};

/// A handle on a whole XML document, shared as XmlNode handles are.
class VORK_EXPORT XmlDocument {
public:
    /// A null document.
    XmlDocument() = default;

    /// An empty document: version "1.0", encoding "UTF-8", standalone.
    static XmlDocument create();
    /// Parses bytes. Never throws; on failure answers a null document and
    /// fills *error. Network access and entity loading stay off; blank text
    /// between elements is dropped.
    static XmlDocument parse(std::string_view bytes, std::optional<XmlError> *error = nullptr);
    /// Parses the file at path, as parse does with bytes.
    static XmlDocument parseFile(const std::string &path, std::optional<XmlError> *error = nullptr);

    /// Whether there is no document.
    bool isNull() const { return doc_ == nullptr; }
    /// Whether there is a document.
    explicit operator bool() const { return doc_ != nullptr; }

    /// The document node itself (null handle for a null document).
    XmlNode documentNode() const;
    /// The root element, or a null handle.
    XmlNode rootElement() const;
    /// Makes the element the root (moved, or copied when it sits in a tree).
    void setRootElement(const XmlNode &element);

    /// The declared XML version ("1.0").
    std::string version() const;
    /// The declared encoding ("UTF-8").
    std::string characterEncoding() const;
    /// Whether the document is declared standalone.
    bool standalone() const;

    /// Compact UTF-8 bytes with the XML declaration.
    std::string xmlData() const;
    /// Indented text with the XML declaration.
    std::string prettyXml() const;

private:
    std::shared_ptr<detail::Tree> tree_;
    _xmlDoc *doc_ = nullptr;
};

}  // namespace vork::xml
