#pragma once
// Platform services (host addresses, network interfaces, the machine's
// UUID, process launch, ...) are small abstract classes. Each has one slot
// holding the implementation in use: the Linux one by default, or a test
// double installed with ServiceSlot::install. The returned Override puts the
// previous implementation back when it goes out of scope. A slot is never
// torn down by static destruction.
#include <memory>
#include <mutex>
#include <utility>

namespace vork::platform {

template <class Interface>
class ServiceSlot {
public:
    using Factory = std::shared_ptr<Interface> (*)();

    explicit ServiceSlot(Factory makeDefault) : makeDefault_(makeDefault) {}

    std::shared_ptr<Interface> get() {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!current_) current_ = makeDefault_();
        return current_;
    }

    class Override {
    public:
        Override(ServiceSlot &slot, std::shared_ptr<Interface> previous)
            : slot_(&slot), previous_(std::move(previous)) {}
        Override(Override &&other) noexcept
            : slot_(std::exchange(other.slot_, nullptr)), previous_(std::move(other.previous_)) {}
        Override(const Override &) = delete;
        Override &operator=(const Override &) = delete;
        Override &operator=(Override &&) = delete;
        ~Override() {
            if (slot_) slot_->set(std::move(previous_));
        }

    private:
        ServiceSlot *slot_;
        std::shared_ptr<Interface> previous_;
    };

    [[nodiscard]] Override install(std::shared_ptr<Interface> replacement) {
        return Override(*this, set(std::move(replacement)));
    }

private:
    std::shared_ptr<Interface> set(std::shared_ptr<Interface> next) {
        std::lock_guard<std::mutex> lock(mutex_);
        std::swap(current_, next);
        return next;
    }

    Factory makeDefault_;
    std::mutex mutex_;
    // Never freed, so the slot has nothing to destroy at exit: a thread still
    // running then (a background hash, the HTTP loader) keeps its service.
    std::shared_ptr<Interface> &current_ = *new std::shared_ptr<Interface>();
};

// The one slot of a service whose default is a new Implementation, made on
// first use. Each service's accessor returns this from its Linux file.
template <class Interface, class Implementation>
ServiceSlot<Interface> &defaultServiceSlot() {
    static ServiceSlot<Interface> slot([]() -> std::shared_ptr<Interface> { return std::make_shared<Implementation>(); });
    return slot;
}

}  // namespace vork::platform
