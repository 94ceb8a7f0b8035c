#include "wrapper_inspection.h"

#include <utility>

#include "core/byte_buffer.h"
#include "core/bytes.h"
#include "core/source_buffer.h"
#include "ktx/ktx_wrapper.h"

namespace koru_host {
namespace {

constexpr std::size_t kTableEntryBytes = 8;

/// Opens one wrapper and notes it, or why it cannot be opened.
koru::ByteBuffer Wrapper_Open(WrapperInspection& inspection, std::span<const std::uint8_t> bytes) {
    WrapperLayer& layer = inspection.layers.emplace_back();
    koru::SourceBuffer source =
        koru::Source_Borrow(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    const auto head = koru::Source_Take<8>(source);
    if (!head) {
        inspection.refusal = WrapperRefusal::HeaderCut;
        return {};
    }
    const std::uint32_t entryCount = koru::Bytes_LoadLe32<4>(*head);
    if (entryCount < 2) {
        inspection.refusal = WrapperRefusal::NoChunks;
        return {};
    }
    layer.chunks = entryCount - 1;
    if (entryCount > koru::Source_GetRemaining(source) / kTableEntryBytes) {
        inspection.refusal = WrapperRefusal::TableCut;
        return {};
    }
    koru::ByteBuffer joined = koru::Ktx_JoinChunks(source);
    layer.joinedBytes = joined.Size();
    if (!joined) inspection.refusal = WrapperRefusal::NothingJoined;
    return joined;
}

}  // namespace

WrapperInspection Wrapper_Inspect(std::span<const std::uint8_t> bytes) {
    WrapperInspection inspection;
    koru::ByteBuffer joined;
    do {
        if (inspection.layers.size() == koru::kKtxMaxWrappers) {
            inspection.refusal = WrapperRefusal::TooDeep;
            return inspection;
        }
        joined = Wrapper_Open(inspection, bytes);
        if (!joined) return inspection;
        bytes = {joined.Data(), joined.Size()};
        inspection.inner = Container_Identify(bytes);
    } while (inspection.inner == Container::WrappedKtx);
    if (inspection.inner == Container::Ktx1 || inspection.inner == Container::Ktx2) {
        inspection.ktx = Ktx_Inspect(bytes);
    } else {
        inspection.refusal = WrapperRefusal::NotKtx;
    }
    return inspection;
}

}  // namespace koru_host
