// Proxies named in the environment (http_proxy, HTTPS_PROXY, no_proxy, as
// curl reads them) carry every kind of exchange: server calls, synchronous
// requests and asynchronous transfers, HTTPS through CONNECT, and no_proxy
// bypasses them. The proxy is tinyproxy on 127.0.0.1, its log checked.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <thread>

#include "support/Nginx.h"
#include "support/RefServer.h"
#include "support/TempDir.h"

namespace vork::test {
namespace {

// tinyproxy in the foreground with a configuration in a temporary folder.
class TinyProxy {
public:
    TinyProxy() : port_(freeLoopbackPort()) {
        std::ofstream(dir_ / "conf") << "Port " << port_ << "\nListen 127.0.0.1\nTimeout 30\nLogLevel Info\n"
                                     << "LogFile \"" << log().string() << "\"\nAllow 127.0.0.1\n";
        if ((pid_ = fork()) == 0) {
            execl("/usr/bin/tinyproxy", "tinyproxy", "-d", "-c", (dir_ / "conf").c_str(), nullptr);
            _exit(127);
        }
        for (int i = 0; i < 100 && readFile(log()).find("listening") == std::string::npos; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    ~TinyProxy() {
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
    }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_); }
    std::filesystem::path log() const { return dir_ / "log"; }

private:
    TempDir dir_;
    int port_;
    pid_t pid_ = -1;
};

enum class Path { ServerCall, Synchronous, Transfer };

// One exchange of the kind with the server; whether it brought the answer.
bool exchange(Path path, const RefServer &server, const std::string &target) {
    if (path == Path::ServerCall) {
        setZelUrl(server.url().c_str());
        setZelUsername(server.user().c_str());
        setZelPassword(server.password().c_str());
        setAllowInvalidCertificate(1);
        return std::string(keepAlive(0)).find("Success") != std::string::npos;
    }
    httpTransferInitDownload(server.fileUrl("small.txt").c_str(), true, server.user().c_str(),
                             server.password().c_str(), nullptr, nullptr,
                             path == Path::Transfer ? target.c_str() : nullptr);
    bool ok = path == Path::Synchronous && std::string(httpSubmitRequest()) == "via proxy?";
    if (path == Path::Transfer) {
        httpTransferStart();
        for (auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
             !httpTransferIsComplete() && std::chrono::steady_clock::now() < end;) {
        }
        ok = httpResponseCode() == 200 && readFile(target) == "via proxy?";
    }
    httpTransferRelease();
    return ok;
}

TEST(Proxy, EnvironmentProxiesCarryEveryExchange) {
    RefServer http, https({.tls = true});
    for (const RefServer *s : {&http, &https}) s->addFile("small.txt", "via proxy?");
    const struct {
        bool tls;
        Path path;
        const char *variable;  // names the proxy
        bool bypass;           // no_proxy names the server
    } cases[] = {
        {false, Path::ServerCall, "http_proxy", false}, {false, Path::Synchronous, "http_proxy", false},
        {false, Path::Transfer, "http_proxy", false},   {true, Path::ServerCall, "HTTPS_PROXY", false},
        {true, Path::Synchronous, "https_proxy", false}, {true, Path::Transfer, "https_proxy", false},
        {false, Path::ServerCall, "http_proxy", true},  {true, Path::Transfer, "https_proxy", true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.variable) + " " + std::to_string(int(c.path)) + (c.bypass ? " bypassed" : ""));
        const RefServer &server = c.tls ? https : http;
        TinyProxy proxy;  // a new one each time: no connection to it is kept from before
        TempDir dir;
        setenv(c.variable, proxy.url().c_str(), 1);
        setenv("no_proxy", c.bypass ? "127.0.0.1" : "example.invalid", 1);
        EXPECT_TRUE(exchange(c.path, server, (dir / "download").string()));
        unsetenv(c.variable);
        unsetenv("no_proxy");
        const std::string target = "127.0.0.1:" + std::to_string(server.port());
        const std::string request = c.tls ? "CONNECT " + target : "http://" + target + "/";
        EXPECT_EQ(readFile(proxy.log()).find(request) != std::string::npos, !c.bypass) << readFile(proxy.log());
    }
}

}  // namespace
}  // namespace vork::test
