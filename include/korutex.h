/**
 * korutex: opens GPU texture files (ASTC, KTX, PVR) as plain 8-bit RGB or RGBA images.
 *
 * A host loads the first image of a file (mip level 0, first face, layer and slice) from a path or
 * from memory, uses the record it gets, and gives the record back with KORU_Delete_Image:
 *
 *     KORU_Image* image = KORU_Load_ASTC_From_File(path, KORU_FLAG_RGBA);
 *     if (image != NULL) {
 *         show(image->pixels, image->width, image->height, image->stride);
 *         KORU_Delete_Image(image);
 *     }
 *
 * One call at a time
 *   The library keeps static state for each container format, takes no locks and starts no threads.
 *   The host must serialise its calls. Work that shall run in parallel belongs into processes.
 *
 * What one load leaves to the next
 *   KTX and PVR each remember that a four-component image was loaded. From then on every load of
 *   that format decodes into a 32-bit working image instead of a 24-bit one. The layout of a record
 *   follows from the flags alone: an RGBA record takes its alpha from a 32-bit working image, and
 *   255 where that is 24-bit. Nothing resets this but unloading the library.
 *   The payload of a format's last load stays in memory, with at most as much again of the file
 *   around it, until that format's next load or until the library is unloaded.
 *
 * Failure
 *   A loader returns NULL, a writer 0. There is no error code, no message and no exception; running
 *   out of memory is a failure like any other, and the next call works.
 */
#ifndef KORUTEX_H
#define KORUTEX_H

#include <stddef.h>
#include <stdint.h>

#define KORU_VERSION_MAJOR 0
#define KORU_VERSION_MINOR 1
#define KORU_VERSION_PATCH 0
#define KORU_VERSION_STRING "0.1.0"

#if defined(_WIN32)
#if defined(KORU_BUILDING_LIBRARY)
#define KORU_API __declspec(dllexport)
#else
#define KORU_API __declspec(dllimport)
#endif
#else
#define KORU_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/**
 * A unit of a path: 16 bits, UTF-16, on every platform. Paths end with a zero unit.
 * Windows: wchar_t, as in L"texture.ktx". Elsewhere: the type of u"texture.ktx", which C99 and C11
 * know as uint_least16_t and C++ as char16_t.
 */
#if defined(_WIN32)
typedef wchar_t KORU_Char;
#elif defined(__cplusplus)
typedef char16_t KORU_Char;
#else
typedef uint_least16_t KORU_Char;
#endif

/** A path literal of KORU_Char: KORU_TEXT("texture.ktx"). Outside Windows it needs C11. */
#if defined(_WIN32)
#define KORU_TEXT_OF(literal) L##literal
#else
#define KORU_TEXT_OF(literal) u##literal
#endif
#define KORU_TEXT(literal) KORU_TEXT_OF(literal)

/**
 * Load flags, or-ed together; other bits are ignored.
 *
 * KORU_FLAG_HEADER_ONLY  The record gets its sizes but no pixels (`pixels` is NULL). The load fails
 *                        exactly when a full RGB load would: it asks for the memory of that one's
 *                        payload, pixels and codec, though it writes no pixel. The record
 *                        describes that layout even if KORU_FLAG_RGBA is set as well.
 * KORU_FLAG_RGBA         Pixels are R, G, B, A, 4 bytes each. Without it: R, G, B, 3 bytes each.
 *                        Alpha is 255 where the image has none.
 */
#define KORU_FLAG_HEADER_ONLY 1u
#define KORU_FLAG_RGBA 2u

/**
 * An image: a header and its pixel rows, top row first.
 *
 * Row y begins at pixels + (size_t)y * stride. Records and their pixels belong to the library's
 * allocator: free them with KORU_Delete_Image and nothing else.
 *
 * Writers take a record too. A host that fills one by itself must keep `pixels` in memory that
 * KORU_Delete_Image may free, because writers may replace it; the portable way is to change a
 * record that a loader made.
 */
typedef struct KORU_Image {
    uint32_t width;          /**< Pixels per row. */
    uint32_t height;         /**< Rows. */
    uint32_t bitsPerPixel;   /**< 24 (RGB) or 32 (RGBA). */
    uint32_t bytesPerPixel;  /**< 3 or 4. */
    uint32_t bitsPerChannel; /**< 8. */
    uint32_t dataSize;       /**< Bytes of pixel data: stride * height. */
    uint32_t stride;         /**< Bytes per row. */
    uint32_t rowPadding;     /**< Bytes at the end of each row beyond the pixels; 0 after a load. */
    uint32_t reservedA;      /**< 0. */
    uint32_t reservedB;      /**< 0. */
    uint64_t reservedC;      /**< 100 in every record that a loader makes. */
    uint32_t reservedD;      /**< 0. */
    uint8_t* pixels;         /**< dataSize bytes, or NULL after a header-only load. */
} KORU_Image;

/** Does nothing; may be called at any time, any number of times. */
KORU_API void KORU_Init(void);

/** Does nothing; may be called at any time, any number of times. Records stay valid. */
KORU_API void KORU_Exit(void);

