// ETC and EAC rows with SSE4.1: one block at a time.
#include <cstddef>
#include <cstdint>

#include "blocks/etc_color_rows_x86.h"
#include "blocks/etc_kernels.h"
#include "core/vectors_sse41.h"

namespace koru {
namespace {

struct Sse41 : Sse41Vectors {
    /// 16 bytes for each lane from where getPlace(lane) points, or 8 into its low half.
    template <typename GetPlace>
    static Vector LoadLanes(const GetPlace& getPlace) noexcept {
        return Load(getPlace(0));
    }
    template <typename GetPlace>
    static Vector LoadLanes8(const GetPlace& getPlace) noexcept {
        return LoadLow64(getPlace(0));
    }

    /// As many blocks as there are lanes; those of 8 bytes as BlockHalf::Own says.
    template <std::size_t BlockBytes>
    static Vector LoadBlocks(const void* from) noexcept {
        return BlockBytes == 8 ? LoadLow64(from) : Load(from);
    }

    /// The last 8 bytes of twice as many blocks.
    template <std::size_t BlockBytes>
    static Vector LoadColors(const std::uint8_t* blocks) noexcept {
        if constexpr (BlockBytes == 8) return Load(blocks);
        return UnpackHigh64(Load(blocks), Load(blocks + 16));
    }

    /// A bit for each byte of dwords that UnpackLow32 and then UnpackHigh32 bring in order.
    static std::uint32_t GetBlockMask(Vector a) noexcept {
        return static_cast<std::uint32_t>(_mm_movemask_epi8(a));
    }

    /// The first 12 bytes of each lane, behind each other; those of the last may spill.
    static void StoreRgb(std::uint8_t* to, Vector a) noexcept { StoreTwelve(to, a); }
    static void StoreRgbAndMore(std::uint8_t* to, Vector a) noexcept { Store(to, a); }

    /// Two rows, each half of every lane.
    static void StoreHalfRows(std::uint8_t* to, std::size_t stride, Vector a) noexcept {
        StoreLow64(to, a);
        StoreHigh64(to + stride, a);
    }
};

}  // namespace

constinit const EtcKernels kEtcSse41Kernels = kRowKernels<Sse41>;

}  // namespace koru
