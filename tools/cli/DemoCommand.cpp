// vorkcomm demo: one agent session end to end against the reference server,
// started here on 127.0.0.1 over HTTPS with a self-signed certificate, in a
// temporary folder that is removed afterwards.
#include <VORKCoreCommC/VORKCoreCommC.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "Command.h"
#include "Output.h"
#include "Session.h"

namespace fs = std::filesystem;

namespace vorkcomm {
namespace {

constexpr const char *kUser = "agent";
constexpr const char *kPackage = "VORKAgent.pkg";
constexpr unsigned long long kPackageBytes = 24ull << 20;

// The reference server script: beside the source tree the tool was built
// from, or installed under share/vorkcommc/refserver of a prefix (both found
// by walking up from the executable), or VORK_REFSERVER.
std::optional<fs::path> findRefServer() {
    if (const char *env = std::getenv("VORK_REFSERVER"); env && *env) return fs::path(env);
    std::error_code ec;
    fs::path exe = fs::read_symlink("/proc/self/exe", ec);
    if (ec) return std::nullopt;
    for (fs::path dir = exe.parent_path(); !dir.empty(); dir = dir.parent_path()) {
        fs::path candidate = dir / "tools" / "refserver" / "refserver.py";
        if (fs::is_regular_file(candidate, ec)) return candidate;
        fs::path installed = dir / "share" / "vorkcommc" / "refserver" / "refserver.py";
        if (fs::is_regular_file(installed, ec)) return installed;
        if (dir == dir.root_path()) break;
    }
    return std::nullopt;
}

std::string readAll(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void makePackage(const fs::path &path) {
    std::ofstream out(path, std::ios::binary);
    std::mt19937_64 random(20240601);
    std::vector<uint64_t> block(1 << 13);
    for (unsigned long long written = 0; written < kPackageBytes; written += block.size() * sizeof(uint64_t)) {
        for (auto &word : block) word = random();
        out.write(reinterpret_cast<const char *>(block.data()), static_cast<std::streamsize>(block.size() * 8));
    }
}

// The reference server as a child process; stopped by stop() or with us.
class ServerProcess {
public:
    ~ServerProcess() { stop(); }

    bool start(const fs::path &script, const fs::path &folder, std::string &port) {
        fs::path portFile = folder / "port";
        fs::path passwordFile = folder / "password";
        {
            std::ofstream pw(passwordFile);
            pw << password_ << "\n";
        }
        fs::permissions(passwordFile, fs::perms::owner_read | fs::perms::owner_write);
        std::vector<std::string> args = {
            "python3", script.string(), "--port", "0", "--port-file", portFile.string(),
            "--self-signed", (folder / "tls").string(), "--user", kUser, "--password-file", passwordFile.string(),
            "--files", (folder / "files").string(), "--uploads", (folder / "uploads").string()};
        logPath_ = folder / "refserver.log";
        pid_ = ::fork();
        if (pid_ < 0) return false;
        if (pid_ == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGTERM);
            int log = ::open(logPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
            if (log >= 0) {
                ::dup2(log, STDOUT_FILENO);
                ::dup2(log, STDERR_FILENO);
            }
            std::vector<char *> argv;
            for (auto &a : args) argv.push_back(a.data());
            argv.push_back(nullptr);
            if (::access("/usr/bin/python3", X_OK) == 0) ::execv("/usr/bin/python3", argv.data());
            ::execvp("python3", argv.data());
            ::_exit(127);
        }
        auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < deadline) {
            std::string text = readAll(portFile);
            if (!text.empty() && text.back() == '\n') {
                port = text.substr(0, text.size() - 1);
                return true;
            }
            int status = 0;
            if (::waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;
                return false;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return false;
    }

    void stop() {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGTERM);
        for (int i = 0; i < 100; ++i) {
            if (::waitpid(pid_, nullptr, WNOHANG) == pid_) {
                pid_ = -1;
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }

    std::string log() const { return readAll(logPath_); }
    const std::string &password() const { return password_; }

private:
    pid_t pid_ = -1;
    fs::path logPath_;
    std::string password_ = [] {
        std::random_device device;
        std::string text = "demo-";
        for (int i = 0; i < 16; ++i) text.push_back("abcdefghijklmnopqrstuvwxyz0123456789"[device() % 36]);
        return text;
    }();
};

// A temporary folder removed with the object.
struct TempFolder {
    fs::path path;
    TempFolder() {
        std::string pattern = (fs::temp_directory_path() / "vorkcomm-demo-XXXXXX").string();
        if (::mkdtemp(pattern.data())) path = pattern;
    }
    ~TempFolder() {
        std::error_code ec;
        if (!path.empty()) fs::remove_all(path, ec);
    }
};

struct Step {
    int number = 0;
    int failures = 0;
    void begin(const char *what) { std::printf("\n[%d] %s\n", ++number, what); }
    bool check(bool ok, const std::string &detail) {
        std::printf("    %s %s\n", ok ? "ok  " : "FAIL", detail.c_str());
        if (!ok) ++failures;
        return ok;
    }
};

// Runs a server call and reports its status; answers the reply text.
std::string call(Step &step, const char *what, const char *reply, int expected = 0) {
    std::string text = reply ? reply : "";
    Answer answer = readAnswer(text);
    std::string detail = std::string(what) + ": status " + std::to_string(answer.code) + " (" +
                         (answer.code == 1999 ? "no usable answer from the server" : answer.description) + ")";
    step.check(answer.parsed && answer.code == expected, detail);
    return text;
}

// Every <name> text inside the elements called `within`.
std::vector<std::string> allTexts(const std::string &xml, const std::string &name) {
    std::vector<std::string> out;
    size_t pos = 0;
    while (true) {
        size_t at = xml.find(":" + name + ">", pos);
        if (at == std::string::npos) break;
        size_t open = xml.rfind('<', at);
        if (open == std::string::npos || xml[open + 1] == '/') {
            pos = at + 1;
            continue;
        }
        auto text = elementText(xml, name, open);
        if (text) out.push_back(*text);
        pos = at + 1;
    }
    return out;
}

std::string unescape(std::string text) {
    const std::pair<const char *, const char *> entities[] = {
        {"&amp;", "&"}, {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&apos;", "'"}};
    for (auto [from, to] : entities)
        for (size_t at; (at = text.find(from)) != std::string::npos;) text.replace(at, std::strlen(from), to);
    return text;
}

int demo(const Options &options) {
    auto script = findRefServer();
    if (!script) {
        std::fprintf(stderr, "vorkcomm demo: cannot find tools/refserver/refserver.py (set VORK_REFSERVER)\n");
        return kExitFailure;
    }
    TempFolder temp;
    if (temp.path.empty()) {
        std::fprintf(stderr, "vorkcomm demo: cannot make a temporary folder\n");
        return kExitFailure;
    }
    fs::create_directories(temp.path / "files");
    fs::create_directories(temp.path / "uploads");
    fs::create_directories(temp.path / "agent");
    fs::create_directories(temp.path / "installers");
    makePackage(temp.path / "files" / kPackage);

    std::printf("vorkcomm demo: an agent session against the reference management server\n");
    std::printf("working folder %s\n", temp.path.c_str());

    Step step;
    ServerProcess server;
    std::string port;
    step.begin("start the reference server (HTTPS, self-signed certificate, basic authentication)");
    if (!server.start(*script, temp.path, port)) {
        step.check(false, "the server did not start:\n" + server.log());
        return kExitFailure;
    }
    step.check(true, "listening on https://127.0.0.1:" + port);

    step.begin("configure the server session");
    const char *url = zelURLFromUserInput(("https://127.0.0.1:" + port).c_str());
    std::string serverUrl = url ? url : "";
    setZelUrl(serverUrl.c_str());
    setZelUsername(kUser);
    setZelPassword(server.password().c_str());
    setAllowInvalidCertificate(1);  // the demo's certificate is self-signed
    step.check(!serverUrl.empty(), "server " + serverUrl + ", user " + kUser + ", password ********, --insecure");

    step.begin("keep-alive");
    call(step, "keepAlive", keepAlive(0));

    step.begin("list the sites of this user and select one");
    std::string sites = call(step, "clientSitePrivileges", clientSitePrivileges("vorkcomm"));
    auto names = allTexts(sites, "name");
    auto ids = allTexts(sites, "id");
    for (size_t i = 0; i < names.size() && i < ids.size(); ++i)
        std::printf("    site %s: %s\n", ids[i].c_str(), unescape(names[i]).c_str());
    int chosen = ids.empty() ? 0 : std::atoi(ids[0].c_str());
    step.check(!ids.empty(), "choosing site " + std::to_string(chosen));
    call(step, "clientSiteSelection", clientSiteSelection(chosen));

    step.begin("read the inventory collection preferences");
    std::string prefs = call(step, "computerInventoryPrefs", computerInventoryPrefs());
    for (const auto &label : allTexts(prefs, "label")) std::printf("    choice: %s\n", unescape(label).c_str());

    step.begin("fetch a printer and a script");
    std::string printer = call(step, "getPrinterInfo(7)", getPrinterInfo(7));
    auto printerNames = allTexts(printer, "name");
    if (!printerNames.empty()) std::printf("    printer: %s\n", unescape(printerNames[0]).c_str());
    std::string scriptReply = call(step, "retrieveScriptData(12)", retrieveScriptData(12));
    auto scriptNames = allTexts(scriptReply, "name");
    if (!scriptNames.empty()) std::printf("    script: %s\n", unescape(scriptNames[0]).c_str());

    step.begin("download a package");
    std::string packageUrl = "https://127.0.0.1:" + port + "/files/" + kPackage;
    fs::path downloaded = temp.path / "agent" / kPackage;
    httpTransferInitDownload(packageUrl.c_str(), true, kUser, server.password().c_str(), nullptr, nullptr,
                             downloaded.c_str());
    const char *started = httpTransferStart();
    bool downloadOk = started && !*started;
    if (downloadOk) {
        ProgressBar bar("    " + std::string(kPackage), options);
        while (!httpTransferIsComplete()) bar.update(httpTransferProgress());
        int code = httpResponseCode();
        std::string error = httpTransferError() ? httpTransferError() : "";
        downloadOk = code == 200 && error.empty();
        bar.finish(downloadOk);
        step.check(downloadOk, "HTTP " + std::to_string(code) + (error.empty() ? "" : ": " + error) + ", " +
                                   std::to_string(fs::exists(downloaded) ? fs::file_size(downloaded) : 0) + " bytes");
    } else {
        step.check(false, std::string("the download did not start: ") + (started ? started : "?"));
    }
    httpTransferRelease();

    step.begin("hash it and compare with the server's digest");
    std::string serverDigest;
    httpTransferInit((packageUrl + ".sha512").c_str(), true, kUser, server.password().c_str(), nullptr, nullptr);
    const char *digestText = httpSubmitRequest();
    if (digestText) serverDigest = std::string(digestText).substr(0, std::string(digestText).find(' '));
    httpTransferRelease();
    std::string ours;
    if (downloadOk) {
        fileHashSHA512Start(downloaded.c_str());
        while (!fileHashIsComplete()) std::this_thread::sleep_for(std::chrono::milliseconds(10));
        const char *result = fileHashResult();
        ours = result ? result : "";
        fileHashRelease();
    }
    std::printf("    server SHA-512: %.32s...\n    local  SHA-512: %.32s...\n", serverDigest.c_str(), ours.c_str());
    step.check(!ours.empty() && ours == serverDigest, ours == serverDigest ? "digests match" : "digests differ");

    step.begin("copy it to the installers folder");
    fs::path installers = temp.path / "installers";
    const char *copyStarted = downloadOk ? fileCopyStart(downloaded.c_str(), installers.c_str()) : "no download";
    if (copyStarted && !*copyStarted) {
        ProgressBar bar("    copy", options);
        while (!fileCopyIsComplete()) bar.update(fileCopyProgress());
        double progress = fileCopyProgress();
        bar.finish(progress >= 100.0);
        fs::path copy = installers / kPackage;
        bool same = fs::exists(copy) && fs::file_size(copy) == fs::file_size(downloaded);
        step.check(same, "copied to " + copy.string());
    } else {
        step.check(false, std::string("the copy did not start: ") + (copyStarted ? copyStarted : "?"));
    }
    fileCopyRelease();

    step.begin("stop the server");
    server.stop();
    step.check(true, "stopped; temporary folder removed on exit");

    if (step.failures == 0) {
        std::printf("\nThe whole session succeeded: keep-alive, sites, inventory preferences, printer, script,\n"
                    "a %llu MB package downloaded over HTTPS, its SHA-512 matched the server's, and it was copied.\n",
                    kPackageBytes >> 20);
        return kExitOk;
    }
    std::printf("\n%d step(s) failed.\n", step.failures);
    if (options.has("verbose")) std::printf("server log:\n%s\n", server.log().c_str());
    return kExitFailure;
}

CommandRegistrar r({"demo", "[--verbose]", "an agent session end to end against the reference server", demo,
                    "verbose"});

}  // namespace
}  // namespace vorkcomm
