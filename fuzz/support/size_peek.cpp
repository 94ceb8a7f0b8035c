#include "size_peek.h"

#include <cstddef>
#include <utility>

#include "core/bytes.h"
#include "core/source_buffer.h"
#include "formats/vk_formats.h"
#include "ktx/ktx_header.h"
#include "ktx/ktx_way.h"
#include "ktx/ktx_wrapper.h"

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint64_t kMostUnpackedBytes = std::uint64_t{16} << 20;

template <std::size_t Count>
std::uint32_t Load(Bytes file, std::size_t offset) {
    return koru::Bytes_LoadLeAt<Count>(file.data() + offset);
}

/// Sizes of 4 GiB and more are refused, which takes no memory.
bool IsHuge(std::uint32_t width, std::uint32_t height) {
    const std::uint64_t pixelCount = std::uint64_t{width} * height;
    return pixelCount > kFuzzMostPixels && pixelCount <= UINT32_MAX / 3;
}

/// What a KTX file's header claims.
struct KtxClaim {
    std::uint32_t width, height;
    koru::KtxWay way;
};

std::optional<KtxClaim> ReadKtxClaim(Bytes file) {
    if (file.size() < koru::kKtx11HeaderBytes) return std::nullopt;
    const auto raw = file.first<koru::kKtx11HeaderBytes>();
    const auto claim = [](std::uint32_t width, std::uint32_t height, std::uint32_t format) {
        return KtxClaim{width, height, koru::Ktx_ChooseWay(format, true).way};
    };
    switch (koru::Ktx_IdentifyVersion(raw)) {
        case koru::KtxVersion::Ktx11: {
            const auto header = koru::Ktx_LoadHeader11(raw);
            return claim(header.pixelWidth, header.pixelHeight, header.glInternalFormat);
        }
        case koru::KtxVersion::Ktx20:
            return claim(Load<4>(file, 20), Load<4>(file, 24),
                         koru::Vk_ToGlInternalFormat(Load<4>(file, 12)));
        case koru::KtxVersion::None:
            break;
    }
    return std::nullopt;
}

/// Bytes that the chunks of a wrapper say they unpack to; nothing where there is no wrapper.
std::optional<std::uint64_t> SumChunks(Bytes file) {
    if (file.size() < 8 || Load<4>(file, 0) != koru::kKtxWrapperMagic) return std::nullopt;
    const std::uint64_t entryCount = Load<4>(file, 4);
    std::uint64_t offset = 8 + entryCount * 8;
    std::uint64_t sum = 0;
    for (std::uint64_t chunk = 1; chunk < entryCount; ++chunk) {
        if (offset > file.size() || file.size() - offset < 32) break;
        sum += Load<4>(file, offset + 12);
        offset += 32 + std::uint64_t{Load<4>(file, offset + 8)};
    }
    return sum;
}

}  // namespace

bool Fuzz_MayBeHugeAstc(Bytes file) {
    // A footprint without meaning may have 255 x 255 texels and more.
    return file.size() >= 16 && IsHuge(Load<3>(file, 7), Load<3>(file, 10));
}

bool Fuzz_MayBeHugeKtx(Bytes file) {
    const auto claim = ReadKtxClaim(file);
    if (!claim || !IsHuge(claim->width, claim->height)) return false;
    // Other ways ask for a payload that grows with the pixels, and inputs are small.
    return claim->way == koru::KtxWay::Etc || claim->way == koru::KtxWay::Astc;
}

bool Fuzz_IsAstcInKtx(Bytes file) {
    const auto claim = ReadKtxClaim(file);
    return claim && claim->way == koru::KtxWay::Astc;
}

bool Fuzz_MayBeHugePvr(Bytes file) {
    constexpr std::uint32_t kVersion3 = 0x03525650;
    constexpr std::uint32_t kFirstEtc2 = 22;
    constexpr std::uint32_t kLastEac = 26;
    constexpr std::uint32_t kEtc1 = 6;
    // Only ETC images of version 3 may be blank.
    if (file.size() < 52 || Load<4>(file, 0) != kVersion3 || Load<4>(file, 12) != 0) return false;
    const std::uint32_t format = Load<4>(file, 8);
    const bool isEtc = format == kEtc1 || (format >= kFirstEtc2 && format <= kLastEac);
    return isEtc && IsHuge(Load<4>(file, 28), Load<4>(file, 24));
}

std::optional<FuzzUnwrapped> Fuzz_Unwrap(Bytes file) {
    FuzzUnwrapped unwrapped{.owned = {}, .file = file};
    std::uint64_t unpackedBytes = 0;
    for (int wrapper = 0; wrapper < koru::kKtxMaxWrappers; ++wrapper) {
        const auto sum = SumChunks(unwrapped.file);
        if (!sum) break;
        unpackedBytes += *sum;
        if (unpackedBytes > kMostUnpackedBytes) return std::nullopt;
        koru::SourceBuffer source = koru::Source_Borrow(
            unwrapped.file.data(), static_cast<std::uint32_t>(unwrapped.file.size()));
        koru::ByteBuffer next = koru::Ktx_JoinChunks(source);
        if (!next) break;
        unwrapped.owned = std::move(next);
        unwrapped.file = {unwrapped.owned.Data(), unwrapped.owned.Size()};
    }
    return unwrapped;
}
