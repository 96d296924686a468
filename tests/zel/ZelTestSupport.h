#pragma once
// Shared pieces of the server-session tests: pointing the process's session
// at a reference server, and reading what the server recorded (its request
// records are JSON text, checked for the key-value pairs it writes).
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/Nginx.h"
#include "support/RefServer.h"

namespace vork::test {

using Fields = std::vector<std::pair<std::string, std::string>>;

// Points the process's server session at the server, with its user and
// password and the certificate switch on for a TLS server.
void useServer(const RefServer &server);

size_t occurrences(const std::string &text, const std::string &needle);
// Messages (posts with a body) that reached /client since the last clear.
size_t clientMessages(const RefServer &server);
// `"key": "value"`, and a command's fields in order, as the records spell them.
std::string jsonPair(const std::string &key, const std::string &value);
std::string fieldsJson(const Fields &fields);
// Fails the test for each part the server's records do not hold.
void expectRecorded(const RefServer &server, const std::vector<std::string> &parts);

// A test whose own reference server is the process's session's server.
class OnServer : public ::testing::Test {
protected:
    void SetUp() override { useServer(server); }
    RefServer server;
};

// The status code of the first content of a response message's XML, or -1
// when it has no content.
int statusCodeOf(std::string_view xml);

}  // namespace vork::test
