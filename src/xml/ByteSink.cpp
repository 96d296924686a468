#include "xml/ByteSink.h"

#include <cstring>

#include "xml/CompactWriter.h"

namespace vork::xml {

namespace {

// The part of a name after its prefix.
const char *localPart(const char *name) {
    const char *colon = std::strchr(name, ':');
    return colon ? colon + 1 : name;
}

}  // namespace

ByteSink::ByteSink() {
    out_.reserve(2048);
    open_.reserve(16);
    tagNames_.reserve(4);
    out_ = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
}

// Names and values end at a NUL, as they do in the tree.
void ByteSink::start(const std::string &name, const std::optional<std::string> &text) {
    if (failed_ || (depth_ == 0 && rootDone_)) {
        failed_ = true;
        return;
    }
    if (tagOpen_) closeStartTag();
    out_ += '<';
    out_ += name.c_str();
    if (depth_ == open_.size()) open_.emplace_back();
    open_[depth_++].assign(name.c_str());
    tagOpen_ = true;
    hasText_ = text.has_value();
    if (hasText_) pendingText_.assign(*text);
    tagNames_.clear();
    tagHasAttributes_ = false;
}

void ByteSink::declareNamespace(const std::string &prefix, const std::string &uri) {
    // Declarations come before attributes in libxml2's output whatever the
    // order they were made in.
    if (failed_ || !tagOpen_ || tagHasAttributes_ || prefix.find('\0') != std::string::npos ||
        std::strchr(uri.c_str(), '"')) {
        failed_ = true;
        return;
    }
    // The "xml" prefix is never declared; a prefix declared twice keeps
    // its first declaration.
    if (prefix == "xml" || !fits(prefix, true)) return;
    out_ += prefix.empty() ? " xmlns=\"" : " xmlns:";
    if (!prefix.empty()) {
        out_ += prefix;
        out_ += "=\"";
    }
    out_ += uri.c_str();
    out_ += '"';
}

void ByteSink::attribute(const std::string &name, const std::string &value) {
    // An attribute given twice replaces the first in place: left to the tree.
    if (failed_ || !tagOpen_ || !fits(name, false)) {
        failed_ = true;
        return;
    }
    tagHasAttributes_ = true;
    out_ += ' ';
    out_ += name.c_str();
    out_ += "=\"";
    if (!detail::appendEscaped(out_, value.c_str(), true)) failed_ = true;
    out_ += '"';
}

bool ByteSink::fits(const std::string &name, bool isNamespace) {
    // Namespaces are told apart by prefix, attributes by local name (a
    // conservative test: two prefixes may name one namespace).
    const std::string key = (isNamespace ? "xmlns " : "") + std::string(isNamespace ? name.c_str() : localPart(name.c_str()));
    for (const std::string &given : tagNames_)
        if (given == key) return false;
    tagNames_.push_back(key);
    return true;
}

void ByteSink::closeStartTag() {
    out_ += '>';
    tagOpen_ = false;
    if (hasText_ && !detail::appendEscaped(out_, pendingText_.c_str(), false)) failed_ = true;
}

void ByteSink::end() {
    if (failed_ || depth_ == 0) {
        failed_ = true;
        return;
    }
    const std::string &name = open_[depth_ - 1];
    if (tagOpen_ && !hasText_) {
        out_ += "/>";
        tagOpen_ = false;
    } else {
        if (tagOpen_) closeStartTag();
        out_ += "</";
        out_ += name;
        out_ += '>';
    }
    if (--depth_ == 0) {
        out_ += '\n';
        rootDone_ = true;
    }
}

void ByteSink::copy(const XmlNode &element) {
    if (failed_ || depth_ == 0) {
        failed_ = true;
        return;
    }
    if (tagOpen_) closeStartTag();
    if (!detail::writeCompactCopy(element.raw(), out_)) failed_ = true;
}

std::optional<std::string> ByteSink::take() {
    if (failed_ || depth_ != 0 || !rootDone_) return std::nullopt;
    return std::move(out_);
}

}  // namespace vork::xml
