#include "ZelTestSupport.h"

#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>

#include "message/VCCMessage.h"

namespace vork::test {

void useServer(const RefServer &server) {
    setZelUrl(server.url().c_str());
    setZelUsername(server.user().c_str());
    setZelPassword(server.password().c_str());
    setAllowInvalidCertificate(server.tls() ? 1 : 0);
}

size_t occurrences(const std::string &text, const std::string &needle) {
    size_t count = 0;
    for (size_t at = text.find(needle); at != std::string::npos; at = text.find(needle, at + 1)) ++count;
    return count;
}

size_t clientMessages(const RefServer &server) {
    const std::string all = server.requests();
    return occurrences(all, R"("path": "/client")") - occurrences(all, R"("bodyLength": 0,)");
}

std::string jsonPair(const std::string &key, const std::string &value) {
    return "\"" + key + "\": \"" + value + "\"";
}

std::string fieldsJson(const Fields &fields) {
    std::string out = "\"fields\": [";
    for (const auto &[name, text] : fields)
        out += (out.back() == '[' ? "{" : ", {") + jsonPair("name", name) + ", " + jsonPair("text", text) + "}";
    return out + "]";
}

void expectRecorded(const RefServer &server, const std::vector<std::string> &parts) {
    const std::string all = server.requests();
    for (const std::string &part : parts) EXPECT_NE(all.find(part), std::string::npos) << part << " not in " << all;
}

int statusCodeOf(std::string_view xml) {
    VCCMessage message;
    message.loadFromXmlData(xml);
    auto content = message.content();
    return content && content->status() ? content->status()->code() : -1;
}

}  // namespace vork::test
