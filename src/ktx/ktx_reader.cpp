#include "ktx/ktx_reader.h"

#include "core/bytes.h"
#include "ktx/ktx_decoder.h"
#include "ktx/ktx_header.h"

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

}  // namespace

int Ktx_ReadContainer(SourceBuffer& source, const KORU_Char* name) {
    if (name == nullptr) return 0;
    const std::uint32_t start = source.offset;
    const auto magic = Source_Take<4>(source);
    if (!magic) return 0;
    if (Bytes_LoadLe32<0>(*magic) != kKtxMagic) return 0;
    Source_Seek(source, start);

    const auto raw = Source_Take<kKtx11HeaderBytes>(source);
    if (!raw) return 0;
    const KtxVersion version = Ktx_IdentifyVersion(*raw);
    if (version == KtxVersion::None) return 0;
    // Noted before the header is checked, and kept if that fails.
    g_ktxVersion = version;
    return version == KtxVersion::Ktx11 ? DecodeFile11(source, name, Ktx_LoadHeader11(*raw))
                                        : DecodeFile20(source, name);
}

}  // namespace koru
