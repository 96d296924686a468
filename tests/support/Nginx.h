#pragma once
// Runs nginx on 127.0.0.1 as the current user, in the foreground as one
// process, with a configuration written into its own folder: every path
// (pid, logs, temporary bodies) lies inside that folder. It serves
//  - the folder's www/ over HTTP and HTTPS (self-signed certificate),
//    with byte ranges;
//  - POST /upload: reads and drops the body, answers 200 "<ok/>".
// Used by the tests and by the benchmarks (compile Nginx.cpp and
// Certificates.cpp in).
#include <sys/types.h>

#include <string>

namespace vork::test {

struct NginxOptions {
    bool accessLog = true;
    // The server's certificate and key (PEM); a self-signed pair when empty.
    std::string certificatePath;
    std::string keyPath;
    // When set, HTTPS requires a client certificate issued by this CA.
    std::string clientCaPath;
};

class Nginx {
public:
    // Starts nginx with its files under `folder` (created when missing).
    // Throws std::runtime_error when it does not come up.
    explicit Nginx(const std::string &folder, NginxOptions options = {});
    ~Nginx();
    Nginx(const Nginx &) = delete;
    Nginx &operator=(const Nginx &) = delete;

    static bool available();

    int httpPort() const { return httpPort_; }
    int httpsPort() const { return httpsPort_; }
    std::string httpUrl(const std::string &path) const;
    std::string httpsUrl(const std::string &path) const;
    // Where files served at "/" live.
    std::string wwwFolder() const { return folder_ + "/www"; }
    std::string certificatePath() const {
        return options_.certificatePath.empty() ? folder_ + "/cert.pem" : options_.certificatePath;
    }
    std::string keyPath() const { return options_.keyPath.empty() ? folder_ + "/key.pem" : options_.keyPath; }
    std::string accessLogPath() const { return folder_ + "/access.log"; }
    std::string errorLogPath() const { return folder_ + "/error.log"; }

private:
    bool launch();
    void stop();

    std::string folder_;
    NginxOptions options_;
    int httpPort_ = 0;
    int httpsPort_ = 0;
    pid_t pid_ = -1;
};

// A TCP port on 127.0.0.1 that was free a moment ago.
int freeLoopbackPort();

}  // namespace vork::test
