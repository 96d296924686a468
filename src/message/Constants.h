#pragma once
// Identifiers the agent and the management server agree on. Each value
// lives here and nowhere else.

namespace vork {

// The agent's reverse-domain application identifier: written into every
// outgoing message and the prefix of every request type.
inline constexpr const char kApplicationIdentifier[] = "io.vork.agent";

// The XML namespace of the message envelope and of the status-code table.
inline constexpr const char kVorkMessageNamespace[] = "http://vork.io/VORKMessage";

// The XML Schema instance namespace (for "xsi:type" and "xsi:schemaLocation").
inline constexpr const char kXmlSchemaInstanceNamespace[] = "http://www.w3.org/2001/XMLSchema-instance";

}  // namespace vork
