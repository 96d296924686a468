#include "ZelTestSupport.h"

#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>

#include "message/VCCMessage.h"

namespace vork::test {

namespace {
// The session and its default log exist before any test installs a log of
// its own, so a recording log is not replaced by the first server call.
class SessionEnvironment : public ::testing::Environment {
public:
    void SetUp() override { verifyZelInterface(); }
};
const auto *const kEnvironment = ::testing::AddGlobalTestEnvironment(new SessionEnvironment);
}  // namespace

void useServer(const RefServer &server) {
    setZelUrl(server.url().c_str());
    setZelUsername(server.user().c_str());
    setZelPassword(server.password().c_str());
    setAllowInvalidCertificate(server.tls() ? 1 : 0);
}

// Posts to /client, with or without a body.
static std::vector<Json> clientPosts(const RefServer &server, bool withBody) {
    std::vector<Json> out;
    for (const Json &record : Json::parse(server.requests()).items)
        if (record["path"].text == "/client" && (record["bodyLength"].number > 0) == withBody) out.push_back(record);
    return out;
}

std::vector<Json> clientRequests(const RefServer &server) { return clientPosts(server, true); }
size_t emptyClientPosts(const RefServer &server) { return clientPosts(server, false).size(); }

Json lastClientRequest(const RefServer &server) {
    auto all = clientRequests(server);
    EXPECT_FALSE(all.empty()) << "the server saw no message";
    return all.empty() ? Json() : all.back();
}

std::vector<std::pair<std::string, std::string>> fieldsOf(const Json &record) {
    std::vector<std::pair<std::string, std::string>> out;
    for (const Json &field : record["fields"].items) out.emplace_back(field["name"].text, field["text"].text);
    return out;
}

int statusCodeOf(std::string_view xml) {
    VCCMessage message;
    message.loadFromXmlData(xml);
    auto content = message.content();
    return content && content->status() ? content->status()->code() : -1;
}

}  // namespace vork::test
