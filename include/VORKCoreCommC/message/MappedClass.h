#pragma once
/** \file
 * How command-data classes map to XML. Every class whose objects travel as
 * command data (or inside it) derives from Mapped<Self> and declares, once,
 * a MappedClass: its type name, optionally an alias and an "xsi:type"
 * value, its field order and its fields. The serializer of
 * VCCMessageContent reads and writes objects through that declaration and
 * nothing else, and creates list items by type name through the registry.
 *
 *   class Site : public vork::Mapped<Site> {
 *   public:
 *       int32_t siteID = 0;
 *       std::optional<std::string> name;
 *       std::vector<std::shared_ptr<vork::VCCStringListItem>> privileges;
 *       bool currentUserSite = false;
 *
 *       static const vork::MappedClass &mapping() {
 *           static const vork::MappedClass cls = vork::MappedClass::define<Site>("Site")
 *               .alias("site")
 *               .fieldOrder({"siteID=id", "name", "privileges", "currentUserSite"})
 *               .field("siteID", &Site::siteID)
 *               .field("name", &Site::name)
 *               .field("privileges", &Site::privileges)
 *               .field("currentUserSite", &Site::currentUserSite);
 *           return cls;
 *       }
 *   };
 *
 * The field kind follows the member's type: text (std::string or
 * std::optional<std::string>), integers of any width, floating point, flags
 * (bool), data (ByteVector), nested mapped objects (std::shared_ptr<T>), number
 * and dictionary objects, and lists (std::vector of std::string,
 * NumberObject or std::shared_ptr<T>, optionally inside std::optional). An
 * optional member that is none, or a null object, is not written. Mutable
 * text and mutable data are asked for explicitly with FieldKind.
 *
 * Only a class's own members can be declared: fields of a base class are not
 * seen by the serializer (a member pointer into the base does not compile),
 * and an object whose dynamic class declares no mapping of its own is
 * treated as a class without any declaration.
 */
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeindex>
#include <vector>

#include "VORKCoreCommC/export.h"
#include "VORKCoreCommC/message/FieldTraits.h"
#include "VORKCoreCommC/message/FieldValue.h"

namespace vork {

class MappedClass;

/// _xmlClassAlias, _xmlClassTypeAttr and _xmlFieldOrder, as far as declared.
struct ControlFields {
    std::optional<std::string> classAlias;                ///< _xmlClassAlias: the element name ("" for none).
    std::optional<std::string> classTypeAttr;             ///< _xmlClassTypeAttr: the "xsi:type" value.
    std::optional<std::vector<std::string>> fieldOrder;  ///< _xmlFieldOrder: the field entries in wire order.
};

/// One parsed field-order entry: "field", "field:ElementClass",
/// "field=xmlName" or "field:ElementClass=xmlName".
struct FieldEntry {
    std::string fieldName;                    ///< The member's name.
    std::optional<std::string> elementClass;  ///< The list's element class, when named.
    std::string xmlName;                      ///< The element name (the field name unless renamed).

    /// Splits one entry into its parts.
    static FieldEntry parse(std::string_view entry);
};

/// One declared field: its name, kind and how to read and write it.
struct FieldDescriptor {
    std::string name;                   ///< The member's name.
    FieldKind kind = FieldKind::Text;  ///< How it is written and read.
    /// Reads the field of an object of the declaring class.
    std::function<FieldValue(const MappedObject &)> get;
    /// Writes the field of an object of the declaring class.
    std::function<void(MappedObject &, FieldValue)> set;
    /// Object fields: the new object the reader puts into the field.
    std::function<std::shared_ptr<MappedObject>()> makeObject;
    /// List fields of mapped items: makes sure the item class is registered
    /// before items are created by name.
    std::function<void()> prepareElementClass;
};

/// Base of every object the serializer writes and reads.
class VORK_EXPORT MappedObject {
public:
    virtual ~MappedObject() = default;
    /// The declaration of the object's class (owned by that class, lives for the process).
    virtual const MappedClass &mappedClass() const = 0;
    /// The object's control fields; by default those its class declares.
    /// Objects that choose them per instance (list items) override this.
    virtual const ControlFields &controlFields() const;
};

/// Base of every mapped class: ties the object to Self::mapping().
template <class Self, class Base = MappedObject>
class Mapped : public Base {
public:
    using Base::Base;
    /// Self::mapping().
    const MappedClass &mappedClass() const override { return Self::mapping(); }
};

/// \cond INTERNAL
template <class T>
class MappedClassBuilder;
/// \endcond

/// The declaration of a mapped class: type name, control fields and fields.
class VORK_EXPORT MappedClass {
public:
    /// Starts the declaration of T under its type name.
    template <class T>
    static MappedClassBuilder<T> define(std::string typeName);

    /// The class's type name ("Site").
    const std::string &typeName() const { return typeName_; }
    /// The declared control fields.
    const ControlFields &controlFields() const { return control_; }
    /// The declared fields in declaration order.
    const std::vector<FieldDescriptor> &fields() const { return fields_; }
    /// The field of that name, or null.
    const FieldDescriptor *field(std::string_view name) const;
    /// Position of the field of that name, or -1.
    int indexOfField(std::string_view name) const;
    /// A new default object of the class.
    std::shared_ptr<MappedObject> create() const { return factory_(); }
    /// Whether the object's dynamic class is the one declared here (an
    /// undeclared subclass is not).
    bool isClassOf(const MappedObject &object) const { return std::type_index(typeid(object)) == type_; }

private:
    template <class T>
    friend class MappedClassBuilder;
    MappedClass(std::string typeName, std::type_index type, std::function<std::shared_ptr<MappedObject>()> factory)
        : typeName_(std::move(typeName)), type_(type), factory_(std::move(factory)) {}

