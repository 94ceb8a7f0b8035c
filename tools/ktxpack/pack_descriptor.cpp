#include "pack_descriptor.h"

#include "pack_bytes.h"

namespace koru_ktxpack {
namespace {

constexpr std::uint32_t kTotalSizeBytes = 4;
constexpr std::uint32_t kBlockHeaderBytes = 24;
constexpr std::uint32_t kSampleBytes = 16;

constexpr std::uint32_t kBasicBlockOfKhronos = 0;
constexpr std::uint32_t kVersion13 = 2;
constexpr std::uint32_t kPrimariesBt709 = 1;
constexpr std::uint32_t kTransferLinear = 1;
constexpr std::uint32_t kTransferSrgb = 2;

}  // namespace

Bytes Descriptor_Make(const PackFormat& format) {
    const VkDescription& vk = format.vk;
    const auto blockBytes =
        kBlockHeaderBytes + kSampleBytes * static_cast<std::uint32_t>(vk.samples.size());
    Bytes bytes;
    Bytes_Append32(bytes, kTotalSizeBytes + blockBytes);
    Bytes_Append32(bytes, kBasicBlockOfKhronos);
    Bytes_Append32(bytes, kVersion13 | blockBytes << 16);
    // The flags in the highest byte are 0: alpha is not premultiplied.
    Bytes_Append32(bytes, vk.colorModel | kPrimariesBt709 << 8 |
                              (vk.isSrgb ? kTransferSrgb : kTransferLinear) << 16);
    Bytes_Append32(bytes, (format.blockWidth - 1) | (format.blockHeight - 1) << 8);
    Bytes_Append32(bytes, format.blockBytes);  // of the one plane
    Bytes_Append32(bytes, 0);
    for (const SampleDescription& sample : vk.samples) {
        Bytes_Append32(bytes,
                       sample.bitOffset | (sample.bitCount - 1) << 16 | sample.channel << 24);
        Bytes_Append32(bytes, 0);  // position
        Bytes_Append32(bytes, 0);  // lower
        Bytes_Append32(bytes, sample.upper);
    }
    return bytes;
}

}  // namespace koru_ktxpack
