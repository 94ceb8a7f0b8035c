// Loads a texture that is in memory as every host should: by its first bytes whatever its name, and
// as RGBA.
#pragma once

#include <korutex.h>

#include <cstdint>
#include <span>

#include "container_probe.h"

namespace koru_host {

/// The library's functions that loading takes, linked to the host or found at run time.
struct LibraryDoors {
    using Load = KORU_Image*(const std::uint8_t*, std::uint32_t, std::uint32_t);

    Load* loadAstc = nullptr;
    Load* loadKtx = nullptr;
    Load* loadPvr = nullptr;
    void (*deleteImage)(KORU_Image*) = nullptr;
};

/// Whether the alpha of an RGBA record would tell of earlier loads: pixels of fewer than four
/// channels may hold a fourth, which the library shows once it has loaded a PVR file with alpha.
/// `bytes` are a file or its first kPvrHeaderBytes; of another container, the answer is no.
[[nodiscard]] bool Texture_MayHaveStrayAlpha(std::span<const std::uint8_t> bytes) noexcept;

/// Sets the alpha of an RGBA record to 255.
void Texture_MakeOpaque(KORU_Image& image) noexcept;

/// Loads what `bytes` hold. The record is RGBA and depends on no earlier load; it belongs to the
/// caller, who passes it to `doors.deleteImage`. Null for what the library refuses, for other
/// containers, PNG among them, and for files of 4 GiB and more.
[[nodiscard]] KORU_Image* Texture_Decode(const LibraryDoors& doors,
                                         std::span<const std::uint8_t> bytes) noexcept;

struct TextureSize {
    std::uint32_t width, height;
};

/// The size of the picture that Texture_Decode would give, 0 x 0 if none; no pixel is touched,
/// though a wrapper is opened. The caller can so refuse a small file that tells an enormous
/// picture.
[[nodiscard]] TextureSize Texture_ReadSize(const LibraryDoors& doors,
                                           std::span<const std::uint8_t> bytes) noexcept;

/// Has the library give back the payload that it keeps of the last load of this container. Hosts
/// that live on after a load of a large file call it. `bytes` are the file or its first
/// kContainerProbeBytes. No later load depends on it.
void Texture_DropPayload(const LibraryDoors& doors, std::span<const std::uint8_t> bytes) noexcept;

}  // namespace koru_host
