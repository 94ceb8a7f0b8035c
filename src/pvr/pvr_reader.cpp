#include "pvr/pvr_reader.h"

#include "core/bytes.h"
#include "pvr/pvr_decoder.h"
#include "pvr/pvr_header.h"
#include "pvr/pvr_way.h"

namespace koru {

int PvrDecodeSource(SourceBuffer& source, const KORU_Char* name) {
    if (name == nullptr) return 0;
    const auto raw = Source_Take<kPvrHeaderBytes>(source);
    if (!raw) return 0;
    if (Bytes_LoadLe32<0>(*raw) == kPvrV3Magic) {
        return PvrDecodeV3(source, name, Pvr_LoadV3Header(*raw)) != 0 ? 1 : 0;
    }
    const PvrLegacyHeader header = Pvr_LoadLegacyHeader(*raw);
    if (Pvr_FindFault(header) != PvrHeaderFault::None) return 0;
    if (const auto isCompressed = Pvr_ClassifyLegacy(header.GetPixelType())) {
        LegacyCompressedFlag = *isCompressed;
    }
    return PvrDecodeLegacy(source, name, header) != 0 ? 1 : 0;
}

}  // namespace koru
