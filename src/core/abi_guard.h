// The exception firewall of the public functions.
#pragma once

#include <utility>

namespace koru {

/// Runs the body of an export. Whatever it throws becomes `failure`.
template <typename Result, typename Body>
Result Abi_Guard(Result failure, Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        return failure;
    }
}

}  // namespace koru
