#pragma once
// The declaration that applies to a mapped object and its fields in wire
// order: shared by the reading and the writing of command data.
#include "VORKCoreCommC/message/MappedClass.h"

namespace vork::fieldorder {

// The type name the field order gives for number items of a list.
constexpr const char kNumberClass[] = "NSNumber";

// The object's own class's declaration, or none for an object of a
// subclass that declares nothing itself.
inline const MappedClass *declaredClass(const MappedObject &object) {
    const MappedClass &cls = object.mappedClass();
    return cls.isClassOf(object) ? &cls : nullptr;
}

inline const ControlFields &controlsOf(const MappedObject &object) {
    static const ControlFields none;
    return declaredClass(object) ? object.controlFields() : none;
}

// Each entry of the object's field order whose field its class declares, in
// that order; nothing for an object without a declaration or field order.
template <class Visit>
void forEachOrderedField(const MappedObject &object, Visit visit) {
    const MappedClass *cls = declaredClass(object);
    const ControlFields &controls = controlsOf(object);
    if (!cls || !controls.fieldOrder) return;
    for (const std::string &text : *controls.fieldOrder) {
        const FieldEntry entry = FieldEntry::parse(text);
        if (const FieldDescriptor *field = cls->field(entry.fieldName)) visit(entry, *field);
    }
}

}  // namespace vork::fieldorder
