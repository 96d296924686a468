#pragma once
// Doubles and sample mapped classes shared by the message tests.
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Exception.h"
#include "message/ListItems.h"
#include "message/MappedClass.h"
#include "platform/Clock.h"
#include "platform/MachineIdentity.h"
#include "platform/NetworkInterfaces.h"

namespace vork::test {

class FixedClock : public platform::Clock {
public:
    explicit FixedClock(std::chrono::system_clock::time_point now) : now_(now) {}
    std::chrono::system_clock::time_point now() override { return now_; }

private:
    std::chrono::system_clock::time_point now_;
};

// A clock at the given seconds (and milliseconds) after 1970.
inline std::shared_ptr<FixedClock> clockAt(int64_t seconds, int64_t millis = 0) {
    return std::make_shared<FixedClock>(std::chrono::system_clock::time_point(std::chrono::seconds(seconds) +
                                                                              std::chrono::milliseconds(millis)));
}

// Machine doubles that count how often they are asked.
class FakeMachineIdentity : public platform::MachineIdentity {
public:
    explicit FakeMachineIdentity(std::optional<std::string> uuid) : uuid(std::move(uuid)) {}
    std::optional<std::string> hardwareUuid() override { return ++calls, uuid; }
    std::optional<std::string> uuid;
    int calls = 0;
};

class FakeNetworkInterfaces : public platform::NetworkInterfaces {
public:
    explicit FakeNetworkInterfaces(std::vector<platform::NetworkInterface> list = {}) : interfaces(std::move(list)) {}
    std::vector<platform::NetworkInterface> list() override { return interfaces; }
    std::vector<platform::NetworkInterface> interfaces;
};

// The exception fn raises, if any.
template <class Fn>
std::optional<Exception> raised(Fn &&fn) {
    try {
        fn();
    } catch (const Exception &e) {
        return e;
    }
    return std::nullopt;
}

// --- Sample command-data classes

// Derived element name "ping"; one field of each scalar kind.
class PingRequest : public Mapped<PingRequest> {
public:
    bool invalidate = false;
    int32_t count = 0;
    std::optional<std::string> note;
    double ratio = 0;
    std::optional<Bytes> blob;
    static const MappedClass &mapping() {
        static const MappedClass cls = MappedClass::define<PingRequest>("PingRequest")
            .fieldOrder({"invalidate", "count", "note", "ratio", "blob"})
            .field("note", &PingRequest::note).field("invalidate", &PingRequest::invalidate)
            .field("count", &PingRequest::count).field("ratio", &PingRequest::ratio).field("blob", &PingRequest::blob);
        return cls;
    }
};

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
            .fieldOrder({"crateID=id", "name", "notes", "small", "sealed", "payload", "scratch", "mainLabel", "volume",
                         "extras", "labels:Label", "tags:VCCStringListItem", "names:NSString", "counts:NSNumber",
                         "parts:VCCDataListItem", "noSuchField"})
            .field("crateID", &Crate::crateID).field("name", &Crate::name)
            .field("notes", &Crate::notes, FieldKind::MutableText).field("small", &Crate::small)
            .field("sealed", &Crate::sealed).field("payload", &Crate::payload)
            .field("scratch", &Crate::scratch, FieldKind::MutableData).field("mainLabel", &Crate::mainLabel)
            .field("volume", &Crate::volume).field("extras", &Crate::extras).field("labels", &Crate::labels)
            .field("tags", &Crate::tags).field("names", &Crate::names).field("counts", &Crate::counts)
            .field("parts", &Crate::parts);
        return cls;
    }
};

// A site as the server's site list has it: the privileges entry names no
// item class, which writes fine and fails to read.
class LooseSite : public Mapped<LooseSite> {
public:
    int32_t siteID = 0;
    std::optional<std::string> name;
    std::vector<std::shared_ptr<VCCStringListItem>> privileges;
    bool currentUserSite = false;
    static const MappedClass &mapping() {
        static const MappedClass cls = MappedClass::define<LooseSite>("LooseSite").alias("site")
            .fieldOrder({"siteID=id", "name", "privileges", "currentUserSite"})
            .field("siteID", &LooseSite::siteID).field("name", &LooseSite::name)
            .field("privileges", &LooseSite::privileges).field("currentUserSite", &LooseSite::currentUserSite);
        return cls;
    }
};

class LooseSitesResponse : public Mapped<LooseSitesResponse> {
public:
    std::vector<std::shared_ptr<LooseSite>> sites;
    static const MappedClass &mapping() {
        static const MappedClass cls = MappedClass::define<LooseSitesResponse>("LooseSitesResponse")
            .alias("clientSitePrivileges").fieldOrder({"sites:LooseSite"}).field("sites", &LooseSitesResponse::sites);
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
