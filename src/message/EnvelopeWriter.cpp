#include "message/EnvelopeWriter.h"

#include <charconv>

#include "base/Format.h"
#include "message/Constants.h"
#include "message/FieldOrder.h"
#include "message/JavaDate.h"
#include "util/Base64.h"

namespace vork::envelope {

namespace {

std::string decimal(double value) {
    char buffer[64];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, result.ptr);
}

void writeList(const ListValue &items, xml::ElementSink &sink) {
    for (const ListItem &item : items) {
        if (std::holds_alternative<std::string>(item)) {
            // Plain text has the name "" and no fields: nothing to write.
            continue;
        }
        if (std::holds_alternative<NumberObject>(item)) {
            sink.leaf("ns2:" + VCCMessageContent::nodeNameFromClass(fieldorder::kNumberClass));
            continue;
        }
        const auto &object = std::get<std::shared_ptr<MappedObject>>(item);
        if (!object) continue;
        std::string name = VCCMessageContent::nodeNameFromObject(*object);
        if (name.empty()) {
            writeFields(*object, sink);
            continue;
        }
        sink.start("ns2:" + name);
        writeTypeAttribute(*object, sink);
        writeFields(*object, sink);
        sink.end();
    }
}

}  // namespace

void writeMessage(VCCMessage &message, xml::ElementSink &sink, MissingDeviceInfo missing) {
    sink.start("ns2:vorkMessage");
    writeSchema(sink);
    writeDevice(message.device(), sink, missing);
    sink.leaf("application", message.application());
    sink.leaf("messageTimestamp", javaEpochString(message.messageTimestamp()));
    for (const auto &content : message.contents()) writeContent(*content, sink);
    sink.end();
}

void writeSchema(xml::ElementSink &sink) {
    sink.declareNamespace("ns2", kVorkMessageNamespace);
    sink.declareNamespace("xsi", kXmlSchemaInstanceNamespace);
    sink.attribute("xsi:schemaLocation",
                   stringf("%s ../src/main/resources/schema/VORKCommunicationSchema.xsd", kVorkMessageNamespace));
}

void writeDevice(VCCDevice &device, xml::ElementSink &sink, MissingDeviceInfo missing) {
    if (missing == MissingDeviceInfo::Retrieve) device.retrieveMissingDeviceInfo();
    sink.start("device");
    sink.leaf("uuid", device.uuid());
    sink.start("macAddresses");
    if (const auto &addresses = device.macAddresses()) {
        for (const VCCMacAddress &mac : *addresses) {
            sink.start("macAddress", mac.address());
            sink.attribute("bsdName", mac.bsdName().value_or(""));
            sink.end();
        }
    }
    sink.end();
    sink.end();
}

void writeContent(const VCCMessageContent &content, xml::ElementSink &sink) {
    const CommandData &data = content.commandData();
    if (auto *raw = std::get_if<xml::XmlNode>(&data); raw && raw->kind() == xml::NodeKind::Element) {
        // Pre-built content goes out as it stands.
        sink.copy(*raw);
        return;
    }
    sink.start("content");
    sink.attribute("xsi:type", "ns2:RequestContent");
    sink.leaf("uuid", content.uuid());
    sink.leaf("commandType", content.commandType());
    if (const auto &status = content.status()) {
        // A request's status carries its code and the time of writing.
        sink.start("status");
        sink.leaf("code", stringf("%ld", static_cast<long>(status->code())));
        sink.leaf("timestamp", javaEpochString(dateNow()));
        sink.end();
    }
    writeCommandData(content, sink);
    sink.end();
}

void writeCommandData(const VCCMessageContent &content, xml::ElementSink &sink) {
    const CommandData &data = content.commandData();
    if (auto *raw = std::get_if<xml::XmlNode>(&data)) {
        if (raw->kind() != xml::NodeKind::Element) return;
        sink.start("commandData");
        sink.copy(*raw);
        sink.end();
        return;
    }
    if (std::holds_alternative<std::string>(data)) {
        // Plain text has no element name and no fields.
        sink.leaf("commandData");
        return;
    }
    auto *object = std::get_if<std::shared_ptr<MappedObject>>(&data);
    if (!object || !*object) return;
    sink.start("commandData");
    std::string name = VCCMessageContent::nodeNameFromObject(**object);
    if (name.empty()) {
        writeFields(**object, sink);
    } else {
        sink.start(name);
        writeTypeAttribute(**object, sink);
        writeFields(**object, sink);
        sink.end();
    }
    sink.end();
}

void writeFields(const MappedObject &object, xml::ElementSink &sink) {
    fieldorder::forEachOrderedField(object, [&](const FieldEntry &entry, const FieldDescriptor &field) {
        FieldValue value = field.get(object);
        if (!std::holds_alternative<std::monostate>(value)) writeProperty(value, sink, "ns2:" + entry.xmlName);
    });
}

void writeProperty(const FieldValue &value, xml::ElementSink &sink, const std::string &tagName) {
    struct Writer {
        xml::ElementSink &sink;
        const std::string &tag;
        void operator()(std::monostate) const {}
        void operator()(const std::string &text) const { sink.leaf(tag, text); }
        void operator()(int64_t number) const { sink.leaf(tag, stringf("%lld", static_cast<long long>(number))); }
        void operator()(double number) const { sink.leaf(tag, decimal(number)); }
        void operator()(bool flag) const { sink.leaf(tag, std::string(flag ? "1" : "0")); }
        void operator()(const ByteVector &data) const {
            sink.leaf(tag, util::base64EncodedString(data.data(), data.size()));
        }
        void operator()(const std::shared_ptr<MappedObject> &object) const {
            if (!object) return;
            // A nested object gets no "xsi:type".
            sink.start(tag);
            writeFields(*object, sink);
            sink.end();
        }
        // Number and dictionary objects have no fields: empty elements.
        void operator()(const NumberObject &) const { sink.leaf(tag); }
        void operator()(const Dictionary &) const { sink.leaf(tag); }
        void operator()(const ListValue &items) const {
            sink.start(tag);
            writeList(items, sink);
            sink.end();
        }
    };
    std::visit(Writer{sink, tagName}, value);
}

void writeTypeAttribute(const MappedObject &object, xml::ElementSink &sink) {
    const ControlFields &controls = fieldorder::controlsOf(object);
    if (controls.classTypeAttr && !controls.classTypeAttr->empty()) sink.attribute("xsi:type", *controls.classTypeAttr);
}

}  // namespace vork::envelope
