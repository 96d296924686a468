// Request bodies and downloads whose files fail: a missing body, a body that
// fails part-way (through a file service that fails on demand) and an output
// file that cannot be made each end the request the way the real one would.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "base/Exception.h"
#include "http/HttpFixture.h"
#include "http/VORKHTTPRequest.h"
#include "http/VORKNetworkingException.h"
#include "platform/FileAccess.h"

namespace vork {
namespace {

// The real service, except that reads after the first piece fail with EACCES.
class FailingReads : public platform::FileAccess {
public:
    std::unique_ptr<platform::OpenFile> openForReading(const std::string &path, int &error) override {
        auto file = real_->openForReading(path, error);
        return file ? std::make_unique<File>(std::move(file)) : nullptr;
    }
    std::unique_ptr<platform::OpenFile> openForAppending(const std::string &path, int &error) override {
        return real_->openForAppending(path, error);
    }
    std::optional<uint64_t> sizeOf(const std::string &path) override { return real_->sizeOf(path); }

private:
    struct File : platform::OpenFile {
        explicit File(std::unique_ptr<platform::OpenFile> real) : real_(std::move(real)) {}
        long readAt(char *buffer, size_t size, uint64_t offset, int &error) override {
            if (offset == 0) return real_->readAt(buffer, std::min<size_t>(size, 1000), offset, error);
            error = EACCES;
            return -1;
        }
        bool append(const char *data, size_t size, int &error) override { return real_->append(data, size, error); }
        std::optional<uint64_t> size() override { return real_->size(); }
        std::unique_ptr<platform::OpenFile> real_;
    };
    std::shared_ptr<platform::FileAccess> real_ = platform::fileAccess().get();
};

TEST(FileAccessFaults, FailuresOfTheFilesEndTheRequest) {
    test::FaultServer server(test::always(200, std::string(20000, 'x')));
    test::TempDir dir;
    const std::string body = dir.write("body.bin", std::string(5000, 'b')).string();
    struct Case {
        std::string body;
        bool failingReads;
        const char *domain;  // of the error the request ends with
        long code;
    };
    for (const Case &c : {Case{(dir / "absent.bin").string(), false, "NSPOSIXErrorDomain", ENOENT},
                          Case{body, true, "NSURLErrorDomain", -999}}) {
        SCOPED_TRACE(c.body);
        std::optional<platform::ServiceSlot<platform::FileAccess>::Override> double_;
        if (c.failingReads) double_.emplace(platform::fileAccess().install(std::make_shared<FailingReads>()));
        VORKHTTPRequest request(server.url("/x"));
        request.setPostFilePath(c.body);
        EXPECT_THROW(request.submitRequest(), VORKNetworkingException);
        ASSERT_TRUE(request.error());
        EXPECT_EQ(request.error()->domain(), c.domain);
        EXPECT_EQ(request.error()->code(), c.code);
    }
    // An output file under a plain file cannot be made.
    VORKHTTPRequest request(server.url("/x"));
    request.setDownloadFilePath((dir / "body.bin/out.bin").string());
    try {
        request.submitRequest();
        ADD_FAILURE() << "an output file that cannot be opened did not raise";
    } catch (const Exception &e) {
        EXPECT_EQ(e.name(), "URL Download Error");
    }
}

}  // namespace
}  // namespace vork
