#pragma once
// The one guard every exported function runs its body in: whatever the body
// throws is caught, handed to an optional handler (which may log it and pick
// the result), and turned into the function's neutral result. Nothing
// crosses the C interface.
#include <exception>
#include <string>
#include <type_traits>
#include <utility>

#include "base/Exception.h"

namespace vork::capi {

template <class R, class Body>
R guarded(std::type_identity_t<R> neutral, Body &&body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        return neutral;
    }
}

// As above; onError receives the exception's description and answers the
// result to return.
template <class R, class Body, class OnError>
R guardedOr(Body &&body, OnError &&onError) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        try {
            return std::forward<OnError>(onError)(describeException(std::current_exception()));
        } catch (...) {
            if constexpr (std::is_void_v<R>) return; else return R{};
        }
    }
}

template <class Body>
void guardedVoid(Body &&body) noexcept {
    try {
        std::forward<Body>(body)();
    } catch (...) {
    }
}

}  // namespace vork::capi
