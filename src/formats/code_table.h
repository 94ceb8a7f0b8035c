// Tables of what format codes mean: one row for each code, in ascending order.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>

namespace koru {

template <typename Code, typename Value>
struct CodeRow {
    Code code;
    Value value;
};

/// Whether the rows are in ascending order, without repeats, as CodeTable_Get needs them.
template <typename Code, typename Value, std::size_t N>
[[nodiscard]] consteval bool CodeTable_IsAscending(
    const std::array<CodeRow<Code, Value>, N>& rows) noexcept {
    return std::ranges::adjacent_find(rows, std::ranges::greater_equal{},
                                      &CodeRow<Code, Value>::code) == rows.end();
}

/// The value in the row of `code`; `unknown` if no row has that code.
template <typename Code, typename Value, std::size_t N>
[[nodiscard]] constexpr Value CodeTable_Get(const std::array<CodeRow<Code, Value>, N>& rows,
                                            std::uint32_t code,
                                            const std::type_identity_t<Value>& unknown) noexcept {
    const auto key = static_cast<Code>(code);
    const auto row = std::ranges::lower_bound(rows, key, {}, &CodeRow<Code, Value>::code);
    return row != rows.end() && row->code == key ? row->value : unknown;
}

}  // namespace koru
