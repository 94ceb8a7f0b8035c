// Runs a fuzz target over files and folders of inputs without a fuzzer: TARGET PATH...
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

/// The files that a path names, in an order that does not depend on the file system.
std::vector<fs::path> ListFiles(const fs::path& path) {
    if (fs::is_regular_file(path)) return {path};
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool Replay(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    if (file.bad() || !file.is_open()) return false;
    // A heap copy of exactly this size, so that a sanitizer sees the first byte too many.
    const auto exact = std::make_unique<std::uint8_t[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), exact.get());
    LLVMFuzzerTestOneInput(exact.get(), bytes.size());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    std::size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        if (!fs::exists(argv[i])) {
            std::fprintf(stderr, "%s: no such file or folder\n", argv[i]);
            return 2;
        }
        for (const fs::path& path : ListFiles(argv[i])) {
            // Named before it runs: an input that ends the process shall be known.
            std::fprintf(stderr, "%s\n", path.string().c_str());
            if (!Replay(path)) return 2;
            ++count;
        }
    }
    std::printf("%zu inputs\n", count);
    return count != 0 ? 0 : 2;
}
