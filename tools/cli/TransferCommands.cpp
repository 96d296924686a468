// HTTP transfers from the shell: download, upload and a synchronous XML
// POST, through the transfer C functions, with a progress bar on stderr.
#include <VORKCoreCommC/VORKCoreCommC.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "Command.h"

namespace vorkcomm {
namespace {

struct Credentials {
    bool ok = true;
    std::string user, password;
    bool haveUser = false, havePassword = false;
};

Credentials credentials(const Options &o) {
    Credentials c;
    if (o.has("user")) {
        c.user = o.get("user");
        c.haveUser = true;
    }
    if (o.has("password-file")) {
        std::ifstream in(o.get("password-file"));
        if (!in) {
            std::fprintf(stderr, "cannot read the password file\n");
            c.ok = false;
            return c;
        }
        std::getline(in, c.password);
        c.havePassword = true;
    }
    return c;
}

void progressBar(double percent) {
    const int width = 40;
    int filled = static_cast<int>(percent / 100.0 * width);
    if (filled < 0) filled = 0;
    if (filled > width) filled = width;
    std::fprintf(stderr, "\r[%s%s] %5.1f%%", std::string(filled, '#').c_str(), std::string(width - filled, ' ').c_str(),
                 percent < 0 ? 0.0 : percent);
}

// Polls the started transfer to its end; answers the exit code.
int runTransfer() {
    const char *failure = httpTransferStart();
    if (failure && *failure) {
        std::fprintf(stderr, "transfer failed: %s\n", failure);
        httpTransferRelease();
        return kExitUnreachable;
    }
    std::string lastStatus;
    while (!httpTransferIsComplete()) {
        const char *status = httpTransferStatus();
        if (status && *status && lastStatus != status) {
            lastStatus = status;
            std::fprintf(stderr, "\n%s\n", status);
        }
        progressBar(httpTransferProgress());
    }
    progressBar(100.0);
    std::fprintf(stderr, "\n");
    const int code = httpResponseCode();
    const std::string error = httpTransferError();
    httpTransferRelease();
    if (!error.empty()) {
        std::fprintf(stderr, "HTTP %d: %s\n", code, error.c_str());
        return code == 0 ? kExitUnreachable : kExitFailure;
    }
    std::fprintf(stderr, "HTTP %d\n", code);
    return kExitOk;
}

int download(const Options &o) {
    if (o.positional.size() != 2) {
        std::fprintf(stderr, "usage: vorkcomm download URL FILE [--user U --password-file F] [--insecure]\n");
        return kExitUsage;
    }
    Credentials c = credentials(o);
    if (!c.ok) return kExitUsage;
    httpTransferInitDownload(o.positional[0].c_str(), o.has("insecure"), c.haveUser ? c.user.c_str() : nullptr,
                             c.havePassword ? c.password.c_str() : nullptr, nullptr, nullptr, o.positional[1].c_str());
    return runTransfer();
}

int upload(const Options &o) {
    if (o.positional.size() != 2) {
        std::fprintf(stderr, "usage: vorkcomm upload URL FILE [--user U --password-file F] [--insecure]\n");
        return kExitUsage;
    }
    Credentials c = credentials(o);
    if (!c.ok) return kExitUsage;
    if (o.has("retries")) httpTransferRetrySettings(std::stoi(o.get("retries")), 5.0, 120.0);
    httpTransferInit(o.positional[0].c_str(), o.has("insecure"), c.haveUser ? c.user.c_str() : nullptr,
                     c.havePassword ? c.password.c_str() : nullptr, nullptr, o.positional[1].c_str());
    return runTransfer();
}

int post(const Options &o) {
    if (o.positional.size() != 1) {
        std::fprintf(stderr, "usage: vorkcomm post URL [--user U --password-file F] [--insecure] < body.xml\n");
        return kExitUsage;
    }
    Credentials c = credentials(o);
    if (!c.ok) return kExitUsage;
    std::string body((std::istreambuf_iterator<char>(std::cin.rdbuf())), std::istreambuf_iterator<char>());
    httpTransferInit(o.positional[0].c_str(), o.has("insecure"), c.haveUser ? c.user.c_str() : nullptr,
                     c.havePassword ? c.password.c_str() : nullptr, body.c_str(), nullptr);
    const char *answer = httpSubmitRequest();
    const std::string error = httpTransferError();
    httpTransferRelease();
    if (!error.empty()) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return kExitUnreachable;
    }
    std::printf("%s\n", answer ? answer : "");
    return kExitOk;
}

struct Switches {
    Switches() { addSwitch("insecure"); }
} switches;

CommandRegistrar r1({"download", "URL FILE", "download into a file with progress (--user, --password-file, --insecure)", download});
CommandRegistrar r2({"upload", "URL FILE", "POST a file's bytes with progress (--retries N as well)", upload});
CommandRegistrar r3({"post", "URL", "POST the XML on standard input and print the answer", post});

}  // namespace
}  // namespace vorkcomm
