#include "convert_file.h"

#include <new>
#include <stdexcept>
#include <system_error>

#include "file_error.h"
#include "host_paths.h"
#include "load_diagnosis.h"
#include "picture_writer.h"
#include "replacing_file.h"
#include "texture_loader.h"
#include "texture_writer.h"

namespace koru_host {
namespace {

/// Makes a 32-bit record a 24-bit one: moves R, G, B together over the alpha bytes.
void Convert_DropAlpha(KORU_Image& image) {
    const std::uint32_t rowBytes = image.width * 3;
    std::uint8_t* to = image.pixels;
    for (std::uint32_t y = 0; y < image.height; ++y) {
        const std::uint8_t* from = image.pixels + std::size_t{y} * image.stride;
        for (std::uint32_t x = 0; x < image.width; ++x, from += 4, to += 3) {
            to[0] = from[0];
            to[1] = from[1];
            to[2] = from[2];
        }
    }
    image.bitsPerPixel = 24;
    image.bytesPerPixel = 3;
    image.stride = rowBytes;
    image.dataSize = rowBytes * image.height;
}

void Convert_WriteOutput(const ConvertJob& job, KORU_Image& image) {
    const auto fail = [&job](const std::string& reason) {
        throw FileError(job.output, "cannot be written: " + reason);
    };
    try {
        ReplacingFile file(job.target, job.temporary);
        if (const auto texture = Texture_GetFormat(job.output)) {
            Texture_Write(image, *texture, file);
        } else {
            const PictureView picture{image.pixels, image.width, image.height, image.bytesPerPixel,
                                      image.stride};
            Picture_Write(picture, Picture_GetFormat(job.output).value_or(PictureFormat::Png),
                          [&file](std::span<const std::uint8_t> bytes) { file.Write(bytes); });
        }
        file.Commit();
    } catch (const std::length_error& error) {
        fail(error.what());
    } catch (const std::system_error& error) {
        fail(Paths_DescribeError(error.code()));
    } catch (const std::runtime_error& error) {
        fail(error.what());
    }
}

}  // namespace

ConvertOutcome Convert_File(const ConvertJob& job) {
    try {
        TextureFile file = Texture_Open(job.input);
        const ImageHandle image = Texture_Load(file);
        if (job.dropAlpha && image->bytesPerPixel == 4) Convert_DropAlpha(*image);
        Convert_WriteOutput(job, *image);
        return {.isConverted = true,
                .width = image->width,
                .height = image->height,
                .warnings = Diagnosis_FindWarnings(file)};
    } catch (const FileError& error) {
        return {.failedFile = error.GetFile(), .reason = error.what()};
    } catch (const std::bad_alloc&) {
        return {.failedFile = job.input, .reason = "cannot be converted: out of memory"};
    }
}

}  // namespace koru_host
