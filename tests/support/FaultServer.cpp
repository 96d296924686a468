#include "support/FaultServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <sstream>
#include <stdexcept>

namespace vork::test {

namespace {

std::string trim(const std::string &s) {
    size_t b = s.find_first_not_of(" \t");
    return b == std::string::npos ? std::string() : s.substr(b, s.find_last_not_of(" \t\r") - b + 1);
}

bool sendAll(int fd, const char *data, size_t length) {
    while (length > 0) {
        ssize_t n = ::send(fd, data, length, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        data += n;
        length -= static_cast<size_t>(n);
    }
    return true;
}

}  // namespace

FaultServer::FaultServer(Handler handler) : handler_(std::move(handler)) {
    listenFd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    if (::bind(listenFd_, reinterpret_cast<sockaddr *>(&addr), len) != 0 || ::listen(listenFd_, 64) != 0)
        throw std::runtime_error("fault server: cannot listen");
    ::getsockname(listenFd_, reinterpret_cast<sockaddr *>(&addr), &len);
    port_ = ntohs(addr.sin_port);
    acceptThread_ = std::thread([this] { acceptLoop(); });
}

FaultServer::~FaultServer() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
        for (int fd : connectionFds_) ::shutdown(fd, SHUT_RDWR);
    }
    stopped_.notify_all();
    ::shutdown(listenFd_, SHUT_RDWR);
    acceptThread_.join();
    for (auto &t : connections_) t.join();  // the accept thread, which adds to them, has ended
    ::close(listenFd_);
}

std::string FaultServer::url(const std::string &path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
}

std::vector<FaultRequest> FaultServer::requests() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

bool FaultServer::waitOrStop(double seconds) {
    std::unique_lock<std::mutex> lock(mutex_);
    return !stopped_.wait_for(lock, std::chrono::duration<double>(seconds), [this] { return stopping_; });
}

void FaultServer::acceptLoop() {
    for (int connection = 1;; ++connection) {
        int fd = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0 && errno == EINTR) continue;
        if (fd < 0) return;
        std::lock_guard<std::mutex> lock(mutex_);
        if (stopping_) {
            ::close(fd);
            return;
        }
        connectionFds_.push_back(fd);
        connections_.emplace_back([this, fd, connection] { serve(fd, connection); });
    }
}

void FaultServer::serve(int fd, int connection) {
    std::string buffer;
    char chunk[64 * 1024];
    auto fill = [&]() -> bool {
        ssize_t n = ::recv(fd, chunk, sizeof chunk, 0);
        if (n > 0) buffer.append(chunk, static_cast<size_t>(n));
        return n > 0 || (n < 0 && errno == EINTR);
    };
    for (bool open = true; open;) {
        size_t end;
        while (open && (end = buffer.find("\r\n\r\n")) == std::string::npos) open = fill();
        if (!open) break;
        FaultRequest request;
        request.connection = connection;
        request.arrived = std::chrono::steady_clock::now();
        std::istringstream head(buffer.substr(0, end));
        buffer.erase(0, end + 4);
        std::string line;
        head >> request.method >> request.target;
        std::getline(head, line);
        while (std::getline(head, line)) {
            size_t colon = line.find(':');
            if (colon == std::string::npos) continue;
            std::string name = line.substr(0, colon);
            std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
            // Repeated fields are joined, as HTTP allows.
            auto [it, inserted] = request.headers.emplace(name, trim(line.substr(colon + 1)));
            if (!inserted) it->second += ", " + trim(line.substr(colon + 1));
        }
        const size_t length = request.header("content-length").empty() ? 0 : std::stoull(request.header("content-length"));
        while (open && buffer.size() < length) open = fill();
        if (!open) break;
        request.body = buffer.substr(0, length);
        buffer.erase(0, length);
        {
            std::lock_guard<std::mutex> lock(mutex_);
            requests_.push_back(request);
        }
        FaultReply reply = handler_(request);
        if (reply.delaySeconds > 0 && !waitOrStop(reply.delaySeconds)) break;
        std::string out = "HTTP/1.1 " + std::to_string(reply.status) + " " +
                          (reply.reason.empty() ? "Status" : reply.reason) + "\r\n";
        for (const auto &[name, value] : reply.headers) out += name + ": " + value + "\r\n";
        out += "Content-Length: " + std::to_string(reply.body.size()) + "\r\n";
        if (reply.cutAfterBodyBytes) out += "Connection: close\r\n";
        out += "\r\n";
        const size_t bodyBytes = std::min(reply.cutAfterBodyBytes.value_or(reply.body.size()), reply.body.size());
        const bool trickle = reply.trickleSeconds > 0;
        if (!trickle) out.append(reply.body, 0, bodyBytes);
        open = sendAll(fd, out.data(), out.size());
        // A trickled body follows the head in ten pieces.
        const size_t piece = std::max<size_t>(1, (bodyBytes + 9) / 10);
        for (size_t sent = 0; trickle && open && sent < bodyBytes; sent += piece)
            open = waitOrStop(reply.trickleSeconds / 10) &&
                   sendAll(fd, reply.body.data() + sent, std::min(piece, bodyBytes - sent));
        if (reply.cutAfterBodyBytes) break;
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        connectionFds_.erase(std::remove(connectionFds_.begin(), connectionFds_.end(), fd), connectionFds_.end());
    }
    ::shutdown(fd, SHUT_RDWR);
    ::close(fd);
}

}  // namespace vork::test
