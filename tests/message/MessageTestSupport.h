#pragma once
// Doubles and sample mapped classes shared by the message tests (the server
// session tests use the doubles, the reply fuzz target the classes).
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "message/ListItems.h"
#include "message/MappedClass.h"
#include "platform/Clock.h"
#include "platform/MachineIdentity.h"
#include "platform/NetworkInterfaces.h"

namespace vork::test {

// A clock pinned at the given seconds (and milliseconds) after 1970.
struct FixedClock : platform::Clock {
    std::chrono::system_clock::time_point at;
    std::chrono::system_clock::time_point now() override { return at; }
};
inline std::shared_ptr<FixedClock> clockAt(int64_t seconds, int64_t millis = 0) {
    auto clock = std::make_shared<FixedClock>();
    clock->at = std::chrono::system_clock::time_point(std::chrono::seconds(seconds) + std::chrono::milliseconds(millis));
    return clock;
}

// Machine doubles; the identity counts how often it is asked, or fails.
class FakeMachineIdentity : public platform::MachineIdentity {
public:
    explicit FakeMachineIdentity(std::optional<std::string> uuid, bool fails = false) : uuid(std::move(uuid)), fails(fails) {}
    std::optional<std::string> hardwareUuid() override {
        if (fails) throw std::runtime_error("firmware table unreadable");
        return ++calls, uuid;
    }
    std::optional<std::string> uuid;
    bool fails;
    int calls = 0;
};

class FakeNetworkInterfaces : public platform::NetworkInterfaces {
public:
    explicit FakeNetworkInterfaces(std::vector<platform::NetworkInterface> list = {}) : interfaces(std::move(list)) {}
    std::vector<platform::NetworkInterface> list() override { return interfaces; }
    std::vector<platform::NetworkInterface> interfaces;
};

// --- Sample command-data classes (the fuzz targets read replies into them too)

// A list item class with an "xsi:type".
class Label : public Mapped<Label> {
public:
    std::optional<std::string> text;
    int64_t weight = 0;
    static const MappedClass &mapping() {
        static const MappedClass cls = MappedClass::define<Label>("Label").alias("label").typeAttr("ns2:LabelType")
            .fieldOrder({"text", "weight"}).field("text", &Label::text).field("weight", &Label::weight);
        return cls;
    }
};

// Every field kind.
class Crate : public Mapped<Crate> {
public:
    int32_t crateID = 0;
    std::optional<std::string> name;
    std::optional<std::string> notes;  // mutable text
    uint8_t small = 0;
    double ratio = 0;
    bool sealed = false;
    std::optional<Bytes> payload;
    std::optional<Bytes> scratch;  // mutable data
    std::shared_ptr<Label> mainLabel;
    std::optional<NumberObject> volume;
    std::optional<Dictionary> extras;
    std::vector<std::shared_ptr<Label>> labels;
    std::vector<std::shared_ptr<VCCStringListItem>> tags;
    std::optional<std::vector<std::string>> names;
    std::optional<std::vector<NumberObject>> counts;
    std::vector<std::shared_ptr<VCCDataListItem>> parts;
    static const MappedClass &mapping() {
        static const MappedClass cls = MappedClass::define<Crate>("Crate").alias("crate")
            .fieldOrder({"crateID=id", "name", "notes", "small", "ratio", "sealed", "payload", "scratch", "mainLabel", "volume",
                         "extras", "labels:Label", "tags:VCCStringListItem", "names:NSString", "counts:NSNumber",
                         "parts:VCCDataListItem", "noSuchField"})
            .field("crateID", &Crate::crateID).field("name", &Crate::name)
            .field("notes", &Crate::notes, FieldKind::MutableText).field("small", &Crate::small)
            .field("ratio", &Crate::ratio).field("sealed", &Crate::sealed).field("payload", &Crate::payload)
            .field("scratch", &Crate::scratch, FieldKind::MutableData).field("mainLabel", &Crate::mainLabel)
            .field("volume", &Crate::volume).field("extras", &Crate::extras).field("labels", &Crate::labels)
            .field("tags", &Crate::tags).field("names", &Crate::names).field("counts", &Crate::counts)
            .field("parts", &Crate::parts);
        return cls;
    }
};

// A list whose item class does not exist.
class Shelf : public Mapped<Shelf> {
public:
    std::vector<std::shared_ptr<Label>> items;
    static const MappedClass &mapping() {
        static const MappedClass cls = MappedClass::define<Shelf>("ShelfResponse")
            .fieldOrder({"items:NoSuchClass"}).field("items", &Shelf::items);
        return cls;
    }
};

// A subclass that declares its own field and names the base's field too:
// the base field is not seen.
class StickyLabel : public Mapped<StickyLabel, Label> {
public:
    std::optional<std::string> glue;
    static const MappedClass &mapping() {
        static const MappedClass cls = MappedClass::define<StickyLabel>("StickyLabel")
            .fieldOrder({"text", "glue"}).field("glue", &StickyLabel::glue);
        return cls;
    }
};

// A subclass that declares nothing of its own.
class PlainLabel : public Label {};

// A class without field order.
class BareRequest : public Mapped<BareRequest> {
public:
    std::optional<std::string> value = std::string("never written");
    static const MappedClass &mapping() {
        static const MappedClass cls =
            MappedClass::define<BareRequest>("BareRequest").field("value", &BareRequest::value);
        return cls;
    }
};

}  // namespace vork::test
