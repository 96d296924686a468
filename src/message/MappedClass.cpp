#include "message/MappedClass.h"

#include <mutex>
#include <unordered_map>

#include "util/Strings.h"

namespace vork {

const ControlFields &MappedObject::controlFields() const { return mappedClass().controlFields(); }

FieldEntry FieldEntry::parse(std::string_view entry) {
    FieldEntry out;
    std::vector<std::string> byEquals = util::split(entry, "=");
    std::vector<std::string> byColon = util::split(byEquals[0], ":");
    out.fieldName = byColon[0];
    if (byColon.size() > 1) out.elementClass = byColon[1];
    out.xmlName = byEquals.size() > 1 ? byEquals[1] : out.fieldName;
    return out;
}

const FieldDescriptor *MappedClass::field(std::string_view name) const {
    int index = indexOfField(name);
    return index < 0 ? nullptr : &fields_[static_cast<size_t>(index)];
}

int MappedClass::indexOfField(std::string_view name) const {
    for (size_t i = 0; i < fields_.size(); ++i)
        if (fields_[i].name == name) return static_cast<int>(i);
    return -1;
}

namespace {

struct Registry {
    std::mutex mutex;
    std::unordered_map<std::string, std::function<std::shared_ptr<MappedObject>()>> factories;
};

Registry &registry() {
    static Registry instance;
    return instance;
}

}  // namespace

void registerMappedClass(const std::string &typeName, std::function<std::shared_ptr<MappedObject>()> factory) {
    Registry &r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.factories[typeName] = std::move(factory);
}

std::shared_ptr<MappedObject> createMappedObject(std::string_view typeName) {
    std::function<std::shared_ptr<MappedObject>()> factory;
    {
        Registry &r = registry();
        std::lock_guard<std::mutex> lock(r.mutex);
        auto it = r.factories.find(std::string(typeName));
        if (it == r.factories.end()) return nullptr;
        factory = it->second;
    }
    return factory ? factory() : nullptr;
}

}  // namespace vork
