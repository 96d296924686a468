#pragma once
// The one way the library owns a process-wide object that it publishes
// through an exported pointer (g_HttpTransfer, g_FileCopy, g_PartitionDisk,
// ...). The exported pointer is the only record of the object: make() frees
// the previous object and publishes a new one, release() frees it and
// publishes NULL, and nothing frees it at process exit. An agent that exits
// with an object still published therefore never runs its destructor against
// thread-local or library state that static destruction has already torn
// down; the memory stays reachable through the exported pointer, so leak
// checkers do not report it.
//
// Like the exported globals themselves, a ProcessWide is meant to be driven
// from one thread at a time; make and release are serialised so that two
// threads racing on them cannot free one object twice.
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

namespace vork {

template <class T, class Exported = T>
class ProcessWide {
public:
    // exported: the exported pointer variable the object is published in.
    explicit ProcessWide(Exported *&exported) noexcept : exported_(&exported) {}

    T *get() const noexcept { return static_cast<T *>(*exported_); }
    explicit operator bool() const noexcept { return *exported_ != nullptr; }

    // Frees the current object and publishes a new one made from args.
    template <class... Args>
    T &make(Args &&...args) {
        auto next = std::make_unique<T>(std::forward<Args>(args)...);
        std::lock_guard<std::mutex> lock(mutex_);
        destroy(std::exchange(*exported_, static_cast<Exported *>(nullptr)));
        *exported_ = next.get();
        return *next.release();
    }

    // The current object, made with no arguments when there is none.
    T &getOrMake() {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!*exported_) *exported_ = new T();
        return *static_cast<T *>(*exported_);
    }

    // Frees the current object, if any, and publishes NULL.
    void release() noexcept {
        std::lock_guard<std::mutex> lock(mutex_);
        destroy(std::exchange(*exported_, static_cast<Exported *>(nullptr)));
    }

private:
    static void destroy(Exported *object) noexcept { delete static_cast<T *>(object); }

    Exported **exported_;
    std::mutex mutex_;
};

// The ProcessWide of one exported pointer, living for the whole process and
// never destroyed, so no static destructor runs at exit:
//   auto &transfers = processWide<HttpTransfer, g_HttpTransfer>();
template <class T, auto &exported>
auto &processWide() {
    using Exported = std::remove_pointer_t<std::remove_reference_t<decltype(exported)>>;
    static auto *slot = new ProcessWide<T, Exported>(exported);
    return *slot;
}

}  // namespace vork
