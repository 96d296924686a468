// The Linux copy engine. The start runs on the caller's thread: it checks
// the paths and creates the destination item with O_EXCL / mkdir, which both
// refuses an existing name atomically and catches permission problems at
// once. A worker thread (CopyJob.h) then fills the item.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <thread>

#include "platform/CopyEngine.h"
#include "platform/linux/CopyJob.h"

namespace vork {

long copyStatusFromErrno(int errnum) {
    switch (errnum) {
        case 0: return copystatus::kNoErr;
        case ENOENT: return copystatus::kNotFound;
        case ENOTDIR: return copystatus::kNotAFolder;
        case EEXIST: return copystatus::kDuplicateName;
        case EACCES:
        case EPERM: return copystatus::kPermission;
        case EROFS: return copystatus::kReadOnly;
        case ENOSPC:
        case EDQUOT:
        case EFBIG: return copystatus::kDiskFull;
        case EINVAL:
        case ELOOP:
        case ENAMETOOLONG: return copystatus::kParameter;
        default: return copystatus::kIOError;
    }
}

namespace {

using platform::copyjob::Clock;
using platform::copyjob::Descriptor;
using platform::copyjob::Job;
using platform::copyjob::Kind;

class LinuxCopyOperation : public CopyOperation {
public:
    LinuxCopyOperation(std::shared_ptr<Job> job, std::thread worker) : job_(std::move(job)), worker_(std::move(worker)) {}
    ~LinuxCopyOperation() override {
        job_->cancelled.store(true);
        if (worker_.joinable()) worker_.join();
    }

private:
    std::shared_ptr<Job> job_;
    std::thread worker_;
};

// The last component of a path, ignoring trailing slashes ("a/b/" -> "b").
std::string lastComponent(const std::string &path) {
    size_t end = path.find_last_not_of('/');
    if (end == std::string::npos) return {};
    size_t start = path.find_last_of('/', end);
    return path.substr(start == std::string::npos ? 0 : start + 1, end - (start == std::string::npos ? 0 : start + 1) + 1);
}

// Whether `inner` is `outer` or lies inside it, by their real paths.
bool isInside(const std::string &inner, const std::string &outer) {
    std::unique_ptr<char, decltype(&std::free)> a(::realpath(inner.c_str(), nullptr), &std::free);
    std::unique_ptr<char, decltype(&std::free)> b(::realpath(outer.c_str(), nullptr), &std::free);
    if (!a || !b) return false;
    std::string in = a.get(), out = b.get();
    if (out == "/") return true;
    return in == out || in.rfind(out + "/", 0) == 0;
}

class LinuxCopyEngine : public CopyEngine {
public:
    Started startCopy(const std::string &source, const std::string &destinationFolder, std::shared_ptr<RunLoop> loop,
                      RunLoop::Seconds interval, StatusCallback callback) override {
        struct stat st {};
        if (::lstat(source.c_str(), &st) != 0) return {copyStatusFromErrno(errno), nullptr};
        struct stat folder {};
        if (::stat(destinationFolder.c_str(), &folder) != 0) return {copyStatusFromErrno(errno), nullptr};
        if (!S_ISDIR(folder.st_mode)) return {copystatus::kNotAFolder, nullptr};
        const std::string name = lastComponent(source);
        if (name.empty() || name == "." || name == "..") return {copystatus::kParameter, nullptr};
        if (S_ISDIR(st.st_mode) && isInside(destinationFolder, source)) return {copystatus::kParameter, nullptr};

        Descriptor folderFd(::open(destinationFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!folderFd) return {copyStatusFromErrno(errno), nullptr};

        auto job = std::make_shared<Job>();
        job->destinationItem = (std::filesystem::path(destinationFolder) / name).string();
        job->sourceStat = st;
        job->loop = std::move(loop);
        job->interval = std::chrono::duration_cast<Clock::duration>(interval);
        job->callback = std::move(callback);

        if (S_ISREG(st.st_mode)) {
            job->kind = Kind::File;
            job->source = Descriptor(::open(source.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
            if (!job->source) return {copyStatusFromErrno(errno), nullptr};
            job->destination = Descriptor(
                ::openat(folderFd.get(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, st.st_mode & 0777));
            if (!job->destination) return {copyStatusFromErrno(errno), nullptr};
        } else if (S_ISDIR(st.st_mode)) {
            job->kind = Kind::Folder;
            job->source = Descriptor(::open(source.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
            if (!job->source) return {copyStatusFromErrno(errno), nullptr};
            if (::mkdirat(folderFd.get(), name.c_str(), 0700) != 0) return {copyStatusFromErrno(errno), nullptr};
            job->destination =
                Descriptor(::openat(folderFd.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
            if (!job->destination) {
                int err = errno;
                ::unlinkat(folderFd.get(), name.c_str(), AT_REMOVEDIR);
                return {copyStatusFromErrno(err), nullptr};
            }
        } else {
            job->kind = Kind::Other;
            Descriptor parent(::open(std::filesystem::path(source).parent_path().empty()
                                         ? "."
                                         : std::filesystem::path(source).parent_path().c_str(),
                                     O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            if (!parent) return {copyStatusFromErrno(errno), nullptr};
            if (int err = Job::makeOther(parent.get(), name.c_str(), st, folderFd.get()))
                return {copyStatusFromErrno(err), nullptr};
            job->bytes.store(static_cast<uint64_t>(st.st_size));
        }

        try {
            std::thread worker([job] { job->run(); });
            return {copystatus::kNoErr, std::make_unique<LinuxCopyOperation>(job, std::move(worker))};
        } catch (const std::system_error &e) {
            job->source.reset();
            job->destination.reset();
            std::error_code ignored;
            std::filesystem::remove_all(job->destinationItem, ignored);
            return {copyStatusFromErrno(e.code().value()), nullptr};
        }
    }
};

}  // namespace

platform::ServiceSlot<CopyEngine> &copyEngine() { return platform::defaultServiceSlot<CopyEngine, LinuxCopyEngine>(); }

}  // namespace vork