/* Loading. Every loader's rules:
 *
 * path    Zero-terminated UTF-16. The file is opened, read whole and closed. NULL fails.
 * data    `size` bytes, borrowed during the call; never written, kept or freed. NULL fails.
 * size    Bytes; 0 fails.
 * flags   KORU_FLAG_* values.
 * result  A record that the caller owns and passes to KORU_Delete_Image. NULL on any failure: a bad
 *         argument; no such file, none that is regular (a folder, a pipe, a device; POSIX), an
 *         empty one or one of 4 GiB and more; another container or a header field out of its
 *         range; a pixel format that is not decoded; too short a payload; pixels of 4 GiB and more;
 *         no memory.
 *
 * Calls must not overlap in time, whatever the format (see the top of this file).
 */

/**
 * Loads an ".astc" file: the 16-byte header of the Arm ASTC Encoder and the blocks of one image of
 * depth 1, decoded as linear LDR. A block footprint that the ASTC standard does not know gives a
 * record of transparent black, not a failure. No load depends on an earlier one.
 *
 * @param path   The file, zero-terminated UTF-16.
 * @param flags  KORU_FLAG_* values.
 * @return       The caller's record, or NULL on failure.
 */
KORU_API KORU_Image* KORU_Load_ASTC_From_File(const KORU_Char* path, uint32_t flags);

/**
 * Loads an ".astc" file that is in memory; otherwise as KORU_Load_ASTC_From_File.
 *
 * @param data   The file's bytes, borrowed during the call.
 * @param size   How many.
 * @param flags  KORU_FLAG_* values.
 * @return       The caller's record, or NULL on failure.
 */
KORU_API KORU_Image* KORU_Load_ASTC_From_Memory(const uint8_t* data, uint32_t size, uint32_t flags);

/**
 * Loads a KTX 1.1 or KTX 2.0 file of the Khronos Group, or one in a "QOZM" wrapper: chunks of
 * LZ4-compressed bytes, wrapped up to eight times.
 *
 * Decoded formats, by their GL internal format or the VkFormat that corresponds to it:
 *   S3TC      DXT1, DXT3, DXT5 and their sRGB forms. GL_COMPRESSED_RGB_S3TC_DXT1_EXT is refused.
 *             Three-color blocks round their middle color up, and their fourth color is white; it
 *             is transparent in DXT1. DXT3 knows three-color blocks, too. In images of DXT5 that
 *             are 1 to 3 pixels wide, alpha indices lie further apart than the format says.
 *   ETC       ETC1, ETC2 RGB, RGBA and punch-through alpha, and their sRGB forms. EAC R11 gives the
 *             raw bytes of its 16-bit samples as grey, EAC RG11 opaque black.
 *   ASTC      every two-dimensional block footprint, LDR; sRGB forms as they are stored. A payload
 *             that is shorter than its blocks gives a record of opaque black.
 *   packed    8-bit RGB and RGBA (also sRGB, SNORM and integer, by their raw bytes, and BGR and
 *             BGRA as if they were RGB and RGBA), base formats of one component as grey,
 *             GL_LUMINANCE_ALPHA as opaque black, GL_RGB565, GL_RGB5, GL_RGB5_A1, GL_RGBA4,
 *             GL_RGB10_A2, GL_R11F_G11F_B10F and GL_RGB9_E5.
 * No color space is converted. KTX 1.1 files of the other byte order and KTX 2.0 files with
 * supercompression are refused.
 *
 * Rows of packed pixels are taken as padded to 4 bytes, in KTX 2.0, too. The payload must hold at
 * least width * components bytes for each of them, padded, one byte for a component, even where
 * pixels are packed into fewer: a 16-bit image of exactly its size is therefore refused.
 * An ETC or EAC image without any payload is a record of opaque black, too. Three-component blocks
 * (ETC1, ETC2 RGB, sRGB DXT1) come out sheared if width * 3 is not a multiple of 4.
 *
 * Rows come in file order: "KTXorientation" is read and not applied.
 *
 * Sticky: once a four-component KTX image was loaded, later KTX loads decode into a 32-bit working
 * image; see the top of this file.
 *
 * @param path   The file, zero-terminated UTF-16.
 * @param flags  KORU_FLAG_* values.
 * @return       The caller's record, or NULL on failure.
 */
KORU_API KORU_Image* KORU_Load_KTX_From_File(const KORU_Char* path, uint32_t flags);

/**
 * Loads a KTX file that is in memory; otherwise as KORU_Load_KTX_From_File, sticky flag included.
 *
 * @param data   The file's bytes, borrowed during the call.
 * @param size   How many.
 * @param flags  KORU_FLAG_* values.
 * @return       The caller's record, or NULL on failure.
 */
KORU_API KORU_Image* KORU_Load_KTX_From_Memory(const uint8_t* data, uint32_t size, uint32_t flags);

