// What the wrappers around a KTX file hold. They are opened by the library's own code.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "container_probe.h"
#include "ktx_inspection.h"

namespace koru_host {

enum class WrapperRefusal {
    None,
    HeaderCut,
    NoChunks,
    TableCut,
    NothingJoined,  ///< No bytes, or too many of them.
    TooDeep,
    NotKtx,  ///< What is inside.
};

/// One wrapper.
struct WrapperLayer {
    std::uint32_t chunks = 0;       ///< As many as it says it has.
    std::uint32_t joinedBytes = 0;  ///< What they decompress to; 0 if it was not opened.
};

struct WrapperInspection {
    std::vector<WrapperLayer> layers;  ///< The outermost first.
    WrapperRefusal refusal = WrapperRefusal::None;
    Container inner = Container::Unknown;
    KtxInspection ktx;  ///< Of the file inside, if it is a KTX file.
};

/// `bytes` are the whole file, below 4 GiB. Decompresses what is in it.
WrapperInspection Wrapper_Inspect(std::span<const std::uint8_t> bytes);

}  // namespace koru_host
