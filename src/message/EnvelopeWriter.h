#pragma once
// How the envelope classes are written, once for both kinds of sink: a tree
// for callers that ask for one, bytes for the documents the library sends.
#include <string>

#include "VORKCoreCommC/message/VCCMessage.h"
#include "xml/ElementSink.h"

namespace vork::envelope {

void writeMessage(VCCMessage &message, xml::ElementSink &sink, MissingDeviceInfo missing);
// The namespace declarations and schema location of the envelope root,
// onto the element started last.
void writeSchema(xml::ElementSink &sink);
void writeDevice(VCCDevice &device, xml::ElementSink &sink, MissingDeviceInfo missing);
void writeContent(const VCCMessageContent &content, xml::ElementSink &sink);
void writeCommandData(const VCCMessageContent &content, xml::ElementSink &sink);
// The object's fields, in field-order order, inside the element started last.
void writeFields(const MappedObject &object, xml::ElementSink &sink);
void writeProperty(const FieldValue &value, xml::ElementSink &sink, const std::string &tagName);
// "xsi:type" when the object declares a non-empty type attribute.
void writeTypeAttribute(const MappedObject &object, xml::ElementSink &sink);

}  // namespace vork::envelope
