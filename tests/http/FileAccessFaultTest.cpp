// Request bodies and downloads through a file service that fails on
// demand: each failure ends the request the way the real one would.
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

// The real service, except that the chosen step fails with `error`.
class FailingFileAccess : public platform::FileAccess {
public:
    enum Step { Open, Read, OpenForAppending, Append };
    FailingFileAccess(Step step, int error) : step_(step), error_(error) {}

    std::unique_ptr<platform::OpenFile> openForReading(const std::string &path, int &error) override {
        return wrap(step_ == Open, real_->openForReading(path, error), error);
    }
    std::unique_ptr<platform::OpenFile> openForAppending(const std::string &path, int &error) override {
        return wrap(step_ == OpenForAppending, real_->openForAppending(path, error), error);
    }
    std::optional<uint64_t> sizeOf(const std::string &path) override { return real_->sizeOf(path); }

private:
    class File : public platform::OpenFile {
    public:
        File(std::unique_ptr<platform::OpenFile> real, Step step, int error)
            : real_(std::move(real)), step_(step), error_(error) {}
        long readAt(char *buffer, size_t size, uint64_t offset, int &error) override {
            if (step_ != Read || offset == 0) return real_->readAt(buffer, std::min<size_t>(size, 1000), offset, error);
            error = error_;
            return -1;
        }
        bool append(const char *data, size_t size, int &error) override {
            if (step_ != Append) return real_->append(data, size, error);
            error = error_;
            return false;
        }
        std::optional<uint64_t> size() override { return real_->size(); }

    private:
        std::unique_ptr<platform::OpenFile> real_;
        Step step_;
        int error_;
    };

    std::unique_ptr<platform::OpenFile> wrap(bool fail, std::unique_ptr<platform::OpenFile> file, int &error) {
        if (fail) {
            error = error_;
            return nullptr;
        }
        return file ? std::make_unique<File>(std::move(file), step_, error_) : nullptr;
    }

    std::shared_ptr<platform::FileAccess> real_ = platform::fileAccess().get();
    Step step_;
    int error_;
};

TEST(FileAccessFaults, FailuresOfTheFileServiceEndTheRequest) {
    test::FaultServer server(test::always(200, std::string(20000, 'x')));
    test::TempDir dir;
    const std::string body = dir.write("body.bin", std::string(5000, 'b')).string();
    const std::string out = (dir / "out.bin").string();
    struct Case {
        FailingFileAccess::Step step;
        const char *domain;  // of the error the request ends with
        long code;
    } cases[] = {
        {FailingFileAccess::Open, "NSPOSIXErrorDomain", EACCES},
        {FailingFileAccess::Read, "NSURLErrorDomain", -999},
        {FailingFileAccess::Append, "NSURLErrorDomain", -3003},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.step);
        auto double_ = platform::fileAccess().install(std::make_shared<FailingFileAccess>(c.step, EACCES));
        VORKHTTPRequest request(server.url("/x"));
        if (c.step == FailingFileAccess::Append) request.setDownloadFilePath(out);
        else request.setPostFilePath(body);
        EXPECT_THROW(request.submitRequest(), VORKNetworkingException);
        ASSERT_TRUE(request.error());
        EXPECT_EQ(request.error()->domain(), c.domain);
        EXPECT_EQ(request.error()->code(), c.code);
        EXPECT_FALSE(std::filesystem::exists(out)) << "a failed download left its empty file";
    }
    auto double_ = platform::fileAccess().install(
        std::make_shared<FailingFileAccess>(FailingFileAccess::OpenForAppending, EACCES));
    VORKHTTPRequest request(server.url("/x"));
    request.setDownloadFilePath(out);
    try {
        request.submitRequest();
        ADD_FAILURE() << "an output file that cannot be opened did not raise";
    } catch (const Exception &e) {
        EXPECT_EQ(e.name(), "URL Download Error");
    }
}

}  // namespace
}  // namespace vork
