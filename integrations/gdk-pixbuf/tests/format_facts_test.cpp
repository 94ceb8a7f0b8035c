// What GdkPixbuf and the MIME database say about textures.
#include <gtest/gtest.h>

#include "loader_story.h"
#include "pvr_builder.h"
#include "wrapper_builder.h"

namespace fs = std::filesystem;

namespace {

std::vector<std::string> Test_TakeStrings(char** strings) {
    std::vector<std::string> result;
    for (char** string = strings; *string != nullptr; ++string) result.emplace_back(*string);
    g_strfreev(strings);
    return result;
}

GdkPixbufFormat* Test_FindFormat(const std::string& name) {
    GdkPixbufFormat* found = nullptr;
    GSList* const formats = gdk_pixbuf_get_formats();
    for (const GSList* link = formats; link != nullptr; link = link->next) {
        auto* const format = static_cast<GdkPixbufFormat*>(link->data);
        if (Test_GetFormatName(format) == name) found = format;
    }
    g_slist_free(formats);
    return found;
}

TEST(PixbufFormat, SaysWhatUsersSee) {
    GdkPixbufFormat* const format = Test_FindFormat("korutex");
    ASSERT_NE(format, nullptr);
    EXPECT_STREQ(TextPtr(gdk_pixbuf_format_get_description(format)).get(),
                 "GPU texture (ASTC, KTX, PVR)");
    EXPECT_EQ(Test_TakeStrings(gdk_pixbuf_format_get_extensions(format)),
              (std::vector<std::string>{"astc", "ktx", "ktx2", "pvr"}));
    EXPECT_EQ(Test_TakeStrings(gdk_pixbuf_format_get_mime_types(format)),
              (std::vector<std::string>{"image/astc", "image/ktx", "image/ktx2", "image/x-pvr",
                                        "image/x-qozm"}));
    EXPECT_FALSE(gdk_pixbuf_format_is_writable(format));
    EXPECT_FALSE(gdk_pixbuf_format_is_scalable(format));
    EXPECT_FALSE(gdk_pixbuf_format_is_disabled(format));
}

TEST(PixbufFormat, IsRefusedForSaving) {
    const PixbufPtr pixbuf(gdk_pixbuf_new(GDK_COLORSPACE_RGB, TRUE, 8, 2, 2));
    const TempFolder folder;
    const fs::path path = folder / "new.ktx";
    GError* problem = nullptr;
    EXPECT_FALSE(gdk_pixbuf_save(pixbuf.get(), path.c_str(), "korutex", &problem,
                                 static_cast<char*>(nullptr)));
    const ErrorPtr error(problem);
    EXPECT_NE(error, nullptr);
}

// The entry for file managers names each type that the loader opens.
TEST(PixbufFormat, ThumbnailerNamesEveryType) {
    GKeyFile* const entry = g_key_file_new();
    ASSERT_TRUE(g_key_file_load_from_file(entry, KORUTEX_THUMBNAILER, G_KEY_FILE_NONE, nullptr));
    char** const types =
        g_key_file_get_string_list(entry, "Thumbnailer Entry", "MimeType", nullptr, nullptr);
    g_key_file_free(entry);
    ASSERT_NE(types, nullptr);
    GdkPixbufFormat* const format = Test_FindFormat("korutex");
    ASSERT_NE(format, nullptr);
    EXPECT_EQ(Test_TakeStrings(types), Test_TakeStrings(gdk_pixbuf_format_get_mime_types(format)));
}

/// The MIME type of a file with this name and content, of which one may be missing.
std::string Test_GuessType(const char* name, const Bytes& content) {
    const TextPtr type(g_content_type_guess(name, content.empty() ? nullptr : content.data(),
                                            content.size(), nullptr));
    return TextPtr(g_content_type_get_mime_type(type.get())).get();
}

Bytes Test_MakeLegacyPvr() {
    return PvrLegacyBuilder().Type(0x12).Size(1, 1).Data({1, 2, 3, 4}).Build();
}

TEST(TextureMimeType, ByName) {
    EXPECT_EQ(Test_GuessType("a.pvr", {}), "image/x-pvr");
    EXPECT_EQ(Test_GuessType("A.PVR", {}), "image/x-pvr");
    EXPECT_EQ(Test_GuessType("a.astc", {}), "image/astc");
    EXPECT_EQ(Test_GuessType("a.ktx", {}), "image/ktx");
    EXPECT_EQ(Test_GuessType("a.ktx2", {}), "image/ktx2");
}

TEST(TextureMimeType, ByContent) {
    EXPECT_EQ(Test_GuessType(nullptr, PvrV3Builder().Build()), "image/x-pvr");
    EXPECT_EQ(Test_GuessType(nullptr, Test_MakeLegacyPvr()), "image/x-pvr");
    EXPECT_EQ(Test_GuessType(nullptr, Test_WrapDeep({}, 1)), "image/x-qozm");
    for (const fs::path& sample : Test_ListSamples()) {
        const std::string extension = sample.extension().string().substr(1);
        EXPECT_EQ(Test_GuessType(nullptr, Test_ReadFile(sample)), "image/" + extension) << sample;
    }
}

TEST(TextureMimeType, ByNameAndContent) {
    EXPECT_EQ(Test_GuessType("a.pvr", PvrV3Builder().Build()), "image/x-pvr");
    EXPECT_EQ(Test_GuessType("a.pvr", Test_MakeLegacyPvr()), "image/x-pvr");
    EXPECT_EQ(Test_GuessType("a.dat", PvrV3Builder().Build()), "image/x-pvr");
    EXPECT_EQ(Test_GuessType("a.ktx", Test_WrapDeep({}, 1)), "image/ktx");
    EXPECT_EQ(Test_GuessType("a.bin", Test_MakeLegacyPvr()), "image/x-pvr");
}

TEST(TextureMimeType, LeavesOthersAlone) {
    Bytes almost = Test_MakeLegacyPvr();
    almost[0] = 44;  // no such header
    EXPECT_NE(Test_GuessType(nullptr, almost), "image/x-pvr");
    EXPECT_NE(Test_GuessType(nullptr, {'P', 'V', 'R', 'T', 0, 0, 0, 0}), "image/x-pvr");
    EXPECT_EQ(Test_GuessType("a.png", {}), "image/png");
}

TEST(TextureMimeType, PvrHasACommentAndAnIcon) {
    const TextPtr text(g_content_type_get_description("image/x-pvr"));
    EXPECT_STREQ(text.get(), "PVR texture");
    const TextPtr icon(g_content_type_get_generic_icon_name("image/x-pvr"));
    EXPECT_STREQ(icon.get(), "image-x-generic");
}

}  // namespace
