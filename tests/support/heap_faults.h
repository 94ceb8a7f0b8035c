// Makes the N-th allocation of a stretch of code fail, and counts what is live.
#pragma once

#include <cstddef>

/// Counting is on between HeapFaults_Arm and HeapFaults_Disarm, for this whole process.
/// Allocation number `failAt` (from 1) gives null; 0 lets all succeed.
void HeapFaults_Arm(std::size_t failAt);

/// Ends counting; the number of allocations that were asked for since arming.
std::size_t HeapFaults_Disarm();

/// Allocations that the shared library around `address` makes itself never fail and do not count.
void HeapFaults_SpareLibraryOf(const void* address);

/// The most bytes that were live at one time since arming, above what was live then.
std::size_t HeapFaults_GetPeakBytes();

/// Blocks allocated and not freed, over the life of the process.
std::ptrdiff_t HeapFaults_GetLiveBlocks();

/// Has `watch` called with every block just before it is freed; null ends that.
void HeapFaults_WatchFree(void (*watch)(const void* block));
