#pragma once
// The one way the library owns a process-wide object that it publishes
// through an exported pointer (g_HttpTransfer, g_FileCopy, g_ZelInterface,
// ...). make() replaces the object and publishes the new one, release()
// drops it and publishes NULL, and nothing frees it at process exit: an
// agent that exits with an object still published never runs its
// destructor against thread-local or library state that exit has already
// torn down, and the memory stays reachable, so leak checkers do not
// report it.
//
// The owner is a shared_ptr: shared() hands a reference to code that must
// keep the object alive across a release (a server call in flight, an
// object that uses shared_from_this). A replaced or released object is
// destroyed outside the lock, so its destructor may call back in.
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
    ProcessWide(const ProcessWide &) = delete;
    ProcessWide &operator=(const ProcessWide &) = delete;

    // The published object, or null. Reads the exported pointer, which the
    // agent may also read.
    T *get() const noexcept { return static_cast<T *>(*exported_); }
    explicit operator bool() const noexcept { return *exported_ != nullptr; }

    // A reference that keeps the published object alive; null when none.
    std::shared_ptr<T> shared() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return owner_;
    }

    // Replaces the current object by a new one made from args.
    template <class... Args>
    T &make(Args &&...args) {
        auto next = std::make_shared<T>(std::forward<Args>(args)...);
        T &object = *next;
        publish(std::move(next));
        return object;
    }

    // The current object, made with no arguments when there is none.
    std::shared_ptr<T> getOrMake() {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!owner_) {
            owner_ = std::make_shared<T>();
            *exported_ = owner_.get();
        }
        return owner_;
    }

    // Drops the current object, if any, and publishes NULL.
    void release() noexcept { publish(nullptr); }

private:
    void publish(std::shared_ptr<T> next) noexcept {
        std::shared_ptr<T> previous;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            previous = std::exchange(owner_, std::move(next));
            *exported_ = owner_.get();
        }
        // previous is destroyed here, outside the lock.
    }

    Exported **exported_;
    mutable std::mutex mutex_;
    std::shared_ptr<T> owner_;
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
