// Every truncation and every changed byte of real files, for the sanitizers to watch.
#include <gtest/gtest.h>
#include <korutex.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "koru_image_ptr.h"
#include "test_files.h"

/// Some changes promise gigabytes of blank pixels. Here they run out of memory instead.
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1:max_allocation_size_mb=128";
}

namespace {

using Loader = KORU_Image* (*)(const std::uint8_t*, std::uint32_t, std::uint32_t);

constexpr std::array<Loader, 3> kLoaders{
    KORU_Load_ASTC_From_Memory,
    KORU_Load_KTX_From_Memory,
    KORU_Load_PVR_From_Memory,
};

/// How much of a sweep runs: all of it if KORUTEX_SWEEP_ALL is set, else what ordinary tests have
/// time for. Each load of ASTC costs a codec context.
struct Extent {
    explicit Extent(bool isAstc) : singleBytes(all ? 512 : isAstc ? 16 : 160) {}

    bool all = std::getenv("KORUTEX_SWEEP_ALL") != nullptr;
    /// Up to here each length and each byte has a load of its own.
    std::size_t singleBytes;
    /// Behind that, lengths this far apart.
    std::size_t lengthStep = all ? 1 : 4099;
    int flippedBits = all ? 8 : 1;
};

/// Behind the single bytes, one of so many is changed at the same time. No block that the samples
/// hold is longer, and blocks are decoded independently: each sees one byte changed.
constexpr std::size_t kBlockBytes = 16;

class Sweep {
  public:
    Sweep(Bytes file, Extent extent) : file_(std::move(file)), extent_(extent) {
        for (const Loader loader : kLoaders) {
            if (Load(loader, file_, KORU_FLAG_RGBA)) loaders_.push_back(loader);
        }
        if (loaders_.empty()) loaders_.assign(kLoaders.begin(), kLoaders.end());
    }

    void CutEverywhere() {
        std::size_t length = 0;
        while (length < file_.size()) {
            LoadAll(std::span(file_).first(length));
            length += length < extent_.singleBytes ? 1 : extent_.lengthStep;
        }
    }

    void ChangeEveryByte() {
        const std::size_t single = std::min(extent_.singleBytes, file_.size());
        for (std::size_t at = 0; at < single; ++at) ChangeBytes(at, at + 1, kBlockBytes);
        for (std::size_t i = 0; i < std::min(kBlockBytes, file_.size() - single); ++i) {
            ChangeBytes(single + i, file_.size(), kBlockBytes);
        }
    }

    [[nodiscard]] std::size_t GetLoads() const { return loads_; }
    [[nodiscard]] double GetSlowestSeconds() const { return slowestSeconds_; }

  private:
    /// Changes the bytes begin, begin + step, ... below `end` in every way, one way at a time.
    void ChangeBytes(std::size_t begin, std::size_t end, std::size_t step) {
        const auto load = [&](auto&& change) {
            Bytes changed = file_;
            for (std::size_t at = begin; at < end; at += step) {
                changed[at] = static_cast<std::uint8_t>(change(changed[at]));
            }
            if (changed != file_) LoadAll(changed);
        };
        load([](int) { return 0; });
        load([](int) { return 0xFF; });
        load([](int byteValue) { return byteValue + 1; });
        load([](int byteValue) { return byteValue - 1; });
        for (int bit = 0; bit < extent_.flippedBits; ++bit) {
            load([&](int byteValue) { return byteValue ^ 0x80 >> bit; });
        }
    }

    void LoadAll(std::span<const std::uint8_t> bytes) {
        for (const Loader loader : loaders_) {
            Load(loader, bytes, static_cast<std::uint32_t>(loads_ % 4));
        }
    }

    /// From heap bytes of exactly this size; reads all that the record promises.
    bool Load(Loader loader, std::span<const std::uint8_t> bytes, std::uint32_t flags) {
        const auto exact = std::make_unique<std::uint8_t[]>(bytes.size());
        std::copy(bytes.begin(), bytes.end(), exact.get());
        const std::clock_t start = std::clock();
        const KoruImagePtr image(
            loader(exact.get(), static_cast<std::uint32_t>(bytes.size()), flags));
        const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        slowestSeconds_ = std::max(slowestSeconds_, seconds);
        ++loads_;
        if (image == nullptr) return false;
        EXPECT_EQ(image->dataSize,
                  std::uint64_t{image->width} * image->height * image->bytesPerPixel);
        EXPECT_EQ(image->pixels == nullptr, (flags & KORU_FLAG_HEADER_ONLY) != 0);
        EXPECT_EQ(Test_GetPixels(*image).size(), image->pixels == nullptr ? 0 : image->dataSize);
        return true;
    }

    Bytes file_;
    Extent extent_;
    std::vector<Loader> loaders_;
    std::size_t loads_ = 0;
    double slowestSeconds_ = 0;
};

/// The bundled samples, or the files of the folder that KORUTEX_SWEEP_FOLDER names.
std::vector<std::filesystem::path> ListFiles() {
    const char* folder = std::getenv("KORUTEX_SWEEP_FOLDER");
    std::vector<std::filesystem::path> files;
    for (const auto& entry :
         std::filesystem::directory_iterator(folder != nullptr ? folder : KORUTEX_SAMPLES_DIR)) {
        const std::string extension = entry.path().extension().string();
        if (extension != ".png" && entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

class FileSweep : public testing::TestWithParam<std::filesystem::path> {};

TEST_P(FileSweep, EveryTruncationAndEveryChangedByte) {
    Sweep sweep(Test_ReadFile(GetParam()), Extent(GetParam().extension() == ".astc"));
    sweep.CutEverywhere();
    sweep.ChangeEveryByte();
    std::cout << GetParam().filename().string() << ": " << sweep.GetLoads()
              << " loads, the slowest " << sweep.GetSlowestSeconds() * 1000 << " ms\n";
}

INSTANTIATE_TEST_SUITE_P(Files, FileSweep, testing::ValuesIn(ListFiles()), [](const auto& file) {
    std::string name = file.param.filename().string();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return name;
});

}  // namespace
