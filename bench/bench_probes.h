// What the system tells about a stretch of code besides its time, and the limits of its memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>

#include "core/byte_buffer.h"

namespace koru_bench {

/// Page faults of this process so far that needed no disk.
std::int64_t Probe_CountPageFaults();

/// What `body` makes resident at its peak, above what is resident before it. The system counts
/// pages in lots: some MiB are the least that it tells well.
std::size_t Probe_MeasurePeakBytes(const std::function<void()>& body);

/// Memory that new allocations may take without swapping.
std::size_t Probe_GetAvailableBytes();

/// Every page of this process has 4 KiB, whatever it asks for.
void Probe_DisableHugePages();

/// Buffers from 128 KiB on are new memory each time, as in a process that loads its first texture.
void Probe_DisableHeapReuse();

/// Plain stores, 32 bytes each where the machine can, to the whole buffer.
void Probe_Fill(koru::ByteBuffer& buffer);

/// Reads a file into new memory as loads do.
koru::ByteBuffer Probe_ReadFile(const std::filesystem::path& path);

}  // namespace koru_bench
