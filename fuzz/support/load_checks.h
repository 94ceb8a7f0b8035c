// Loads through the doors, and what holds for every record that comes out.
#pragma once

#include <korutex.h>

#include <cstdint>
#include <memory>
#include <span>

struct FuzzImageDeleter {
    void operator()(KORU_Image* image) const noexcept { KORU_Delete_Image(image); }
};
using FuzzImagePtr = std::unique_ptr<KORU_Image, FuzzImageDeleter>;

using FuzzLoad = KORU_Image* (*)(const std::uint8_t* data, std::uint32_t size, std::uint32_t flags);

/// Loads, checks the record and reads all of its pixels.
FuzzImagePtr Fuzz_Load(FuzzLoad load, std::span<const std::uint8_t> file, std::uint32_t flags);

/// Loads with every combination of flags, and compares what they give.
void Fuzz_LoadInEveryLayout(FuzzLoad load, std::span<const std::uint8_t> file);

/// Loads a KTX file, wrapped or not, in every layout, or in one if that takes long, or not at all
/// if its record might be large.
void Fuzz_LoadKtx(std::span<const std::uint8_t> file);

/// What holds for every record that a load makes; reads all of its pixels.
void Fuzz_CheckRecord(const KORU_Image& image, std::uint32_t flags);

/// Whether both are null, or all fields and pixels agree.
bool Fuzz_IsSame(const KORU_Image* one, const KORU_Image* other);

/// What earlier loads left behind is forgotten, so that an input behaves the same every time.
void Fuzz_ForgetEarlierLoads();
