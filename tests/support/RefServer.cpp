#include "support/RefServer.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "support/Certificates.h"

#ifndef VORK_SOURCE_DIR
#error "VORK_SOURCE_DIR must name the source tree"
#endif

namespace vork::test {

RefServer::RefServer(RefServerOptions options) : options_(std::move(options)) {
    std::filesystem::create_directories(filesDir());
    std::filesystem::create_directories(uploadsDir());
    start();
}

RefServer::~RefServer() { stop(); }

void RefServer::start() {
    const std::filesystem::path script =
        std::filesystem::path(VORK_SOURCE_DIR) / "tools" / "refserver" / "refserver.py";
    const std::filesystem::path portFile = dir_ / "port";
    const std::string stderrPath = (dir_ / "stderr.txt").string();

    // The distribution's interpreter (which sees python3-lxml), writing no bytecode.
    std::vector<std::string> args = {"/usr/bin/python3", "-B", script.string(),
                                     "--port", "0",
                                     "--port-file", portFile.string(),
                                     "--files", filesDir().string(),
                                     "--uploads", uploadsDir().string()};
    if (!options_.user.empty()) {
        const std::string passwordFile = dir_.write("password", options_.password + "\n").string();
        args.insert(args.end(), {"--user", options_.user, "--password-file", passwordFile});
    }
    if (options_.tls) args.insert(args.end(), {"--self-signed", (dir_ / "tls").string()});
    args.insert(args.end(), options_.extraArguments.begin(), options_.extraArguments.end());

    // Everything the child needs is prepared before fork: after it only
    // async-signal-safe calls are made.
    std::vector<char *> argv;
    for (auto &a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    const pid_t parent = getpid();

    pid_ = fork();
    if (pid_ < 0) throw std::runtime_error(std::string("RefServer: fork failed: ") + std::strerror(errno));
    if (pid_ == 0) {
        // The server must not outlive a test program that dies.
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != parent) _exit(127);
        const int err = open(stderrPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
        if (err < 0 || null < 0) _exit(127);
        dup2(null, 0);
        dup2(null, 1);
        dup2(err, 2);
        execv(argv[0], argv.data());
        _exit(127);
    }

    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (true) {
        // An absent port file reads as empty text.
        if ((port_ = std::atoi(readFile(portFile).c_str())) > 0) return;
        const bool exited = waitpid(pid_, nullptr, WNOHANG) == pid_;
        if (exited || std::chrono::steady_clock::now() > deadline) {
            if (exited) pid_ = -1;
            stop();
            throw std::runtime_error("RefServer: the server did not start: " + log());
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

void RefServer::stop() {
    if (pid_ <= 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
}

std::string RefServer::url() const {
    return std::string(options_.tls ? "https" : "http") + "://127.0.0.1:" + std::to_string(port_);
}

std::string RefServer::clientUrl() const { return url() + "/client"; }

std::string RefServer::fileUrl(const std::string &name) const { return url() + "/files/" + name; }

std::string RefServer::uploadUrl(const std::string &name) const { return url() + "/upload/" + name; }

std::filesystem::path RefServer::addFile(const std::string &name, const std::string &content) const {
    return dir_.write("files/" + name, content);
}

RefServer::Reply RefServer::exchange(const std::string &method, const std::string &path,
                                     const std::string &body) const {
    // With the curl tool, never through a proxy: the server is on loopback.
    const std::string bodyFile = (dir_ / "exchange-body").string();
    std::string command = "curl -s --noproxy '*' --max-time 30 -H 'Content-Type: application/json' "
                          "-w '\\n%{http_code}' -X " + method + " '" + url() + path + "'";
    if (options_.tls) command += " --cacert '" + certificatePath().string() + "'";
    if (method == "POST" || method == "PUT") {
        std::ofstream(bodyFile, std::ios::binary) << body;
        command += " --data-binary @'" + bodyFile + "'";
    }
    Reply reply;
    try {
        reply.body = commandOutput(command);
    } catch (const std::exception &) {
        return reply;
    }
    const size_t end = reply.body.rfind('\n');
    reply.status = std::atol(reply.body.c_str() + end + 1);
    reply.body.erase(end);
    return reply;
}

void RefServer::setFault(const std::string &json) {
    Reply r = exchange("POST", "/__control", json);
    if (r.status != 200) {
        throw std::runtime_error("RefServer: fault set refused (" + std::to_string(r.status) + "): " + r.body);
    }
}

std::string RefServer::requests() const {
    Reply r = exchange("GET", "/__requests");
    if (r.status != 200) throw std::runtime_error("RefServer: no request records (" + std::to_string(r.status) + ")");
    return r.body;
}

void RefServer::clearRequests() {
    if (exchange("DELETE", "/__requests").status != 200) {
        throw std::runtime_error("RefServer: request records not cleared");
    }
}

std::string RefServer::log() const { return readFile(dir_ / "stderr.txt"); }

}  // namespace vork::test
