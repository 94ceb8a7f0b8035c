// One load through a GdkPixbufLoader, told in the order in which a program sees it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "pixbuf_client.h"

struct LoaderStory {
    /// "size W x H", "prepared W x H", "updated X, Y, W x H", "closed".
    std::vector<std::string> events;
    PixbufPtr pixbuf;  ///< Null after a failure.
    ErrorPtr error;    ///< The first one; null after a success.
};

/// How the program feeds its loader.
struct LoaderFeed {
    std::size_t pieceBytes = SIZE_MAX;
    /// Called when the size is known, as a program calls gdk_pixbuf_loader_set_size then.
    std::function<void(GdkPixbufLoader*)> onSize = {};
};

LoaderStory Test_LoadPieces(const Bytes& file, const LoaderFeed& feed = {});
