// Conversions between UTF-8 and UTF-16, and text that is safe to print on one line.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace koru_host {

/// Windows file names may hold half of a surrogate pair; such a half travels as three bytes.
enum class LoneSurrogates { Refuse, Allow };

/// Nothing when `text` is not valid UTF-8.
std::optional<std::u16string> Utf16_FromUtf8(std::string_view text, LoneSurrogates surrogates);

/// Halves of surrogate pairs become three bytes, as LoneSurrogates::Allow reads them.
std::string Utf8_FromUtf16(std::u16string_view text);

/// Writes control characters and bytes that are not UTF-8 as escapes (\n, \x1B), so that a file
/// name can neither break a line nor steer a terminal.
std::string Text_MakePrintable(std::string_view text);

}  // namespace koru_host
