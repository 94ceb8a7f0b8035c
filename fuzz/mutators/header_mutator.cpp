#include "header_mutator.h"

#include <algorithm>
#include <array>
#include <cstring>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

bool IsOneIn(FuzzRandom& random, unsigned count) { return random() % count == 0; }

std::uint64_t MakeOddNumber(const FuzzFile& file, FuzzRandom& random) {
    constexpr auto kNumbers = std::to_array<std::uint64_t>({0,           1,
                                                            2,           3,
                                                            4,           5,
                                                            7,           8,
                                                            16,          255,
                                                            256,         0xFFFF,
                                                            0x10000,     0x55555556,
                                                            0x7FFFFFFF,  0x80000000,
                                                            0xFFFFFFFC,  0xFFFFFFFD,
                                                            0xFFFFFFFE,  0xFFFFFFFF,
                                                            0x100000000, 0xFFFFFFFFFFFFFFFF});
    switch (random() % 4) {
        case 0:
            return file.size - std::min<std::size_t>(file.size, random() % 128);
        case 1:
            return random() % 256;
        default:
            return kNumbers[random() % kNumbers.size()];
    }
}

void MutateField(const FuzzField& field, const FuzzFile& file, FuzzRandom& random) {
    std::uint64_t value = 0;
    if (field.kind == FuzzFieldKind::Code && !IsOneIn(random, 8)) {
        value = field.codes[random() % field.codes.size()];
    } else if (field.kind == FuzzFieldKind::Extent && !IsOneIn(random, 4)) {
        value = IsOneIn(random, 2) ? std::uint64_t{1} << random() % 7 : random() % 40;
    } else {
        value = MakeOddNumber(file, random);
    }
    file.Store(field.offset, field.byteCount, value);
}

/// Large extents are worth few inputs: most such files are refused for their short payload.
void ShrinkExtents(const FuzzHeaderLayout& layout, const FuzzFile& file, FuzzRandom& random) {
    constexpr std::uint64_t kSmall = 64;
    for (const FuzzField& field : layout.fields) {
        if (field.kind != FuzzFieldKind::Extent || file.size < layout.headerBytes) continue;
        const std::uint64_t value = file.Load(field.offset, field.byteCount);
        if (value > kSmall && !IsOneIn(random, 8)) {
            file.Store(field.offset, field.byteCount, value % kSmall + 1);
        }
    }
}

void RestoreIdentifier(const FuzzHeaderLayout& layout, const FuzzFile& file) {
    if (file.size < layout.identifierOffset + layout.identifier.size()) return;
    std::ranges::copy(layout.identifier, file.data + layout.identifierOffset);
}

}  // namespace

std::uint64_t FuzzFile::Load(std::size_t offset, std::size_t byteCount) const {
    std::uint64_t value = 0;
    if (offset + byteCount > size) return 0;
    for (std::size_t i = byteCount; i-- > 0;) value = value << 8 | data[offset + i];
    return value;
}

void FuzzFile::Store(std::size_t offset, std::size_t byteCount, std::uint64_t value) const {
    if (offset + byteCount > size) return;
    for (std::size_t i = 0; i < byteCount; ++i) {
        data[offset + i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

void FuzzFile::Resize(std::size_t newSize) {
    newSize = std::min(newSize, maxSize);
    constexpr std::size_t kDistance = 17;
    for (std::size_t i = size; i < newSize; ++i) {
        data[i] = i >= kDistance ? static_cast<std::uint8_t>(data[i - kDistance] * 5 + i) : 0;
    }
    size = newSize;
}

std::size_t Fuzz_GuessPayloadBytes(std::uint64_t width, std::uint64_t height, FuzzRandom& random) {
    // Fields of 64 bits and more pixels than any input has: the caller's file has its limit.
    width = std::min<std::uint64_t>(width, 0xFFFF);
    height = std::min<std::uint64_t>(height, 0xFFFF);
    std::uint64_t byteCount = 0;
    const unsigned way = random() % 8;
    if (way < 4) {
        byteCount = (width * (way + 1) + 3) / 4 * 4 * height;
    } else if (way < 7) {
        byteCount = ((width + 3) / 4) * ((height + 3) / 4) * (way == 4 ? 8 : 16);
    }
    if (IsOneIn(random, 4)) byteCount += random() % 8;
    if (IsOneIn(random, 4)) byteCount -= std::min<std::uint64_t>(byteCount, random() % 8);
    return static_cast<std::size_t>(byteCount);
}

std::size_t Fuzz_MutateFile(const FuzzHeaderLayout& layout, FuzzFile file, FuzzRandom& random) {
    const unsigned way = random() % 8;
    if (way < 3 || file.size < layout.headerBytes || file.maxSize <= layout.headerBytes) {
        file.size = LLVMFuzzerMutate(file.data, file.size, file.maxSize);
    } else if (way < 7) {
        const unsigned count = 1 + random() % 3;
        for (unsigned i = 0; i < count; ++i) {
            MutateField(layout.fields[random() % layout.fields.size()], file, random);
        }
    } else {
        // The payload alone.
        const std::size_t payloadBytes = file.size - layout.headerBytes;
        file.size =
            layout.headerBytes + LLVMFuzzerMutate(file.data + layout.headerBytes, payloadBytes,
                                                  file.maxSize - layout.headerBytes);
    }
    if (!IsOneIn(random, 32)) RestoreIdentifier(layout, file);
    ShrinkExtents(layout, file, random);
    if (IsOneIn(random, 3) && file.size >= layout.headerBytes) layout.fitPayload(file, random);
    return file.size;
}