/**
 * Loads a PVR file with the version-3 header or the legacy header of 52 bytes ("PVR!" at offset
 * 44).
 *
 * Decoded formats:
 *   PVRTC     version 1, 2 and 4 bits per pixel, for sizes that are powers of two; others give
 *             what the wrapping arithmetic makes of them. Two-bit blocks with a mode flag average
 *             four neighbors always, and a translucent color B changes the blue of color A.
 *   S3TC      DXT1 without its alpha, DXT3, DXT5; arithmetic as in KTX.
 *   ETC       ETC1 and ETC2 RGB, RGBA and punch-through alpha. EAC R11 and RG11 give opaque black,
 *             and so does a version-3 file without any payload.
 *   packed    legacy: 8-bit RGBA and RGB. Version 3: channels of 8,8,8,8 and 8,8,8 bits, of
 *             10,10,10,2 and 11,11,10 (as four raw bytes), of 4,4,4,4 and 5,6,5, of 5,5,5 and
 *             5,5,5,1. Other widths give opaque black. Channel names give their number only:
 *             BGRA bytes come out as if they were RGBA.
 * Color space, premultiplied alpha and channel type are not looked at.
 *
 * The payload of packed pixels must hold at least width * channels bytes for each row, padded to 4,
 * one byte for a channel even where pixels are packed into fewer: a 16-bit image of exactly its
 * size is therefore refused. Three-component blocks (ETC1, ETC2 RGB, DXT1) come out sheared if
 * width * 3 is not a multiple of 4.
 *
 * Rows come in file order: orientation metadata and the flipped flag are read and not applied.
 *
 * Sticky: once a four-component PVR image was loaded, later PVR loads decode into a 32-bit working
 * image; see the top of this file. It shows where packed pixels hold a fourth channel that their
 * names do not count ('r','g','b' with 8,8,8,8 bits, say): their alpha comes out from then on,
 * and is 255 before.
 *
 * @param path   The file, zero-terminated UTF-16.
 * @param flags  KORU_FLAG_* values.
 * @return       The caller's record, or NULL on failure.
 */
KORU_API KORU_Image* KORU_Load_PVR_From_File(const KORU_Char* path, uint32_t flags);

/**
 * Loads a PVR file that is in memory; otherwise as KORU_Load_PVR_From_File, sticky flag included.
 *
 * @param data   The file's bytes, borrowed during the call.
 * @param size   How many.
 * @param flags  KORU_FLAG_* values.
 * @return       The caller's record, or NULL on failure.
 */
KORU_API KORU_Image* KORU_Load_PVR_From_Memory(const uint8_t* data, uint32_t size, uint32_t flags);

/* Writing. Every writer borrows the record, and none creates a file without a path, an image or
 * pixels, or with a width or height of 0: the result is then 0. A write that fails after the file
 * was opened leaves what was written so far. Calls must not overlap in time with other calls.
 * POSIX: a pipe is waited for until it has a reader. Signals are the host's: one that writes to
 * pipes, or under a limit of file sizes, ignores SIGPIPE and SIGXFSZ, and the result is then 0.
 */

/**
 * Writes the header of an ".astc" file, 20 bytes, and no blocks: the library has no ASTC encoder.
 * The result is therefore always 0, also after the header was written.
 *
 * @param path   The file, zero-terminated UTF-16; an existing one is replaced.
 * @param image  Once the file is open, a 24-bit image is converted in place to 32-bit RGBA with
 *               alpha 255 and packed rows, and stays so: `pixels` is then another buffer.
 * @return       0.
 */
KORU_API int32_t KORU_Write_ASTC_To_File(const KORU_Char* path, KORU_Image* image);

/**
 * Writes a KTX 1.1 file: one level of GL_RGB or GL_RGBA bytes, as the record has them, rows top to
 * bottom ("KTXorientation" S=r,T=d). KORU_Load_KTX_From_File reads it back.
 *
 * @param path   The file, zero-terminated UTF-16; an existing one is replaced.
 * @param image  A 24-bit image is repacked in place, once the file is open, to rows of a multiple
 *               of 4 bytes: `stride`, `rowPadding` and `dataSize` follow, and `pixels` is then
 *               another buffer.
 * @return       1 for success, 0 for failure. A dataSize of 0 is a failure at the last step unless
 *               repacking filled the rows with zeros.
 */
KORU_API int32_t KORU_Write_KTX_To_File(const KORU_Char* path, KORU_Image* image);

/**
 * Writes 52 zero bytes in place of a PVR header, the 32-bit size of the pixels, and the pixels. No
 * PVR reader opens such a file, nor does KORU_Load_PVR_From_File.
 *
 * @param path   The file, zero-terminated UTF-16; an existing one is replaced.
 * @param image  A 24-bit image is repacked in place as by KORU_Write_KTX_To_File.
 * @return       1 for success, 0 for failure. As there, a dataSize of 0 is a failure only of a
 *               record that is not repacked.
 */
KORU_API int32_t KORU_Write_PVR_To_File(const KORU_Char* path, KORU_Image* image);

/**
 * Frees a record and its pixels. NULL does nothing.
 * The record's fields are set to 0 before its memory is given back.
 */
KORU_API void KORU_Delete_Image(KORU_Image* image);

#ifdef __cplusplus
}
#endif

#endif
