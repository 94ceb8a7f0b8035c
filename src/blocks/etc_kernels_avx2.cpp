// ETC and EAC rows with AVX2: two blocks at a time.
#include <cstddef>
#include <cstdint>

#include "blocks/etc_color_rows_x86.h"
#include "blocks/etc_kernels.h"
#include "core/vectors_avx2.h"

namespace koru {
namespace {

/// As the SSE4.1 set, with two lanes.
struct Avx2 : Avx2Vectors {
    template <typename GetPlace>
    static Vector LoadLanes(const GetPlace& getPlace) noexcept {
        return JoinLanes(Lane::Load(getPlace(0)), Lane::Load(getPlace(1)));
    }
    template <typename GetPlace>
    static Vector LoadLanes8(const GetPlace& getPlace) noexcept {
        return JoinLanes(Lane::LoadLow64(getPlace(0)), Lane::LoadLow64(getPlace(1)));
    }

    template <std::size_t BlockBytes>
    static Vector LoadBlocks(const void* from) noexcept {
        if constexpr (BlockBytes == 8) return LoadEach(from);
        return Load(from);
    }

    template <std::size_t BlockBytes>
    static Vector LoadColors(const std::uint8_t* blocks) noexcept {
        if constexpr (BlockBytes == 8) return Load(blocks);
        return SwapInnerHalves(UnpackHigh64(Load(blocks), Load(blocks + 32)));
    }

    static std::uint32_t GetBlockMask(Vector a) noexcept {
        return static_cast<std::uint32_t>(_mm256_movemask_epi8(SwapInnerHalves(a)));
    }

    static void StoreRgb(std::uint8_t* to, Vector a) noexcept {
        Lane::Store(to, GetFirstLane(a));
        StoreTwelve(to + 12, GetSecondLane(a));
    }
    static void StoreRgbAndMore(std::uint8_t* to, Vector a) noexcept { StoreLanes(to, 12, a); }

    static void StoreHalfRows(std::uint8_t* to, std::size_t stride, Vector a) noexcept {
        StoreLanes(to, stride, SwapInnerHalves(a));
    }
};

}  // namespace

constinit const EtcKernels kEtcAvx2Kernels = kRowKernels<Avx2>;

}  // namespace koru
