#include "http/curl/CurlLoader.h"

#include <thread>

namespace vork::http::curl {

std::shared_ptr<Loader> Loader::shared() {
    // Never destroyed: the thread runs until the process ends.
    static auto *loader = new std::shared_ptr<Loader>(new Loader());
    return *loader;
}

Loader::Loader() {
    multi_ = curl_multi_init();
    std::thread([this] { run(); }).detach();
}

void Loader::command(Command command) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        commands_.push_back(std::move(command));
    }
    curl_multi_wakeup(multi_);
}

void Loader::run() {
    for (;;) {
        std::vector<Command> commands;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            commands.swap(commands_);
        }
        for (Command &command : commands) apply(command);

        int running = 0;
        curl_multi_perform(multi_, &running);
        readMessages();
        checkIdle();
        // Wake for socket activity, curl's own timers, a command, or the next
        // progress post and idle check.
        const int waitMs = active_.empty() ? 1000 : 10;
        curl_multi_poll(multi_, nullptr, 0, waitMs, nullptr);
    }
}

}  // namespace vork::http::curl
