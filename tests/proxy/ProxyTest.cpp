// Proxies named in the environment (http_proxy, HTTPS_PROXY, no_proxy, as
// curl reads them) carry every kind of exchange: server calls, synchronous
// requests and asynchronous transfers, HTTPS through CONNECT, and no_proxy
// bypasses them. The proxy is tinyproxy on 127.0.0.1, its log checked.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <thread>

#include "support/RefServer.h"
#include "support/TempDir.h"

namespace vork::test {
namespace {

int freePort() {
    int s = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof a;
    bind(s, reinterpret_cast<sockaddr *>(&a), len);
    getsockname(s, reinterpret_cast<sockaddr *>(&a), &len);
    close(s);
    return ntohs(a.sin_port);
}

// tinyproxy in the foreground with a configuration in a temporary folder.
class TinyProxy {
public:
    TinyProxy() : port_(freePort()) {
        std::ofstream(dir_ / "tinyproxy.conf") << "Port " << port_ << "\nListen 127.0.0.1\nTimeout 30\n"
                                              << "LogFile \"" << log().string() << "\"\nLogLevel Info\n"
                                              << "MaxClients 20\nAllow 127.0.0.1\n";
        pid_ = fork();
        if (pid_ == 0) {
            execl("/usr/bin/tinyproxy", "tinyproxy", "-d", "-c", (dir_ / "tinyproxy.conf").c_str(), nullptr);
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
    std::filesystem::path log() const { return dir_ / "tinyproxy.log"; }

private:
    TempDir dir_;
    int port_;
    pid_t pid_ = -1;
};

// The environment of one case, put back afterwards.
class Environment {
public:
    explicit Environment(const std::vector<std::pair<std::string, std::string>> &values) {
        for (const char *name : {"http_proxy", "HTTPS_PROXY", "https_proxy", "no_proxy", "NO_PROXY"}) unsetenv(name);
        for (const auto &[name, value] : values) setenv(name.c_str(), value.c_str(), 1);
        names_ = values;
    }
    ~Environment() {
        for (const auto &entry : names_) unsetenv(entry.first.c_str());
    }

private:
    std::vector<std::pair<std::string, std::string>> names_;
};

enum class Path { ServerCall, Synchronous, Transfer };

bool exchange(Path path, const RefServer &server, const TempDir &dir) {
    setAllowInvalidCertificate(1);
    switch (path) {
    case Path::ServerCall:
        setZelUrl(server.url().c_str());
        setZelUsername(server.user().c_str());
        setZelPassword(server.password().c_str());
        return std::string(keepAlive(0)).find("Success") != std::string::npos;
    case Path::Synchronous: {
        httpTransferInit(server.fileUrl("small.txt").c_str(), true, server.user().c_str(), server.password().c_str(),
                         nullptr, nullptr);
        const std::string body = httpSubmitRequest();
        httpTransferRelease();
        return body == "via proxy?";
    }
    case Path::Transfer: {
        const std::string target = (dir / "download").string();
        httpTransferInitDownload(server.fileUrl("small.txt").c_str(), true, server.user().c_str(),
                                 server.password().c_str(), nullptr, nullptr, target.c_str());
        httpTransferStart();
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!httpTransferIsComplete() && std::chrono::steady_clock::now() < deadline) {
        }
        const bool ok = httpResponseCode() == 200 && readFile(target) == "via proxy?";
        httpTransferRelease();
        return ok;
    }
    }
    return false;
}

struct Case {
    const char *name;
    bool tls;
    Path path;
    const char *variable;  // names the proxy
    bool bypass;           // no_proxy names the server
};

TEST(Proxy, EnvironmentProxiesCarryEveryExchange) {
    RefServer http, https({.tls = true});
    for (const RefServer *s : {&http, &https}) s->addFile("small.txt", "via proxy?");
    const Case cases[] = {
        {"server call over http_proxy", false, Path::ServerCall, "http_proxy", false},
        {"synchronous request over http_proxy", false, Path::Synchronous, "http_proxy", false},
        {"transfer over http_proxy", false, Path::Transfer, "http_proxy", false},
        {"server call through CONNECT", true, Path::ServerCall, "HTTPS_PROXY", false},
        {"synchronous request through CONNECT", true, Path::Synchronous, "https_proxy", false},
        {"transfer through CONNECT", true, Path::Transfer, "https_proxy", false},
        {"no_proxy bypasses for a server call", false, Path::ServerCall, "http_proxy", true},
        {"no_proxy bypasses for a transfer", true, Path::Transfer, "https_proxy", true},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const RefServer &server = c.tls ? https : http;
        const std::string target = "127.0.0.1:" + std::to_string(server.port());
        TinyProxy proxy;  // a new one each time: no connection to it is kept from before
        TempDir dir;
        {
            Environment env({{c.variable, proxy.url()}, {"no_proxy", c.bypass ? "127.0.0.1" : "example.invalid"}});
            EXPECT_TRUE(exchange(c.path, server, dir));
        }
        const std::string log = readFile(proxy.log());
        const std::string request = c.tls ? "CONNECT " + target : "http://" + target + "/";
        EXPECT_EQ(log.find(request) != std::string::npos, !c.bypass) << log;
    }
}

}  // namespace
}  // namespace vork::test
