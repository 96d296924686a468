// HTTP transfers from the shell: download, upload and a synchronous XML
// POST, through the transfer C functions, with a progress bar on stderr.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "Command.h"
#include "Output.h"

namespace vorkcomm {
namespace {

// Seconds without any change of progress or status before the hint.
constexpr int kStallSeconds = 30;
constexpr const char *kTransferOptions = "user= password-file= insecure";

struct Credentials {
    bool ok = true;
    std::string user, password;
    bool haveUser = false, havePassword = false;
    const char *userText() const { return haveUser ? user.c_str() : nullptr; }
    const char *passwordText() const { return havePassword ? password.c_str() : nullptr; }
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
            std::fprintf(stderr, "vorkcomm: cannot read the password file %s\n", o.get("password-file").c_str());
            c.ok = false;
            return c;
        }
        std::getline(in, c.password);
        c.havePassword = true;
    }
    return c;
}

// Polls the started transfer to its end; answers the exit code.
int runTransfer(const Options &o, const char *label) {
    const std::string failure = httpTransferStart();
    if (!failure.empty()) {
        httpTransferRelease();
        std::fprintf(stderr, "vorkcomm: the transfer did not start: %s\n", failure.c_str());
        return emit(o, "", {{"httpStatus", nullptr}, {"error", failure}}, kExitUnreachable);
    }
    ProgressBar bar(label, o);
    std::string lastStatus;
    double lastProgress = -2;
    auto lastChange = std::chrono::steady_clock::now();
    bool hinted = false;
    while (!httpTransferIsComplete()) {
        const char *status = httpTransferStatus();
        const double progress = httpTransferProgress();
        const bool statusChanged = status && lastStatus != status;
        if (statusChanged) {
            lastStatus = status;
            if (!lastStatus.empty()) note(o, "\n%s", status);
        }
        if (progress != lastProgress || statusChanged) {
            lastProgress = progress;
            lastChange = std::chrono::steady_clock::now();
        } else if (!hinted && std::chrono::steady_clock::now() - lastChange > std::chrono::seconds(kStallSeconds)) {
            hinted = true;
            std::fprintf(stderr,
                         "\nvorkcomm: no progress for %d s: the server sends nothing (slow or stuck server, a "
                         "proxy from http_proxy/https_proxy in the way?); still waiting, Ctrl-C stops\n",
                         kStallSeconds);
        }
        bar.update(progress);
    }
    const int code = httpResponseCode();
    const std::string error = httpTransferError();
    httpTransferRelease();
    bar.finish(error.empty());
    if (!error.empty()) {
        std::fprintf(stderr, "vorkcomm: HTTP %d: %s\n", code, error.c_str());
        return emit(o, "", {{"httpStatus", static_cast<long long>(code)}, {"error", error}},
                    code == 0 ? kExitUnreachable : kExitFailure);
    }
    note(o, "HTTP %d", code);
    return emit(o, "", {{"httpStatus", static_cast<long long>(code)}, {"error", nullptr}}, kExitOk);
}

// Why a download into the path cannot work (it would never make progress),
// or "" when it can.
std::string downloadTargetProblem(const std::string &path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
        return path + " is a folder: name the file to download into";
    const size_t slash = path.find_last_of('/');
    const std::string parent = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    if (::stat(parent.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) return "no folder " + parent + " to download into";
    return "";
}

int download(const Options &o) {
    if (o.positional.size() != 2) return usageError("download URL FILE [--user U --password-file F] [--insecure]");
    if (const std::string problem = downloadTargetProblem(o.positional[1]); !problem.empty()) {
        std::fprintf(stderr, "vorkcomm: %s\n", problem.c_str());
        return kExitUsage;
    }
    Credentials c = credentials(o);
    if (!c.ok) return kExitUsage;
    httpTransferInitDownload(o.positional[0].c_str(), o.has("insecure"), c.userText(), c.passwordText(), nullptr,
                             nullptr, o.positional[1].c_str());
    return runTransfer(o, "download");
}

int upload(const Options &o) {
    if (o.positional.size() != 2)
        return usageError("upload URL FILE [--user U --password-file F] [--insecure] [--retries N]");
    long long retries = 0;
    if (o.has("retries") && !parseNumber(o.get("retries"), 0, 1000, retries)) {
        std::fprintf(stderr, "vorkcomm: --retries needs a whole number from 0 to 1000, not '%s'\n",
                     o.get("retries").c_str());
        return kExitUsage;
    }
    Credentials c = credentials(o);
    if (!c.ok) return kExitUsage;
    if (o.has("retries")) httpTransferRetrySettings(static_cast<int>(retries), 5.0, 120.0);
    httpTransferInit(o.positional[0].c_str(), o.has("insecure"), c.userText(), c.passwordText(), nullptr,
                     o.positional[1].c_str());
    return runTransfer(o, "upload");
}

int post(const Options &o) {
    if (o.positional.size() != 1) return usageError("post URL [--user U --password-file F] [--insecure] < body.xml");
    Credentials c = credentials(o);
    if (!c.ok) return kExitUsage;
    std::string body((std::istreambuf_iterator<char>(std::cin.rdbuf())), std::istreambuf_iterator<char>());
    httpTransferInit(o.positional[0].c_str(), o.has("insecure"), c.userText(), c.passwordText(), body.c_str(),
                     nullptr);
    const char *answer = httpSubmitRequest();
    const std::string text = answer ? answer : "";
    const long long code = httpResponseCode();
    const std::string error = httpTransferError();
    httpTransferRelease();
    if (!error.empty()) {
        std::fprintf(stderr, "vorkcomm: %s\n", error.c_str());
        return emit(o, "", {{"httpStatus", code}, {"error", error}}, kExitUnreachable);
    }
    return emit(o, text, {{"httpStatus", code}, {"body", text}}, kExitOk);
}

CommandRegistrar r1({"download", "URL FILE [--user U --password-file F] [--insecure]",
                     "download into a file with progress", download, kTransferOptions});
CommandRegistrar r2({"upload", "URL FILE [--user U --password-file F] [--insecure] [--retries N]",
                     "POST a file's bytes with progress and retries", upload,
                     std::string(kTransferOptions) + " retries="});
CommandRegistrar r3({"post", "URL [--user U --password-file F] [--insecure] < body.xml",
                     "POST the XML on standard input and print the answer", post, kTransferOptions});

}  // namespace
}  // namespace vorkcomm
