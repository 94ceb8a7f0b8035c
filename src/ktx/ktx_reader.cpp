#include "ktx/ktx_reader.h"

#include <optional>
#include <utility>

#include "core/bytes.h"
#include "ktx/ktx_decoder.h"
#include "ktx/ktx_header.h"
#include "ktx/ktx_wrapper.h"

namespace koru {
namespace {

int DecodeFile11(SourceBuffer& source, const KORU_Char* name, const Ktx11Header& header) {
    if (Ktx_FindFault(header) != KtxHeaderFault::None) return 0;
    g_ktxCompressed = Ktx_IsCompressed(header);
    return Ktx_DecodeKtx11(source, name, header) != 0 ? 1 : 0;
}

int DecodeFile20(SourceBuffer& source, const KORU_Char* name) {
    Source_Seek(source, 0);
    const auto raw = Source_Take<kKtx20HeaderBytes>(source);
    if (!raw) return 0;
    const Ktx20Header header = Ktx_LoadHeader20(*raw);
    if (Ktx_FindFault(header) != KtxHeaderFault::None) return 0;
    g_ktxCompressed = false;
    return Ktx_DecodeKtx20(source, name, header) != 0 ? 1 : 0;
}

/// The word at the offset, which stays.
std::optional<std::uint32_t> PeekMagic(SourceBuffer& source) noexcept {
    const std::uint32_t start = source.offset;
    const auto magic = Source_Take<4>(source);
    if (!magic) return std::nullopt;
    Source_Seek(source, start);
    return Bytes_LoadLe32<0>(*magic);
}

int ReadPlainFile(SourceBuffer& source, const KORU_Char* name) {
    if (PeekMagic(source) != kKtxMagic) return 0;
    const auto raw = Source_Take<kKtx11HeaderBytes>(source);
    if (!raw) return 0;
    const KtxVersion version = Ktx_IdentifyVersion(*raw);
    if (version == KtxVersion::None) return 0;
    // Noted before the header is checked, and kept if that fails.
    g_ktxVersion = version;
    return version == KtxVersion::Ktx11 ? DecodeFile11(source, name, Ktx_LoadHeader11(*raw))
                                        : DecodeFile20(source, name);
}

/// Opens wrapper after wrapper. Besides the file, only the bytes of two are in memory at a time.
int ReadWrappedFile(SourceBuffer& source, const KORU_Char* name) {
    SourceBuffer inner = Source_Own(Ktx_JoinChunks(source));
    if (inner.data == nullptr) return 0;
    // Owned bytes stay the loader's to free.
    source.data = nullptr;
    source.offset = 0;
    source.size = 0;
    for (int wrapper = 1; PeekMagic(inner) == kKtxWrapperMagic; ++wrapper) {
        ByteBuffer next = wrapper < kKtxMaxWrappers ? Ktx_JoinChunks(inner) : ByteBuffer();
        if (!next) return 1;
        inner = Source_Own(std::move(next));
    }
    static_cast<void>(ReadPlainFile(inner, name));
    return 1;
}

}  // namespace

int Ktx_ReadContainer(SourceBuffer& source, const KORU_Char* name) {
    if (name == nullptr) return 0;
    return PeekMagic(source) == kKtxWrapperMagic ? ReadWrappedFile(source, name)
                                                 : ReadPlainFile(source, name);
}

}  // namespace koru
