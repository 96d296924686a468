#include "support/FaultServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <map>
#include <sstream>
#include <stdexcept>

namespace vork::test {

namespace {

std::string lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
    return s;
}

std::string trim(const std::string &s) {
    size_t b = s.find_first_not_of(" \t");
    size_t e = s.find_last_not_of(" \t\r");
    return b == std::string::npos ? std::string() : s.substr(b, e - b + 1);
}

const char *reasonFor(int status) {
    static const std::map<int, const char *> reasons = {
        {100, "Continue"},     {200, "OK"},        {206, "Partial Content"},       {401, "Unauthorized"},
        {403, "Forbidden"},    {404, "Not Found"}, {416, "Range Not Satisfiable"}, {500, "Internal Server Error"},
        {503, "Service Unavailable"}};
    auto it = reasons.find(status);
    return it == reasons.end() ? "Status" : it->second;
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
    int one = 1;
    ::setsockopt(listenFd_, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = 0;
    if (::bind(listenFd_, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0 || ::listen(listenFd_, 64) != 0)
        throw std::runtime_error("fault server: cannot listen");
    socklen_t len = sizeof addr;
    ::getsockname(listenFd_, reinterpret_cast<sockaddr *>(&addr), &len);
    port_ = ntohs(addr.sin_port);
    acceptThread_ = std::thread([this] { acceptLoop(); });
}

FaultServer::~FaultServer() {
    std::vector<std::thread> threads;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
        for (int fd : connectionFds_) ::shutdown(fd, SHUT_RDWR);
    }
    stopped_.notify_all();
    ::shutdown(listenFd_, SHUT_RDWR);
    acceptThread_.join();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        threads.swap(connections_);
    }
    for (auto &t : threads) t.join();
    ::close(listenFd_);
}

std::string FaultServer::url(const std::string &path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
}

std::vector<FaultRequest> FaultServer::requests() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

size_t FaultServer::requestCount() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_.size();
}

bool FaultServer::waitOrStop(double seconds) {
    std::unique_lock<std::mutex> lock(mutex_);
    return !stopped_.wait_for(lock, std::chrono::duration<double>(seconds), [this] { return stopping_; });
}

void FaultServer::acceptLoop() {
    int connection = 0;
    for (;;) {
        int fd = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd < 0) {
            if (errno == EINTR) continue;
            return;
        }
        std::lock_guard<std::mutex> lock(mutex_);
        if (stopping_) {
            ::close(fd);
            return;
        }
        const int id = ++connection;
        connectionFds_.push_back(fd);
        connections_.emplace_back([this, fd, id] { serve(fd, id); });
    }
}

void FaultServer::serve(int fd, int connection) {
    std::string buffer;
    char chunk[64 * 1024];
    auto fill = [&]() -> bool {
        ssize_t n = ::recv(fd, chunk, sizeof chunk, 0);
        if (n < 0 && errno == EINTR) return true;
        if (n <= 0) return false;
        buffer.append(chunk, static_cast<size_t>(n));
        return true;
    };
    for (;;) {
        size_t end;
        while ((end = buffer.find("\r\n\r\n")) == std::string::npos) {
            if (!fill()) goto done;
        }
        {
            FaultRequest request;
            request.connection = connection;
            request.arrived = std::chrono::steady_clock::now();
            std::istringstream head(buffer.substr(0, end));
            buffer.erase(0, end + 4);
            std::string line;
            std::getline(head, line);
            line = trim(line);
            size_t sp1 = line.find(' '), sp2 = line.rfind(' ');
            request.method = line.substr(0, sp1);
            request.target = line.substr(sp1 + 1, sp2 - sp1 - 1);
            while (std::getline(head, line)) {
                size_t colon = line.find(':');
                if (colon == std::string::npos) continue;
                std::string name = lower(line.substr(0, colon)), value = trim(line.substr(colon + 1));
                // Repeated fields are joined, as HTTP allows.
                auto [it, inserted] = request.headers.emplace(name, value);
                if (!inserted) it->second += ", " + value;
            }
            if (lower(request.header("expect")) == "100-continue") {
                const std::string cont = "HTTP/1.1 100 Continue\r\n\r\n";
                if (!sendAll(fd, cont.data(), cont.size())) goto done;
            }
            uint64_t remaining = 0;
            if (!request.header("content-length").empty())
                remaining = std::stoull(request.header("content-length"));
            while (remaining > 0) {
                if (buffer.empty() && !fill()) goto done;
                size_t take = static_cast<size_t>(std::min<uint64_t>(remaining, buffer.size()));
                if (request.body.size() < keepLimit_)
                    request.body.append(buffer, 0, std::min(take, keepLimit_ - request.body.size()));
                request.bodyLength += take;
                buffer.erase(0, take);
                remaining -= take;
            }
            {
                std::lock_guard<std::mutex> lock(mutex_);
                requests_.push_back(request);
            }
            FaultReply reply = handler_(request);
            if (reply.delaySeconds > 0 && !waitOrStop(reply.delaySeconds)) goto done;
            std::string out = "HTTP/1.1 " + std::to_string(reply.status) + " " +
                              (reply.reason.empty() ? reasonFor(reply.status) : reply.reason) + "\r\n";
            bool hasLength = false;
            for (const auto &[name, value] : reply.headers) {
                out += name + ": " + value + "\r\n";
                if (lower(name) == "content-length") hasLength = true;
            }
            if (!hasLength) out += "Content-Length: " + std::to_string(reply.body.size()) + "\r\n";
            if (reply.close || reply.cutAfterBodyBytes) out += "Connection: close\r\n";
            out += "\r\n";
            size_t bodyBytes = reply.cutAfterBodyBytes ? std::min(*reply.cutAfterBodyBytes, reply.body.size())
                                                       : reply.body.size();
            if (request.method == "HEAD") bodyBytes = 0;
            if (reply.trickleSeconds > 0) {
                if (!sendAll(fd, out.data(), out.size())) goto done;
                const size_t piece = std::max<size_t>(1, (bodyBytes + 9) / 10);
                for (size_t sent = 0; sent < bodyBytes; sent += piece) {
                    if (!waitOrStop(reply.trickleSeconds / 10)) goto done;
                    if (!sendAll(fd, reply.body.data() + sent, std::min(piece, bodyBytes - sent))) goto done;
                }
            } else {
                out.append(reply.body, 0, bodyBytes);
                if (!sendAll(fd, out.data(), out.size())) goto done;
            }
            // A stalled reply holds the connection silent until the server stops.
            if (reply.stallAfterCut && reply.cutAfterBodyBytes) waitOrStop(1e9);
            if (reply.close || reply.cutAfterBodyBytes) goto done;
        }
    }
done:
    {
        std::lock_guard<std::mutex> lock(mutex_);
        connectionFds_.erase(std::remove(connectionFds_.begin(), connectionFds_.end(), fd), connectionFds_.end());
    }
    ::shutdown(fd, SHUT_RDWR);
    ::close(fd);
}

}  // namespace vork::test
