#include "support/RefServer.h"

#include <curl/curl.h>
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
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <thread>

extern char **environ;

namespace vork::test {
namespace {

#ifndef VORK_SOURCE_DIR
#error "VORK_SOURCE_DIR must name the source tree"
#endif

constexpr auto kStartTimeout = std::chrono::seconds(30);
constexpr auto kStopTimeout = std::chrono::seconds(5);

bool isExecutable(const std::string &path) { return !path.empty() && access(path.c_str(), X_OK) == 0; }

// The interpreter: $VORK_PYTHON3, else the distribution's (which sees
// python3-lxml), else the first python3 on PATH.
std::string pythonInterpreter() {
    if (const char *env = std::getenv("VORK_PYTHON3"); env && isExecutable(env)) return env;
    if (isExecutable("/usr/bin/python3")) return "/usr/bin/python3";
    if (const char *path = std::getenv("PATH")) {
        std::stringstream dirs(path);
        std::string dir;
        while (std::getline(dirs, dir, ':')) {
            std::string candidate = (dir.empty() ? std::string(".") : dir) + "/python3";
            if (isExecutable(candidate)) return candidate;
        }
    }
    throw std::runtime_error("RefServer: no python3 found");
}

size_t appendBody(char *data, size_t size, size_t count, void *target) {
    static_cast<std::string *>(target)->append(data, size * count);
    return size * count;
}

void initCurlOnce() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

}  // namespace

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
    const std::string stdoutPath = (dir_ / "stdout.txt").string();
    const std::string stderrPath = (dir_ / "stderr.txt").string();

    std::vector<std::string> args = {pythonInterpreter(), script.string(),
                                     "--port", "0",
                                     "--port-file", portFile.string(),
                                     "--files", filesDir().string(),
                                     "--uploads", uploadsDir().string()};
    if (!options_.user.empty()) {
        std::filesystem::path passwordFile = dir_ / "password";
        {
            std::ofstream out(passwordFile, std::ios::binary);
            out << options_.password << "\n";
        }
        std::filesystem::permissions(passwordFile, std::filesystem::perms::owner_read |
                                                       std::filesystem::perms::owner_write);
        args.insert(args.end(), {"--user", options_.user, "--password-file", passwordFile.string()});
    }
    if (options_.tls) args.insert(args.end(), {"--self-signed", (dir_ / "tls").string()});
    args.insert(args.end(), options_.extraArguments.begin(), options_.extraArguments.end());

    // Everything the child needs is prepared before fork: after it only
    // async-signal-safe calls are made.
    std::vector<char *> argv;
    for (auto &a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    std::vector<std::string> envStrings;
    for (char **e = environ; e && *e; ++e) {
        if (std::strncmp(*e, "PYTHONDONTWRITEBYTECODE=", 24) != 0) envStrings.emplace_back(*e);
    }
    envStrings.emplace_back("PYTHONDONTWRITEBYTECODE=1");
    std::vector<char *> envp;
    for (auto &e : envStrings) envp.push_back(e.data());
    envp.push_back(nullptr);
    const pid_t parent = getpid();

    pid_t pid = fork();
    if (pid < 0) throw std::runtime_error(std::string("RefServer: fork failed: ") + std::strerror(errno));
    if (pid == 0) {
        // The server must not outlive a test program that dies.
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != parent) _exit(127);
        int out = open(stdoutPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        int err = open(stderrPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        int in = open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (out < 0 || err < 0 || in < 0) _exit(127);
        dup2(in, 0);
        dup2(out, 1);
        dup2(err, 2);
        execve(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    pid_ = pid;

    const auto deadline = std::chrono::steady_clock::now() + kStartTimeout;
    while (true) {
        std::error_code ec;
        if (std::filesystem::exists(portFile, ec)) {
            port_ = std::atoi(readFile(portFile).c_str());
            if (port_ > 0) return;
        }
        int status = 0;
        bool exited = waitpid(pid_, &status, WNOHANG) == pid_;
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
    kill(pid_, SIGTERM);
    const auto deadline = std::chrono::steady_clock::now() + kStopTimeout;
    int status = 0;
    while (waitpid(pid_, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            kill(pid_, SIGKILL);
            waitpid(pid_, &status, 0);
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    pid_ = -1;
}

std::string RefServer::url() const {
    return std::string(options_.tls ? "https" : "http") + "://127.0.0.1:" + std::to_string(port_);
}

std::string RefServer::clientUrl() const { return url() + "/client"; }

std::string RefServer::fileUrl(const std::string &name) const { return url() + "/files/" + name; }

std::string RefServer::uploadUrl(const std::string &name) const { return url() + "/upload/" + name; }

std::filesystem::path RefServer::addFile(const std::string &name, const std::string &content) const {
    std::filesystem::path file = filesDir() / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary);
    out << content;
    return file;
}

RefServer::Reply RefServer::exchange(const std::string &method, const std::string &path,
                                     const std::string &body) const {
    initCurlOnce();
    Reply reply;
    CURL *curl = curl_easy_init();
    if (!curl) return reply;
    const std::string target = url() + path;
    const std::string cert = certificatePath().string();
    curl_slist *headers = curl_slist_append(nullptr, "Content-Type: application/json");
    curl_easy_setopt(curl, CURLOPT_URL, target.c_str());
    curl_easy_setopt(curl, CURLOPT_PROXY, "");  // never through a proxy: the server is on loopback
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT, 30L);
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, appendBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &reply.body);
    if (options_.tls) curl_easy_setopt(curl, CURLOPT_CAINFO, cert.c_str());
    if (method == "POST" || method == "PUT") {
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.data());
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    }
    if (method != "GET" && method != "POST") curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, method.c_str());
    if (curl_easy_perform(curl) == CURLE_OK) {
        curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &reply.status);
    }
    curl_slist_free_all(headers);
    curl_easy_cleanup(curl);
    return reply;
}

void RefServer::setFault(const std::string &json) {
    Reply r = exchange("POST", "/__control", json);
    if (r.status != 200) {
        throw std::runtime_error("RefServer: fault set refused (" + std::to_string(r.status) + "): " + r.body);
    }
}

void RefServer::clearFault() { setFault("{}"); }

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
