// The launcher of the reference server: it starts a real server process,
// the server answers an envelope posted with libcurl, the control endpoint
// switches faults, and the destructor ends the process.
#include <curl/curl.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <cerrno>
#include <string>

#include "support/RefServer.h"

namespace vork::test {
namespace {

const char *kKeepAliveEnvelope =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)"
    R"(<ns2:vorkMessage xmlns:ns2="http://vork.io/VORKMessage" )"
    R"(xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" )"
    R"(xsi:schemaLocation="http://vork.io/VORKMessage ../src/main/resources/schema/VORKCommunicationSchema.xsd">)"
    R"(<device><uuid>564D1A2B-3C4D-5E6F-7A8B-9C0D1E2F3A4B</uuid><macAddresses>)"
    R"(<macAddress bsdName="en0">a4:83:e7:01:02:03</macAddress></macAddresses></device>)"
    R"(<application>io.vork.agent</application><messageTimestamp>1700000000000</messageTimestamp>)"
    R"(<content xsi:type="ns2:RequestContent"><uuid>0F8FAD5B-D9CB-469F-A165-70867728950E</uuid>)"
    R"(<commandType>io.vork.agent.keepaliverequest</commandType>)"
    R"(<status><code>0</code><timestamp>1700000000000</timestamp></status>)"
    R"(<commandData><keepAlive><ns2:invalidate>0</ns2:invalidate></keepAlive></commandData>)"
    R"(</content></ns2:vorkMessage>)";

size_t collect(char *data, size_t size, size_t count, void *target) {
    static_cast<std::string *>(target)->append(data, size * count);
    return size * count;
}

struct Posted {
    CURLcode result = CURLE_OK;
    long status = 0;
    std::string body;
};

// A plain libcurl POST, the way an agent sends a message.
Posted postEnvelope(const RefServer &server, const std::string &password) {
    Posted out;
    CURL *curl = curl_easy_init();
    const std::string url = server.clientUrl();
    const std::string cert = server.certificatePath().string();
    const std::string credentials = server.user() + ":" + password;
    curl_slist *headers = curl_slist_append(nullptr, "Content-Type: application/xml; charset=utf-8");
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 30L);
    curl_easy_setopt(curl, CURLOPT_HTTPAUTH, CURLAUTH_BASIC);
    curl_easy_setopt(curl, CURLOPT_USERPWD, credentials.c_str());
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, kKeepAliveEnvelope);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, collect);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &out.body);
    if (server.tls()) curl_easy_setopt(curl, CURLOPT_CAINFO, cert.c_str());
    out.result = curl_easy_perform(curl);
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &out.status);
    curl_slist_free_all(headers);
    curl_easy_cleanup(curl);
    return out;
}

// The text of the first element named tag, or "" when there is none.
std::string firstText(const std::string &xml, const std::string &tag) {
    const std::string open = "<" + tag + ">";
    const auto begin = xml.find(open);
    if (begin == std::string::npos) return "";
    const auto end = xml.find("</" + tag + ">", begin);
    if (end == std::string::npos) return "";
    return xml.substr(begin + open.size(), end - begin - open.size());
}

// One server for the exchange, the fault switch and the file folder.
TEST(RefServerLauncher, StartsOnLoopbackAnswersAKeepAliveSwitchesFaultsAndServesFiles) {
    RefServer server;
    EXPECT_EQ(server.url(), "http://127.0.0.1:" + std::to_string(server.port()));
    EXPECT_EQ(server.clientUrl(), server.url() + "/client");

    Posted reply = postEnvelope(server, server.password());
    ASSERT_EQ(reply.result, CURLE_OK);
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(firstText(reply.body, "code"), "0");
    EXPECT_EQ(firstText(reply.body, "title"), "Success");
    EXPECT_EQ(firstText(reply.body, "commandType"), "io.vork.agent.keepaliveresponse");

    const std::string seen = server.requests();
    EXPECT_NE(seen.find("\"commandType\": \"io.vork.agent.keepaliverequest\""), std::string::npos) << seen;
    EXPECT_NE(seen.find("\"valid\": true"), std::string::npos) << seen;
    EXPECT_EQ(seen.find(server.password()), std::string::npos) << "the password must not be recorded";
    server.clearRequests();
    EXPECT_EQ(server.requests(), "[]");
    EXPECT_EQ(firstText(postEnvelope(server, "not-the-password").body, "code"), "1400");

    server.setFault(R"({"httpStatus": 500})");
    EXPECT_EQ(postEnvelope(server, server.password()).status, 500);
    server.setFault(R"({"cutConnection": true})");
    EXPECT_NE(postEnvelope(server, server.password()).result, CURLE_OK);
    server.clearFault();
    EXPECT_EQ(postEnvelope(server, server.password()).status, 200);
    EXPECT_THROW(server.setFault(R"({"noSuchFault": true})"), std::runtime_error);

    server.addFile("hello.txt", "hello, world\n");
    RefServer::Reply manifest = server.exchange("GET", "/__manifest");
    EXPECT_EQ(manifest.status, 200);
    EXPECT_NE(manifest.body.find("\"hello.txt\""), std::string::npos) << manifest.body;
    EXPECT_NE(manifest.body.find("\"size\": 13"), std::string::npos) << manifest.body;
}

TEST(RefServerLauncher, ServesHttpsWithItsOwnCertificate) {
    RefServer server(RefServerOptions{.tls = true});
    EXPECT_EQ(server.url().rfind("https://127.0.0.1:", 0), 0u);
    Posted reply = postEnvelope(server, server.password());
    ASSERT_EQ(reply.result, CURLE_OK) << curl_easy_strerror(reply.result) << "\n" << server.log();
    EXPECT_EQ(firstText(reply.body, "code"), "0");
}

TEST(RefServerLauncher, DestructorEndsTheProcess) {
    pid_t pid = -1;
    {
        RefServer server;
        pid = server.pid();
        ASSERT_GT(pid, 0);
        EXPECT_EQ(kill(pid, 0), 0);
    }
    errno = 0;
    EXPECT_EQ(kill(pid, 0), -1);
    EXPECT_EQ(errno, ESRCH);
}

}  // namespace
}  // namespace vork::test
