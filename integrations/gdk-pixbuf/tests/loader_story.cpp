#include "loader_story.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

struct Listener {
    LoaderStory story;
    const LoaderFeed* feed = nullptr;
    void Tell(std::string event) { story.events.push_back(std::move(event)); }
};

std::string Story_FormatSize(int width, int height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

void Story_OnSize(GdkPixbufLoader* loader, int width, int height, gpointer data) {
    auto& listener = *static_cast<Listener*>(data);
    listener.Tell("size " + Story_FormatSize(width, height));
    if (listener.feed->onSize) listener.feed->onSize(loader);
}

void Story_OnPrepared(GdkPixbufLoader* loader, gpointer data) {
    GdkPixbuf* const pixbuf = gdk_pixbuf_loader_get_pixbuf(loader);
    static_cast<Listener*>(data)->Tell(
        "prepared " +
        Story_FormatSize(gdk_pixbuf_get_width(pixbuf), gdk_pixbuf_get_height(pixbuf)));
}

void Story_OnUpdated(GdkPixbufLoader* /*loader*/, int x, int y, int width, int height,
                     gpointer data) {
    static_cast<Listener*>(data)->Tell("updated " + std::to_string(x) + ", " + std::to_string(y) +
                                       ", " + Story_FormatSize(width, height));
}

void Story_OnClosed(GdkPixbufLoader* /*loader*/, gpointer data) {
    static_cast<Listener*>(data)->Tell("closed");
}

}  // namespace

LoaderStory Test_LoadPieces(const Bytes& file, const LoaderFeed& feed) {
    Listener listener;
    listener.feed = &feed;
    const LoaderPtr loader(gdk_pixbuf_loader_new());
    g_signal_connect(loader.get(), "size-prepared", G_CALLBACK(Story_OnSize), &listener);
    g_signal_connect(loader.get(), "area-prepared", G_CALLBACK(Story_OnPrepared), &listener);
    g_signal_connect(loader.get(), "area-updated", G_CALLBACK(Story_OnUpdated), &listener);
    g_signal_connect(loader.get(), "closed", G_CALLBACK(Story_OnClosed), &listener);

    GError* problem = nullptr;
    bool isTaken = true;
    for (std::size_t at = 0; isTaken && at < file.size();) {
        const std::size_t count = std::min(feed.pieceBytes, file.size() - at);
        // A buffer of exactly the piece's size: one byte read beyond it is seen by sanitizers.
        const Bytes piece(file.begin() + static_cast<std::ptrdiff_t>(at),
                          file.begin() + static_cast<std::ptrdiff_t>(at + count));
        isTaken = gdk_pixbuf_loader_write(loader.get(), piece.data(), piece.size(), &problem) != 0;
        at += count;
    }
    const bool isClosed =
        gdk_pixbuf_loader_close(loader.get(), isTaken ? &problem : nullptr) != FALSE;
    LoaderStory& story = listener.story;
    story.error.reset(problem);
    EXPECT_EQ(isTaken && isClosed, story.error == nullptr);
    GdkPixbuf* const pixbuf = gdk_pixbuf_loader_get_pixbuf(loader.get());
    if (isTaken && isClosed && pixbuf != nullptr) {
        story.pixbuf.reset(GDK_PIXBUF(g_object_ref(pixbuf)));
    }
    return std::move(story);
}
