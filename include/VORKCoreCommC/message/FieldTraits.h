#pragma once
/** \file
 * How the type of a mapped class's member decides its field kind, and the
 * conversions between the member and a FieldValue (used by
 * MappedClassBuilder::field).
 */
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "VORKCoreCommC/message/FieldValue.h"

namespace vork {

/// \cond INTERNAL

namespace mapping_detail {

template <class T>
struct IsSharedPtr : std::false_type {};
template <class T>
struct IsSharedPtr<std::shared_ptr<T>> : std::true_type {
    using element = T;
};
template <class T>
struct IsVector : std::false_type {};
template <class T>
struct IsVector<std::vector<T>> : std::true_type {
    using element = T;
};
template <class T>
struct IsOptional : std::false_type {
    using element = T;
};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {
    using element = T;
};

template <class E>
constexpr bool isMappedPtr() {
    if constexpr (IsSharedPtr<E>::value) return std::is_base_of_v<MappedObject, typename IsSharedPtr<E>::element>;
    else return false;
}

template <class E>
constexpr bool isListElement() {
    return std::is_same_v<E, std::string> || std::is_same_v<E, NumberObject> || isMappedPtr<E>();
}

// The kind, and the conversions between the member and FieldValue.
template <class M, class = void>
struct Traits {
    static constexpr bool supported = false;
};

// A member the FieldValue holds as the same type.
template <class M, FieldKind Kind>
struct SameType {
    static constexpr bool supported = true;
    static constexpr FieldKind kind = Kind;
    static FieldValue get(const M &m) { return m; }
    static void set(M &m, FieldValue v) {
        if (auto *held = std::get_if<M>(&v)) m = std::move(*held);
    }
};

template <>
struct Traits<std::string> : SameType<std::string, FieldKind::Text> {};

template <>
struct Traits<bool> : SameType<bool, FieldKind::Flag> {};

template <class M>
struct Traits<M, std::enable_if_t<std::is_integral_v<M> && !std::is_same_v<M, bool>>> {
    static constexpr bool supported = true;
    static constexpr FieldKind kind = FieldKind::Integer;
    static FieldValue get(M m) {
        if constexpr (std::is_unsigned_v<M> && sizeof(M) >= sizeof(int64_t)) {
            if (m > static_cast<M>(std::numeric_limits<int64_t>::max())) return std::numeric_limits<int64_t>::max();
        }
        return static_cast<int64_t>(m);
    }
    static void set(M &m, FieldValue v) {
        auto *i = std::get_if<int64_t>(&v);
        if (!i) return;
        int64_t value = *i;
        // Saturate into the member's range.
        if constexpr (std::is_signed_v<M>) {
            if (value < static_cast<int64_t>(std::numeric_limits<M>::min())) value = std::numeric_limits<M>::min();
            if (value > static_cast<int64_t>(std::numeric_limits<M>::max())) value = std::numeric_limits<M>::max();
            m = static_cast<M>(value);
        } else {
            if (value < 0) value = 0;
            if (sizeof(M) < sizeof(int64_t) && static_cast<uint64_t>(value) > static_cast<uint64_t>(std::numeric_limits<M>::max()))
                m = std::numeric_limits<M>::max();
            else
                m = static_cast<M>(value);
        }
    }
};

template <class M>
struct Traits<M, std::enable_if_t<std::is_floating_point_v<M>>> {
    static constexpr bool supported = true;
    static constexpr FieldKind kind = FieldKind::Real;
    static FieldValue get(M m) { return static_cast<double>(m); }
    static void set(M &m, FieldValue v) {
        if (auto *d = std::get_if<double>(&v)) m = static_cast<M>(*d);
    }
};

template <>
struct Traits<ByteVector> : SameType<ByteVector, FieldKind::Data> {};

template <>
struct Traits<NumberObject> : SameType<NumberObject, FieldKind::Number> {};

template <>
struct Traits<Dictionary> : SameType<Dictionary, FieldKind::Dictionary> {};

template <class E>
struct Traits<std::shared_ptr<E>, std::enable_if_t<std::is_base_of_v<MappedObject, E>>> {
    static constexpr bool supported = true;
    static constexpr FieldKind kind = FieldKind::Object;
    static FieldValue get(const std::shared_ptr<E> &m) {
        if (!m) return std::monostate{};
        return std::static_pointer_cast<MappedObject>(m);
    }
    static void set(std::shared_ptr<E> &m, FieldValue v) {
        if (auto *o = std::get_if<std::shared_ptr<MappedObject>>(&v)) m = std::dynamic_pointer_cast<E>(*o);
    }
};

template <class E>
struct Traits<std::vector<E>, std::enable_if_t<isListElement<E>()>> {
    static constexpr bool supported = true;
    static constexpr FieldKind kind = FieldKind::List;
    static FieldValue get(const std::vector<E> &m) {
        ListValue out;
        out.reserve(m.size());
        for (const E &item : m) {
            if constexpr (isMappedPtr<E>()) {
                if (item) out.emplace_back(std::static_pointer_cast<MappedObject>(item));
            } else {
                out.emplace_back(item);
            }
        }
        return out;
    }
    // Items of another class than the member holds cannot live in it and
    // are left out.
    static void set(std::vector<E> &m, FieldValue v) {
        auto *list = std::get_if<ListValue>(&v);
        if (!list) return;
        std::vector<E> out;
        for (ListItem &item : *list) {
            if constexpr (isMappedPtr<E>()) {
                if (auto *o = std::get_if<std::shared_ptr<MappedObject>>(&item)) {
                    if (auto typed = std::dynamic_pointer_cast<typename IsSharedPtr<E>::element>(*o))
                        out.push_back(std::move(typed));
                }
            } else {
                if (auto *e = std::get_if<E>(&item)) out.push_back(std::move(*e));
            }
        }
        m = std::move(out);
    }
};

// An optional member: none reads as "none"; a value sets it.
template <class E>
struct Traits<std::optional<E>, std::enable_if_t<Traits<E>::supported>> {
    static constexpr bool supported = true;
    static constexpr FieldKind kind = Traits<E>::kind;
    static FieldValue get(const std::optional<E> &m) {
        if (!m) return std::monostate{};
        return Traits<E>::get(*m);
    }
    static void set(std::optional<E> &m, FieldValue v) {
        if (std::holds_alternative<std::monostate>(v)) {
            m.reset();
            return;
        }
        E value{};
        Traits<E>::set(value, std::move(v));
        m = std::move(value);
    }
};

template <class M>
struct ElementOf {
    using type = void;
};
template <class E>
struct ElementOf<std::vector<E>> {
    using type = E;
};
template <class E>
struct ElementOf<std::optional<std::vector<E>>> {
    using type = E;
};

}  // namespace mapping_detail

/// \endcond

}  // namespace vork
