#include "test_files.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <random>

KoruPath Test_ToKoruPath(const std::filesystem::path& path) {
#if defined(_WIN32)
    return path.wstring();
#else
    return path.u16string();
#endif
}

Bytes Test_ReadFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void Test_WriteFile(const std::filesystem::path& path, const Bytes& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    file.flush();
    EXPECT_TRUE(file.good()) << path;
}

TempFolder::TempFolder() {
    std::random_device random;
    do {
        folder_ =
            std::filesystem::temp_directory_path() / ("korutex-test-" + std::to_string(random()));
    } while (!std::filesystem::create_directory(folder_));
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}
