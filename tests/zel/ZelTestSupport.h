#pragma once
// Shared pieces of the server-session tests: pointing the process's session
// at a reference server, and reading what the server recorded.
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Json.h"
#include "support/Nginx.h"
#include "support/RefServer.h"

namespace vork::test {

// Points the process's server session at the server, with its user and
// password and the certificate switch on for a TLS server.
void useServer(const RefServer &server);

// Every message posted to the server's /client resource, oldest first
// (posts without a body are counted by emptyClientPosts).
std::vector<Json> clientRequests(const RefServer &server);
size_t emptyClientPosts(const RefServer &server);
// The newest one; fails the test when there is none.
Json lastClientRequest(const RefServer &server);

// The command-data fields of a record, as written: (name, text) in order.
std::vector<std::pair<std::string, std::string>> fieldsOf(const Json &record);

// The status code of the first content of a response message's XML, or -1
// when it has no content.
int statusCodeOf(std::string_view xml);

// A 127.0.0.1 port on which nothing listens.
inline int closedPort() { return freeLoopbackPort(); }

}  // namespace vork::test
