#include "ktx/ktx_key_value.h"

#include <algorithm>

#include "core/bytes.h"

namespace koru {
namespace {

constexpr std::string_view kOrientationKey = "KTXorientation";

/// Bytes of a pair that are looked at.
constexpr std::size_t kPairBytesRead = 256;

/// ASCII only, whatever the process's locale is.
constexpr char ToLower(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr bool EqualsIgnoringCase(std::string_view a, std::string_view b) noexcept {
    return std::ranges::equal(a, b, {}, ToLower, ToLower);
}

constexpr std::string_view CutAtNul(std::string_view text) noexcept {
    return text.substr(0, text.find('\0'));
}

/// Whether `direction` follows the first `axis` in the text.
constexpr bool HasDirection(std::string_view text, std::string_view axis, char direction) noexcept {
    const std::size_t at = text.find(axis);
    return at != std::string_view::npos && text.substr(at + axis.size()).starts_with(direction);
}

}  // namespace

std::optional<KtxPair> Ktx_ReadPair(SourceBuffer& source) noexcept {
    const auto length = Source_Take<4>(source);
    if (!length) return std::nullopt;
    const std::uint32_t byteCount = Bytes_LoadLe32<0>(*length);
    if (byteCount > Source_GetRemaining(source)) return std::nullopt;
    const std::string_view bytes(reinterpret_cast<const char*>(source.data + source.offset),
                                 std::min<std::size_t>(byteCount, kPairBytesRead));
    Source_Seek(source, std::uint64_t{source.offset} + byteCount);

    KtxPair pair{.key = CutAtNul(bytes), .value = {}};
    if (pair.key.size() < bytes.size()) pair.value = CutAtNul(bytes.substr(pair.key.size() + 1));
    return pair;
}

std::optional<std::uint32_t> Ktx_GetOrientation11(const KtxPair& pair) noexcept {
    if (!EqualsIgnoringCase(pair.key, kOrientationKey)) return std::nullopt;
    return HasDirection(pair.value, "S=", 'r') && HasDirection(pair.value, "T=", 'u') ? 1u : 0u;
}

std::optional<std::uint32_t> Ktx_GetOrientation20(const KtxPair& pair) noexcept {
    if (!EqualsIgnoringCase(pair.key, kOrientationKey)) return std::nullopt;
    return EqualsIgnoringCase(pair.value, "ru") ? 1u : 0u;
}

}  // namespace koru
