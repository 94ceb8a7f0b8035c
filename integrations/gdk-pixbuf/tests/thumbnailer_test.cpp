// The entry for file managers, run as they run it.
#include <gtest/gtest.h>

#include "pixbuf_client.h"
#include "pvr_builder.h"
#include "wrapper_builder.h"

namespace fs = std::filesystem;

namespace {

std::string Thumbnailer_ReadKey(const char* key) {
    GKeyFile* const entry = g_key_file_new();
    EXPECT_TRUE(g_key_file_load_from_file(entry, KORUTEX_THUMBNAILER, G_KEY_FILE_NONE, nullptr));
    const TextPtr value(g_key_file_get_string(entry, "Thumbnailer Entry", key, nullptr));
    g_key_file_free(entry);
    EXPECT_NE(value, nullptr) << key;
    return value ? value.get() : "";
}

/// The entry's command line, as file managers fill it in: size, URI of the file, output.
std::vector<std::string> Thumbnailer_GetCommand(const fs::path& input, int edge,
                                                const fs::path& output) {
    char** words = nullptr;
    EXPECT_TRUE(g_shell_parse_argv(Thumbnailer_ReadKey("Exec").c_str(), nullptr, &words, nullptr));
    std::vector<std::string> command;
    for (char** word = words; word != nullptr && *word != nullptr; ++word) {
        std::string filled = *word;
        if (filled == "%s") filled = std::to_string(edge);
        if (filled == "%u")
            filled = TextPtr(g_filename_to_uri(input.c_str(), nullptr, nullptr)).get();
        if (filled == "%o") filled = output;
        command.push_back(filled);
    }
    g_strfreev(words);
    return command;
}

class Thumbnailer : public testing::Test {
  protected:
    ProgramEnd Run(const fs::path& input, int edge) const {
        fs::remove(output_);
        return Test_RunProgram(Thumbnailer_GetCommand(input, edge, output_));
    }
    Picture RunWell(const fs::path& input, int edge) const {
        const ProgramEnd end = Run(input, edge);
        EXPECT_TRUE(end.isSuccess) << input << ": " << end.complaint;
        return end.isSuccess ? Test_OpenPicture(output_) : Picture{};
    }
    fs::path Write(const char* name, const Bytes& file) const {
        Test_WriteFile(folder_ / name, file);
        return folder_ / name;
    }

    const TempFolder folder_;
    const fs::path output_ = folder_ / "thumbnail.png";
};

TEST_F(Thumbnailer, TriesAProgramThatIsThere) {
    const TextPtr found(g_find_program_in_path(Thumbnailer_ReadKey("TryExec").c_str()));
    EXPECT_NE(found, nullptr);
}

// At the texture's own size nothing is scaled.
TEST_F(Thumbnailer, ShowsEverySampleInItsColors) {
    for (const fs::path& sample : Test_ListSamples()) {
        SCOPED_TRACE(sample);
        const std::optional<Picture> expected = Test_ConvertTexture(sample);
        ASSERT_TRUE(expected.has_value());
        EXPECT_EQ(RunWell(sample, std::max(expected->width, expected->height)), *expected);
    }
}

TEST_F(Thumbnailer, ScalesAsItScalesPngs) {
    for (const fs::path& sample : Test_ListSamples()) {
        SCOPED_TRACE(sample);
        const fs::path png = folder_ / "same.png";
        ASSERT_TRUE(Test_ConvertToPng(sample, png));
        const Picture thumbnail = RunWell(sample, 64);
        EXPECT_EQ(std::max(thumbnail.width, thumbnail.height), 64);
        EXPECT_EQ(thumbnail, RunWell(png, 64));
    }
}

TEST_F(Thumbnailer, KnowsPvrAndWrappedFilesByNameOrContent) {
    const Picture expected{2, 1, {10, 20, 30, 40, 50, 60, 70, 80}};
    const Bytes pvr =
        PvrV3Builder().Packed("rgba", {8, 8, 8, 8}).Size(2, 1).Data(expected.rgba).Build();
    const Bytes legacy = PvrLegacyBuilder().Type(0x12).Size(2, 1).Data(expected.rgba).Build();
    for (const char* name : {"a.pvr", "a", "with blanks & %s.PVR"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(RunWell(Write(name, pvr), 2), expected);
        EXPECT_EQ(RunWell(Write(name, legacy), 2), expected);
    }
    const fs::path sample = fs::path(KORUTEX_SAMPLES_DIR) / "testcard-rgb8.ktx";
    const Bytes wrapped = Test_WrapDeep(Test_ReadFile(sample), 1);
    const Picture card = Test_ConvertTexture(sample).value_or(Picture{});
    for (const char* name : {"wrapped.ktx", "wrapped"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(RunWell(Write(name, wrapped), std::max(card.width, card.height)), card);
    }
}

TEST_F(Thumbnailer, FailsForBadFilesAndWritesNothing) {
    const Bytes sample = Test_ReadFile(fs::path(KORUTEX_SAMPLES_DIR) / "testcard-bc1.ktx");
    const std::vector<fs::path> inputs{
        Write("cut.ktx", {sample.begin(), sample.begin() + 5000}),
        Write("head.ktx", {sample.begin(), sample.begin() + 13}),
        Write("text.pvr", Bytes(100, 'x')),
        Write("empty.astc", {}),
        // 52 bytes that tell 32768 x 32768 pixels.
        Write("enormous.pvr", PvrV3Builder().Compressed(6).Size(32768, 32768).Build()),
        folder_ / "missing.ktx",
    };
    for (const fs::path& input : inputs) {
        const ProgramEnd end = Run(input, 128);
        EXPECT_FALSE(end.isSuccess) << input;
        EXPECT_NE(end.complaint, "") << input;
        EXPECT_FALSE(fs::exists(output_)) << input;
    }
}

}  // namespace
