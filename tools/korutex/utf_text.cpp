#include "utf_text.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace koru_host {
namespace {

constexpr bool Unit_IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool Unit_IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

struct CodePoint {
    char32_t value;
    std::size_t byteCount;
};

/// Reads the code point at `text[0]`; `text` is not empty.
std::optional<CodePoint> Utf8_ReadCodePoint(std::string_view text, LoneSurrogates surrogates) {
    const auto byteAt = [text](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    const std::uint8_t lead = byteAt(0);
    if (lead < 0x80) return CodePoint{lead, 1};
    if (lead < 0xC2 || lead > 0xF4) return std::nullopt;

    const std::size_t byteCount = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (text.size() < byteCount) return std::nullopt;
    char32_t value = lead & (0x7Fu >> byteCount);
    for (std::size_t i = 1; i < byteCount; ++i) {
        if ((byteAt(i) & 0xC0) != 0x80) return std::nullopt;
        value = value << 6 | (byteAt(i) & 0x3Fu);
    }
    constexpr std::array<char32_t, 5> kSmallest{0, 0, 0x80, 0x800, 0x10000};
    if (value < kSmallest[byteCount] || value > 0x10FFFF) return std::nullopt;
    const bool lone = Unit_IsHighSurrogate(value) || Unit_IsLowSurrogate(value);
    if (lone && surrogates == LoneSurrogates::Refuse) return std::nullopt;
    return CodePoint{value, byteCount};
}

void Utf8_Append(std::string& text, char32_t value) {
    const auto append = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (value < 0x80) {
        append(value);
        return;
    }
    if (value < 0x800) {
        append(0xC0 | value >> 6);
    } else {
        if (value < 0x10000) {
            append(0xE0 | value >> 12);
        } else {
            append(0xF0 | value >> 18);
            append(0x80 | (value >> 12 & 0x3F));
        }
        append(0x80 | (value >> 6 & 0x3F));
    }
    append(0x80 | (value & 0x3F));
}

void Text_AppendEscape(std::string& text, char32_t value) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    switch (value) {
        case '\n':
            text += "\\n";
            return;
        case '\r':
            text += "\\r";
            return;
        case '\t':
            text += "\\t";
            return;
        default:
            text += "\\x";
            text += kDigits[value >> 4 & 0xF];
            text += kDigits[value & 0xF];
    }
}

}  // namespace

std::optional<std::u16string> Utf16_FromUtf8(std::string_view text, LoneSurrogates surrogates) {
    std::u16string units;
    units.reserve(text.size());
    while (!text.empty()) {
        const auto point = Utf8_ReadCodePoint(text, surrogates);
        if (!point) return std::nullopt;
        if (point->value >= 0x10000) {
            units.push_back(static_cast<char16_t>(0xD7C0 + (point->value >> 10)));
            units.push_back(static_cast<char16_t>(0xDC00 + (point->value & 0x3FF)));
        } else {
            units.push_back(static_cast<char16_t>(point->value));
        }
        text.remove_prefix(point->byteCount);
    }
    return units;
}

std::string Utf8_FromUtf16(std::u16string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t value = text[i];
        if (Unit_IsHighSurrogate(value) && i + 1 < text.size() &&
            Unit_IsLowSurrogate(text[i + 1])) {
            ++i;
            value = 0x10000 + ((value & 0x3FF) << 10) + (text[i] & 0x3FFu);
        }
        Utf8_Append(bytes, value);
    }
    return bytes;
}

std::string Text_MakePrintable(std::string_view text) {
    std::string printable;
    printable.reserve(text.size());
    while (!text.empty()) {
        const auto point = Utf8_ReadCodePoint(text, LoneSurrogates::Refuse);
        const std::size_t byteCount = point ? point->byteCount : 1;
        const char32_t value = point ? point->value : static_cast<std::uint8_t>(text[0]);
        // U+0080 to U+009F steer terminals like the ASCII controls; the value stands for U+00xx.
        const bool isControl = value < 0x20 || (value >= 0x7F && value < 0xA0);
        if (!point || isControl) {
            Text_AppendEscape(printable, value);
        } else {
            printable += text.substr(0, byteCount);
        }
        text.remove_prefix(byteCount);
    }
    return printable;
}

}  // namespace koru_host
