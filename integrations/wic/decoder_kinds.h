// The decoders that this server offers: one for each family of containers, as WIC wants one
// container format of a decoder.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "container_probe.h"
#include "wic_identifiers.h"

namespace koru_wic {

/// Bytes by which WIC finds the decoder of a file.
struct MagicPattern {
    std::uint32_t position;
    std::string_view bytes;
};

struct FileExtension {
    std::wstring_view ending, mimeType;
};

struct ContainerHeader {
    koru_host::Container container;
    std::size_t bytes;  ///< what has fewer is cut off
};

struct DecoderKind {
    GUID decoderId, containerId;
    std::wstring_view friendlyName;
    std::span<const FileExtension> extensions;
    std::span<const MagicPattern> patterns;
    std::span<const ContainerHeader> headers;
};

namespace detail {

using koru_host::Container;
using namespace std::string_view_literals;

// clang-format off
inline constexpr std::array kAstcExtensions{FileExtension{L".astc", L"image/astc"}};
inline constexpr std::array kKtxExtensions{FileExtension{L".ktx", L"image/ktx"},
                                           FileExtension{L".ktx2", L"image/ktx2"}};
inline constexpr std::array kPvrExtensions{FileExtension{L".pvr", L"image/x-pvr"}};

inline constexpr std::array kAstcPatterns{MagicPattern{ 0, "\x13\xAB\xA1\x5C"sv}};
inline constexpr std::array kKtxPatterns{ MagicPattern{ 0, "\xABKTX 11\xBB\r\n\x1A\n"sv},
                                          MagicPattern{ 0, "\xABKTX 20\xBB\r\n\x1A\n"sv},
                                          MagicPattern{ 0, "QOZM"sv}};
inline constexpr std::array kPvrPatterns{ MagicPattern{ 0, "PVR\x03"sv},
                                          MagicPattern{44, "PVR!"sv}};

inline constexpr std::array kAstcHeaders{ ContainerHeader{Container::Astc, koru_host::kAstcHeaderBytes}};
inline constexpr std::array kKtxHeaders{  ContainerHeader{Container::Ktx1,       64},
                                          ContainerHeader{Container::Ktx2,       80},
                                          ContainerHeader{Container::WrappedKtx, 24}};
inline constexpr std::array kPvrHeaders{  ContainerHeader{Container::Pvr3,       52},
                                          ContainerHeader{Container::PvrLegacy,  52}};
// clang-format on

}  // namespace detail

inline constexpr std::array kDecoderKinds{
    DecoderKind{kAstcDecoderId, kAstcContainerId, L"korutex ASTC Decoder", detail::kAstcExtensions,
                detail::kAstcPatterns, detail::kAstcHeaders},
    DecoderKind{kKtxDecoderId, kKtxContainerId, L"korutex KTX Decoder", detail::kKtxExtensions,
                detail::kKtxPatterns, detail::kKtxHeaders},
    DecoderKind{kPvrDecoderId, kPvrContainerId, L"korutex PVR Decoder", detail::kPvrExtensions,
                detail::kPvrPatterns, detail::kPvrHeaders},
};

/// A container's decoder and header, null for PNG and for what is unknown.
struct KindMatch {
    const DecoderKind* kind = nullptr;
    const ContainerHeader* header = nullptr;
};

constexpr KindMatch Kind_Find(koru_host::Container container) noexcept {
    for (const DecoderKind& kind : kDecoderKinds) {
        for (const ContainerHeader& header : kind.headers) {
            if (header.container == container) return {&kind, &header};
        }
    }
    return {};
}

}  // namespace koru_wic
