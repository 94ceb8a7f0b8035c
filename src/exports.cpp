// The twelve doors. No exception leaves through one of them.
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "astc/astc_reader.h"
#include "astc/astc_writer.h"
#include "core/abi_guard.h"
#include "core/image.h"
#include "core/load_sequence.h"
#include "core/write_sequence.h"
#include "korutex.h"
#include "ktx/ktx_reader.h"
#include "ktx/ktx_writer.h"
#include "pvr/pvr_reader.h"
#include "pvr/pvr_writer.h"

// The record's layout is the interface: 64-bit hosts were compiled against it.
static_assert(sizeof(void*) == 8);
static_assert(std::is_standard_layout_v<KORU_Image> && sizeof(KORU_Image) == 64);
static_assert(offsetof(KORU_Image, width) == 0 && offsetof(KORU_Image, height) == 4);
static_assert(offsetof(KORU_Image, bitsPerPixel) == 8 && offsetof(KORU_Image, bytesPerPixel) == 12);
static_assert(offsetof(KORU_Image, bitsPerChannel) == 16 && offsetof(KORU_Image, dataSize) == 20);
static_assert(offsetof(KORU_Image, stride) == 24 && offsetof(KORU_Image, rowPadding) == 28);
static_assert(offsetof(KORU_Image, reservedA) == 32 && offsetof(KORU_Image, reservedB) == 36);
static_assert(offsetof(KORU_Image, reservedC) == 40 && offsetof(KORU_Image, reservedD) == 48);
static_assert(offsetof(KORU_Image, pixels) == 56);
static_assert(sizeof(KORU_Char) == 2);

namespace {

KORU_Image* LoadFile(const koru::ContainerFormat& format, const KORU_Char* path,
                     std::uint32_t flags) noexcept {
    return koru::Abi_Guard<KORU_Image*>(
        nullptr, [&] { return koru::Load_FromFile(format, path, flags).release(); });
}

KORU_Image* LoadMemory(const koru::ContainerFormat& format, const std::uint8_t* data,
                       std::uint32_t size, std::uint32_t flags) noexcept {
    return koru::Abi_Guard<KORU_Image*>(
        nullptr, [&] { return koru::Load_FromMemory(format, data, size, flags).release(); });
}

std::int32_t WriteFile(const KORU_Char* path, KORU_Image* image, koru::WriteImage write) noexcept {
    return koru::Abi_Guard<std::int32_t>(0, [&] { return koru::Write_ToFile(path, image, write); });
}

}  // namespace

extern "C" {

void KORU_Init(void) {}

void KORU_Exit(void) {}

KORU_Image* KORU_Load_ASTC_From_File(const KORU_Char* path, uint32_t flags) {
    return LoadFile(koru::kAstcFormat, path, flags);
}

KORU_Image* KORU_Load_ASTC_From_Memory(const uint8_t* data, uint32_t size, uint32_t flags) {
    return LoadMemory(koru::kAstcFormat, data, size, flags);
}

KORU_Image* KORU_Load_KTX_From_File(const KORU_Char* path, uint32_t flags) {
    return LoadFile(koru::kKtxFormat, path, flags);
}

KORU_Image* KORU_Load_KTX_From_Memory(const uint8_t* data, uint32_t size, uint32_t flags) {
    return LoadMemory(koru::kKtxFormat, data, size, flags);
}

KORU_Image* KORU_Load_PVR_From_File(const KORU_Char* path, uint32_t flags) {
    return LoadFile(koru::kPvrFormat, path, flags);
}

KORU_Image* KORU_Load_PVR_From_Memory(const uint8_t* data, uint32_t size, uint32_t flags) {
    return LoadMemory(koru::kPvrFormat, data, size, flags);
}

int32_t KORU_Write_ASTC_To_File(const KORU_Char* path, KORU_Image* image) {
    return WriteFile(path, image, koru::Astc_WriteHeaderStub);
}

int32_t KORU_Write_KTX_To_File(const KORU_Char* path, KORU_Image* image) {
    return WriteFile(path, image, koru::Ktx_WriteImage);
}

int32_t KORU_Write_PVR_To_File(const KORU_Char* path, KORU_Image* image) {
    return WriteFile(path, image, koru::Pvr_WriteImage);
}

void KORU_Delete_Image(KORU_Image* image) { koru::Image_Delete(image); }

}  // extern "C"
