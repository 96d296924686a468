#pragma once
// Runs the reference management server (tools/refserver/refserver.py) on
// 127.0.0.1 for the life of the object, in a temporary folder of its own, and
// talks to its control endpoints. Tests and benchmarks use it as the server
// the library calls:
//
//   vork::test::RefServer server;                 // HTTP, user "agent"
//   setZelUrl(server.url().c_str());              // the library adds "/client"
//   server.setFault(R"({"httpStatus": 500})");    // misbehave from now on
//   std::string seen = server.requests();         // what arrived, as JSON
//
// The process is killed and reaped by the destructor;
// it also ends when the thread that started it ends, so create the object on
// a thread that outlives its use (the test's own thread).
#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/TempDir.h"

namespace vork::test {

struct RefServerOptions {
    bool tls = false;                          // HTTPS with a self-signed certificate
    std::string user = "agent";                // empty: no authentication at all
    std::string password = "agent-password";
    std::vector<std::string> extraArguments;   // more command-line flags, e.g. "--fault-delay", "2"
};

class RefServer {
public:
    struct Reply {
        long status = 0;  // HTTP status, 0 when the exchange failed
        std::string body;
    };

    explicit RefServer(RefServerOptions options = {});
    ~RefServer();
    RefServer(const RefServer &) = delete;
    RefServer &operator=(const RefServer &) = delete;

    int port() const { return port_; }
    bool tls() const { return options_.tls; }
    const std::string &user() const { return options_.user; }
    const std::string &password() const { return options_.password; }

    // "http://127.0.0.1:PORT" (or https): the server URL an agent is given.
    std::string url() const;
    // The message resource, url() + "/client".
    std::string clientUrl() const;
    std::string fileUrl(const std::string &name) const;
    std::string uploadUrl(const std::string &name) const;

    // Served under /files/; uploads land in uploadsDir().
    std::filesystem::path filesDir() const { return dir_ / "files"; }
    std::filesystem::path uploadsDir() const { return dir_ / "uploads"; }
    // The self-signed certificate of a TLS server: trust it as the CA.
    std::filesystem::path certificatePath() const { return dir_ / "tls" / "cert.pem"; }
    std::filesystem::path addFile(const std::string &name, const std::string &content) const;

    // Replaces the fault set with a JSON object ("{}" clears it); throws
    // std::runtime_error when the server refuses it (unknown key, wrong type).
    void setFault(const std::string &json);
    // Everything recorded since the last clear, as the server's JSON text.
    std::string requests() const;
    void clearRequests();
    // The server's standard error so far (refused requests are noted there).
    std::string log() const;

    // One unauthenticated exchange with the server, e.g. ("GET", "/__manifest").
    Reply exchange(const std::string &method, const std::string &path,
                   const std::string &body = {}) const;

private:
    void start();
    void stop();

    RefServerOptions options_;
    TempDir dir_;
    pid_t pid_ = -1;
    int port_ = 0;
};

}  // namespace vork::test
