#pragma once
// Test doubles and helpers of the security tests: who the running program
// is, which user it acts as, ownership changes, and certificates made with
// the openssl tool at test time.
#include <map>
#include <memory>
#include <set>
#include <string>

#include "platform/EffectiveUser.h"
#include "platform/FileAttributes.h"
#include "platform/RunningProgram.h"
#include "support/Certificates.h"
#include "support/TempDir.h"

namespace vork::test {

class FakeProgram : public platform::RunningProgram, public platform::EffectiveUser {
public:
    std::string exe;
    uid_t uid = 0;
    std::set<gid_t> groups;
    std::string executablePath() override { return exe; }
    bool isMemberOfGroup(gid_t group) override { return groups.count(group) > 0; }
    uid_t effectiveUserId() override { return uid; }
};

// Installs a FakeProgram as both services for the life of the object.
struct ProgramScope {
    std::shared_ptr<FakeProgram> program = std::make_shared<FakeProgram>();
    platform::ServiceSlot<platform::RunningProgram>::Override a =
        platform::runningProgram().install(program);
    platform::ServiceSlot<platform::EffectiveUser>::Override b = platform::effectiveUser().install(program);
};

// Records owner changes (which need root) and passes everything else,
// modes included, to the real file attributes.
class RecordingOwnership : public platform::FileAttributes {
public:
    std::map<std::string, std::pair<uid_t, gid_t>> owners;
    std::optional<platform::ItemAttributes> attributesOfItem(const std::string &path, bool followLink) override {
        return real->attributesOfItem(path, followLink);
    }
    platform::FolderCreation createFolder(const std::string &path, uint32_t mode) override {
        return real->createFolder(path, mode);
    }
    void setOwnerAndMode(const std::string &path, std::optional<uint32_t> owner, std::optional<uint32_t> group,
                         uint32_t mode) override {
        if (owner || group) owners[path] = {owner ? *owner : uid_t(-1), group ? *group : gid_t(-1)};
        real->setOwnerAndMode(path, std::nullopt, std::nullopt, mode);
    }
    std::optional<uint32_t> groupIdNamed(const std::string &name) override { return real->groupIdNamed(name); }
    bool isReadable(const std::string &path) override { return real->isReadable(path); }
    uint64_t sizeOfItem(const std::string &path) override { return real->sizeOfItem(path); }

private:
    std::shared_ptr<platform::FileAttributes> real = platform::fileAttributes().get();
};

// A CA (key and certificate) made with openssl in `folder`.
struct TestCa {
    std::string certificatePath, keyPath;
};
TestCa makeCa(const std::string &folder, const std::string &commonName);
// A certificate signed by the CA: for an existing public key (DER file) when
// `publicKeyDer` is given, otherwise with a new key written beside it.
// Answers the certificate's path (PEM); the DER is at the same path + ".der".
std::string issueCertificate(const TestCa &ca, const std::string &folder, const std::string &name,
                             const std::string &subject, const std::string &publicKeyDer = "");

}  // namespace vork::test
