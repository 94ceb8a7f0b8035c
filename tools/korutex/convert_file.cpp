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

namespace koru_host {
namespace {

/// Moves R, G, B together over the alpha bytes.
PictureView Convert_DropAlpha(KORU_Image& image) {
    const std::size_t rowBytes = std::size_t{image.width} * 3;
    std::uint8_t* to = image.pixels;
    for (std::uint32_t y = 0; y < image.height; ++y) {
        const std::uint8_t* from = image.pixels + std::size_t{y} * image.stride;
        for (std::uint32_t x = 0; x < image.width; ++x, from += 4, to += 3) {
            to[0] = from[0];
            to[1] = from[1];
            to[2] = from[2];
        }
    }
    return {image.pixels, image.width, image.height, 3, rowBytes};
}

void Convert_WriteOutput(const ConvertJob& job, const PictureView& picture) {
    const auto fail = [&job](const std::string& reason) {
        throw FileError(job.output, "cannot be written: " + reason);
    };
    try {
        ReplacingFile file(job.target, job.temporary);
        Picture_Write(picture, Picture_GetFormat(job.output).value_or(PictureFormat::Png),
                      [&file](std::span<const std::uint8_t> bytes) { file.Write(bytes); });
        file.Commit();
    } catch (const std::length_error& error) {
        fail(error.what());
    } catch (const std::system_error& error) {
        fail(Paths_DescribeError(error.code()));
    }
}

}  // namespace

ConvertOutcome Convert_File(const ConvertJob& job) {
    try {
        TextureFile file = Texture_Open(job.input);
        const ImageHandle image = Texture_Load(file);
        const PictureView picture = job.dropAlpha ? Convert_DropAlpha(*image)
                                                  : PictureView{image->pixels, image->width,
                                                                image->height, 4, image->stride};
        Convert_WriteOutput(job, picture);
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