    std::string typeName_;
    std::type_index type_;
    std::function<std::shared_ptr<MappedObject>()> factory_;
    ControlFields control_;
    std::vector<FieldDescriptor> fields_;
};

// --- Registry: type name -> factory.

/// Records a factory under a type name (the last registration wins).
VORK_EXPORT void registerMappedClass(const std::string &typeName, std::function<std::shared_ptr<MappedObject>()> factory);
/// A new object of the named class, or null when no class of that name is
/// registered. Classes register themselves when their mapping() is first
/// built.
VORK_EXPORT std::shared_ptr<MappedObject> createMappedObject(std::string_view typeName);

/// Registers T at static initialisation: `static vork::RegisterMappedClass<Site> registerSite;`
template <class T>
struct RegisterMappedClass {
    RegisterMappedClass() { (void)T::mapping(); }
};

// --- Member types to field kinds.


/// Collects the declaration of T; made by MappedClass::define and turned
/// into the MappedClass when assigned to one.
template <class T>
class MappedClassBuilder {
public:
    /// Reads a field of a T.
    using Getter = std::function<FieldValue(const T &)>;
    /// Writes a field of a T.
    using Setter = std::function<void(T &, FieldValue)>;

    /// Declares _xmlClassAlias.
    MappedClassBuilder &alias(std::string alias) {
        cls_.control_.classAlias = std::move(alias);
        return *this;
    }
    /// Declares _xmlClassTypeAttr.
    MappedClassBuilder &typeAttr(std::string typeAttr) {
        cls_.control_.classTypeAttr = std::move(typeAttr);
        return *this;
    }
    /// Declares _xmlFieldOrder.
    MappedClassBuilder &fieldOrder(std::vector<std::string> entries) {
        cls_.control_.fieldOrder = std::move(entries);
        return *this;
    }

    /// A field stored in a member of T itself; the kind follows the
    /// member's type.
    template <class C, class M>
    MappedClassBuilder &field(std::string name, M C::*member) {
        static_assert(std::is_same_v<C, T>,
                      "only members declared in the mapped class itself are seen by the serializer");
        static_assert(mapping_detail::Traits<M>::supported, "member type has no XML mapping");
        return field(std::move(name), member, mapping_detail::Traits<M>::kind);
    }

    /// The same with an explicit kind: FieldKind::MutableText on a text
    /// member, FieldKind::MutableData on a data member.
    template <class C, class M>
    MappedClassBuilder &field(std::string name, M C::*member, FieldKind kind) {
        static_assert(std::is_same_v<C, T>,
                      "only members declared in the mapped class itself are seen by the serializer");
        using Tr = mapping_detail::Traits<M>;
        static_assert(Tr::supported, "member type has no XML mapping");
        FieldDescriptor d;
        d.name = std::move(name);
        d.kind = kind;
        d.get = [member](const MappedObject &o) { return Tr::get(static_cast<const T &>(o).*member); };
        d.set = [member](MappedObject &o, FieldValue v) { Tr::set(static_cast<T &>(o).*member, std::move(v)); };
        using Element = typename mapping_detail::ElementOf<M>::type;
        if constexpr (mapping_detail::isMappedPtr<Element>()) {
            using ItemClass = typename mapping_detail::IsSharedPtr<Element>::element;
            if constexpr (requires { ItemClass::mapping(); })
                d.prepareElementClass = [] { (void)ItemClass::mapping(); };
        }
        using Plain = typename mapping_detail::IsOptional<M>::element;
        if constexpr (mapping_detail::IsSharedPtr<Plain>::value) {
            using ObjectClass = typename mapping_detail::IsSharedPtr<Plain>::element;
            if constexpr (std::is_default_constructible_v<ObjectClass> && !std::is_abstract_v<ObjectClass>)
                d.makeObject = [] { return std::static_pointer_cast<MappedObject>(std::make_shared<ObjectClass>()); };
        }
        cls_.fields_.push_back(std::move(d));
        return *this;
    }

    /// A field read and written through functions.
    MappedClassBuilder &field(std::string name, FieldKind kind, Getter get, Setter set,
                              std::function<std::shared_ptr<MappedObject>()> makeObject = nullptr) {
        FieldDescriptor d;
        d.name = std::move(name);
        d.kind = kind;
        d.get = [get = std::move(get)](const MappedObject &o) { return get(static_cast<const T &>(o)); };
        d.set = [set = std::move(set)](MappedObject &o, FieldValue v) { set(static_cast<T &>(o), std::move(v)); };
        d.makeObject = std::move(makeObject);
        cls_.fields_.push_back(std::move(d));
        return *this;
    }

    /// Finishes the declaration and registers T under its type name. The
    /// builder is spent afterwards.
    operator MappedClass() {
        registerMappedClass(cls_.typeName_, cls_.factory_);
        return std::move(cls_);
    }

private:
    friend class MappedClass;
    explicit MappedClassBuilder(std::string typeName)
        : cls_(std::move(typeName), std::type_index(typeid(T)), [] {
              if constexpr (std::is_default_constructible_v<T> && !std::is_abstract_v<T>)
                  return std::static_pointer_cast<MappedObject>(std::make_shared<T>());
              else
                  return std::shared_ptr<MappedObject>();
          }) {}

    MappedClass cls_;
};

template <class T>
MappedClassBuilder<T> MappedClass::define(std::string typeName) {
    static_assert(std::is_base_of_v<MappedObject, T>, "mapped classes derive from vork::Mapped<Self>");
    return MappedClassBuilder<T>(std::move(typeName));
}

}  // namespace vork
