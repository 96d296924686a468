#pragma once
// A must-check result: a value or an error text. Used inside the library
// where a failure is an expected outcome rather than an exception.
#include <string>
#include <utility>
#include <variant>

namespace vork {

struct Error {
    std::string message;
};

template <class T>
class [[nodiscard]] Result {
public:
    Result(T value) : state_(std::move(value)) {}
    Result(Error error) : state_(std::move(error)) {}

    bool ok() const { return state_.index() == 0; }
    explicit operator bool() const { return ok(); }
    T &value() { return std::get<0>(state_); }
    const T &value() const { return std::get<0>(state_); }
    const std::string &error() const { return std::get<1>(state_).message; }

private:
    std::variant<T, Error> state_;
};

template <>
class [[nodiscard]] Result<void> {
public:
    Result() = default;
    Result(Error error) : error_(std::move(error.message)), failed_(true) {}

    bool ok() const { return !failed_; }
    explicit operator bool() const { return ok(); }
    const std::string &error() const { return error_; }

private:
    std::string error_;
    bool failed_ = false;
};

}  // namespace vork
