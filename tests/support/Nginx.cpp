#include "Nginx.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "Certificates.h"

namespace vork::test {

namespace {

const char *kNginxBinary = "/usr/sbin/nginx";

}  // namespace

int freeLoopbackPort() {
    int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    ::bind(fd, reinterpret_cast<sockaddr *>(&addr), len);
    ::getsockname(fd, reinterpret_cast<sockaddr *>(&addr), &len);
    ::close(fd);
    return ntohs(addr.sin_port);
}

bool Nginx::available() { return ::access(kNginxBinary, X_OK) == 0; }

Nginx::Nginx(const std::string &folder, NginxOptions options) : folder_(folder), options_(std::move(options)) {
    namespace fs = std::filesystem;
    fs::create_directories(folder_ + "/www");
    fs::create_directories(folder_ + "/tmp");
    if (options_.certificatePath.empty()) makeSelfSignedCertificate(folder_);
    for (int attempt = 0; attempt < 5; ++attempt) {
        if (launch()) return;
    }
    throw std::runtime_error("nginx did not start; see " + errorLogPath());
}

Nginx::~Nginx() { stop(); }

std::string Nginx::httpUrl(const std::string &path) const {
    return "http://127.0.0.1:" + std::to_string(httpPort_) + path;
}

std::string Nginx::httpsUrl(const std::string &path) const {
    return "https://127.0.0.1:" + std::to_string(httpsPort_) + path;
}

bool Nginx::launch() {
    httpPort_ = freeLoopbackPort();
    httpsPort_ = freeLoopbackPort();
    while (httpsPort_ == httpPort_) httpsPort_ = freeLoopbackPort();
    const std::string conf = folder_ + "/nginx.conf", pidFile = folder_ + "/nginx.pid";
    // nginx writes its pid file once its ports listen.
    std::filesystem::remove(pidFile);
    {
        std::ofstream out(conf, std::ios::trunc);
        out << "daemon off; master_process off; worker_processes 1;\n"
               "pid " << pidFile << ";\n"
               "error_log " << errorLogPath() << " warn;\n"
               "events { worker_connections 256; }\n"
               "http {\n";
        for (const char *module : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"})
            out << "    " << module << "_temp_path " << folder_ << "/tmp/" << module << ";\n";
        out << "    access_log " << (options_.accessLog ? accessLogPath() : std::string("off")) << ";\n"
               "    default_type application/octet-stream; sendfile on; tcp_nopush on;\n"
               "    keepalive_requests 100000; keepalive_timeout 65;\n"
               "    server {\n"
               "        listen 127.0.0.1:" << httpPort_ << "; listen 127.0.0.1:" << httpsPort_ << " ssl;\n"
               "        ssl_certificate " << certificatePath() << "; ssl_certificate_key " << keyPath() << ";\n"
               "        root " << wwwFolder() << "; client_max_body_size 0;\n"
               "        location / { }\n"
               "        location = /upload {\n"
               "            client_body_buffer_size 1m; default_type application/xml; return 200 \"<ok/>\";\n"
               "        }\n";
        if (!options_.clientCaPath.empty())
            out << "        ssl_client_certificate " << options_.clientCaPath << "; ssl_verify_client on;\n";
        out << "    }\n}\n";
    }
    pid_ = ::fork();
    if (pid_ == 0) {
        // Keep nginx's own messages out of the test output.
        const int devnull = ::open("/dev/null", O_WRONLY);
        ::dup2(devnull, 1);
        ::dup2(devnull, 2);
        ::execl(kNginxBinary, "nginx", "-p", folder_.c_str(), "-c", conf.c_str(), "-e", errorLogPath().c_str(),
                static_cast<char *>(nullptr));
        ::_exit(127);
    }
    if (pid_ < 0) return false;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < deadline) {
        if (::waitpid(pid_, nullptr, WNOHANG) == pid_) {
            pid_ = -1;
            return false;  // exited: most likely a port was taken meanwhile
        }
        if (std::filesystem::exists(pidFile)) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    stop();
    return false;
}

void Nginx::stop() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
    pid_ = -1;
}

}  // namespace vork::test
