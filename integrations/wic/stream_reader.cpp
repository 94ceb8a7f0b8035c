#include "stream_reader.h"

#include <winerror.h>

#include <algorithm>
#include <array>
#include <limits>
#include <span>

namespace koru_wic {
namespace {

// The library counts the bytes of a file in 32 bits.
constexpr std::uint64_t kMaxFileBytes = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t kFirstRoomBytes = 256 * 1024;

HRESULT Stream_Seek(IStream& stream, std::int64_t offset, DWORD origin,
                    std::uint64_t& position) noexcept {
    LARGE_INTEGER move{};
    move.QuadPart = offset;
    ULARGE_INTEGER reached{};
    const HRESULT result = stream.Seek(move, origin, &reached);
    position = reached.QuadPart;
    // A stream's own codes tell the caller nothing about the picture; running out of memory does.
    if (FAILED(result)) return result == E_OUTOFMEMORY ? result : WINCODEC_ERR_STREAMREAD;
    return S_OK;
}

/// Reads until the target is full or the stream ends; a stream may give less than asked for.
HRESULT Stream_Fill(IStream& stream, std::span<std::uint8_t> target, std::size_t& count) noexcept {
    count = 0;
    while (count < target.size()) {
        const auto wanted = static_cast<ULONG>(
            std::min<std::size_t>(target.size() - count, std::numeric_limits<std::int32_t>::max()));
        ULONG got = 0;
        const HRESULT result = stream.Read(target.data() + count, wanted, &got);
        if (FAILED(result)) return result == E_OUTOFMEMORY ? result : WINCODEC_ERR_STREAMREAD;
        if (got > wanted) return WINCODEC_ERR_STREAMREAD;
        if (got == 0) break;
        count += got;
    }
    return S_OK;
}

HRESULT Stream_ProbeAt(IStream& stream, std::uint64_t position, StreamStart& start) noexcept {
    HRESULT result = Stream_SetPosition(stream, position);
    if (FAILED(result)) return result;
    std::array<std::uint8_t, koru_host::kContainerProbeBytes> head{};
    std::size_t count = 0;
    result = Stream_Fill(stream, head, count);
    if (FAILED(result)) return result;
    start.kind = Kind_Find(koru_host::Container_Identify(std::span(head).first(count))).kind;
    start.position = position;
    return S_OK;
}

}  // namespace

HRESULT Stream_GetPosition(IStream& stream, std::uint64_t& position) noexcept {
    return Stream_Seek(stream, 0, STREAM_SEEK_CUR, position);
}

HRESULT Stream_SetPosition(IStream& stream, std::uint64_t position) noexcept {
    if (position > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        return WINCODEC_ERR_STREAMREAD;
    }
    std::uint64_t reached = 0;
    return Stream_Seek(stream, static_cast<std::int64_t>(position), STREAM_SEEK_SET, reached);
}

HRESULT Stream_Probe(IStream& stream, StreamStart& start) {
    std::uint64_t here = 0;
    HRESULT result = Stream_GetPosition(stream, here);
    if (SUCCEEDED(result)) result = Stream_ProbeAt(stream, here, start);
    if (SUCCEEDED(result) && start.kind == nullptr && here != 0) {
        result = Stream_ProbeAt(stream, 0, start);
    }
    return result;
}

HRESULT Stream_ReadFrom(IStream& stream, std::uint64_t position, std::vector<std::uint8_t>& bytes) {
    std::uint64_t end = 0;
    HRESULT result = Stream_Seek(stream, 0, STREAM_SEEK_END, end);
    if (FAILED(result)) return result;
    if (end < position) return WINCODEC_ERR_STREAMREAD;
    const std::uint64_t told = end - position;
    if (told > kMaxFileBytes) return HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE);
    result = Stream_SetPosition(stream, position);

    // Room grows with what is there: a size that is told only costs nothing.
    bytes.clear();
    std::size_t count = 0;
    while (SUCCEEDED(result) && count == bytes.size() && count < told) {
        const std::uint64_t room = std::max<std::uint64_t>(kFirstRoomBytes, bytes.size() * 2ull);
        bytes.resize(static_cast<std::size_t>(std::min(told, room)));
        std::size_t got = 0;
        result = Stream_Fill(stream, std::span(bytes).subspan(count), got);
        count += got;
    }
    bytes.resize(count);
    return result;
}

}  // namespace koru_wic
