// Passwords given to the library never show up where others can read them:
// log lines, system-log notices, files the library writes, or the command
// lines of this process and of any process it started.
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <dirent.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <mutex>
#include <sstream>

#include "VORKCoreCommC/security/VORKSecurityKeychain.h"
#include "platform/SystemLog.h"
#include "support/RecordingLog.h"
#include "support/RefServer.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using vork::test::readFile;

struct RecordingSystemLog : vork::platform::SystemLog {
    std::mutex mutex;
    std::vector<std::string> notices;
    void notice(const std::string &text) override {
        std::lock_guard<std::mutex> lock(mutex);
        notices.push_back(text);
    }
};

// The command lines of this process and of every process whose parent it is.
std::vector<std::string> ownCommandLines() {
    std::vector<std::string> lines{readFile("/proc/self/cmdline")};
    const std::string self = std::to_string(::getpid());
    for (const auto &entry : fs::directory_iterator("/proc")) {
        const std::string stat = readFile(entry.path() / "stat");
        const size_t close = stat.rfind(')');
        if (close == std::string::npos) continue;
        std::istringstream fields(stat.substr(close + 2));
        std::string state, parent;
        fields >> state >> parent;
        if (parent == self) lines.push_back(readFile(entry.path() / "cmdline"));
    }
    return lines;
}

// Every place a secret could leak to, as text, with where it came from.
std::vector<std::pair<std::string, std::string>> exposedTexts(const vork::test::RecordingLog &log,
                                                              RecordingSystemLog &systemLog,
                                                              const std::vector<fs::path> &folders) {
    std::vector<std::pair<std::string, std::string>> texts;
    for (const auto &line : log.lines()) texts.emplace_back("log line", line);
    {
        std::lock_guard<std::mutex> lock(systemLog.mutex);
        for (const auto &notice : systemLog.notices) texts.emplace_back("system log", notice);
    }
    for (const auto &folder : folders)
        for (const auto &entry : fs::recursive_directory_iterator(folder))
            if (entry.is_regular_file()) texts.emplace_back(entry.path().string(), readFile(entry.path()));
    for (const auto &line : ownCommandLines()) texts.emplace_back("command line", line);
    return texts;
}

void pollTransfer() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!httpTransferIsComplete() && std::chrono::steady_clock::now() < deadline) httpTransferProgress();
}

TEST(Secrets, PasswordsNeverReachLogsFilesOrCommandLines) {
    vork::test::SystemRootSandbox sandbox;
    sandbox.root().write("etc/machine-id", "0123456789abcdef0123456789abcdef\n");
    vork::test::TempDir dir;
    verifyZelInterface();  // the first session installs the silent log; record after it
    vork::test::RecordingLog log;
    auto systemLog = std::make_shared<RecordingSystemLog>();
    auto installed = vork::platform::systemLog().install(systemLog);
    vork::test::RefServer server({.password = "Pw-3f9c1e-not-for-logs"});
    server.addFile("data.bin", std::string(100000, 'd'));

    // Where a password enters the library: one row per source.
    struct Source { std::string name, secret; std::function<void(const std::string &secret)> use; };
    const std::string upload = dir.write("upload.txt", "inventory").string();
    const std::vector<Source> sources = {
        {"server password", server.password(),
         [&](const std::string &secret) {
             setZelUrl(server.url().c_str());
             setZelUsername(server.user().c_str());
             setZelPassword(secret.c_str());
             EXPECT_NE(std::string(keepAlive(1)).find("<code>0</code>"), std::string::npos);
             clientSitePrivileges("Self Service");
             clientSiteSelection(4);
         }},
        {"transfer password", server.password(),
         [&](const std::string &secret) {
             const std::string out = (dir / "down/data.bin").string();
             httpTransferInitDownload(server.fileUrl("data.bin").c_str(), false, server.user().c_str(),
                                      secret.c_str(), nullptr, nullptr, out.c_str());
             httpTransferAddHeader("X-Agent", "secrets-test");
             httpTransferStart();
             pollTransfer();
             EXPECT_EQ(httpResponseCode(), 200);
             httpTransferInit(server.uploadUrl("up.txt").c_str(), false, server.user().c_str(), secret.c_str(),
                              "<post/>", upload.c_str());
             httpTransferStart();
             pollTransfer();
             httpTransferResult();
             httpTransferError();
             httpTransferInit(server.url().c_str(), false, server.user().c_str(), secret.c_str(), "<post/>", nullptr);
             httpSubmitRequest();
             httpTransferRelease();
         }},
        {"keychain password", "Kc-7d2a90-not-for-logs",
         [&](const std::string &secret) {
             using vork::VORKSecurityKeychain;
             const std::string path = sandbox.at("/Library/Application Support/VORK/secrets.keychain");
             fs::create_directories(fs::path(path).parent_path());
             auto keychain = VORKSecurityKeychain::createKeychainAtPath(path, secret, nullptr, nullptr);
             ASSERT_TRUE(keychain);
             EXPECT_TRUE(keychain->lock(nullptr));
             EXPECT_FALSE(keychain->unlockWithPassword(secret + "-wrong", nullptr));
             EXPECT_TRUE(keychain->unlockWithPassword(secret, nullptr));
             auto pair = keychain->generateKeyPair(nullptr);
             ASSERT_TRUE(pair);
             EXPECT_TRUE(pair->exportPrivateKeyWithPassword(secret, nullptr));
             auto reopened = VORKSecurityKeychain::loadKeychainAtPath(path, nullptr);
             ASSERT_TRUE(reopened);
             EXPECT_TRUE(reopened->unlockWithPassword(secret, nullptr));
         }},
    };
    for (const auto &source : sources) {
        SCOPED_TRACE(source.name);
        source.use(source.secret);
        ASSERT_FALSE(log.lines().empty());
        for (const auto &[where, text] : exposedTexts(log, *systemLog, {sandbox.root().path(), dir.path()}))
            EXPECT_EQ(text.find(source.secret), std::string::npos) << where << ": " << text.substr(0, 300);
    }
}

}  // namespace
