// Packs a picture, or the blocks of an .astc file, into a KTX file: textures for samples and tests.

#include <CLI/CLI.hpp>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>

#include "host_paths.h"
#include "pack_astc.h"
#include "pack_formats.h"
#include "pack_ktx11.h"
#include "pack_ktx20.h"
#include "pack_texture.h"
#include "replacing_file.h"

namespace koru_ktxpack {
namespace {

constexpr std::uint32_t kMaxLayers = 2048;

struct Options {
    std::string input;
    std::string output;
    std::string format;
    std::string orientation = "rd";
    TextureShape shape;
};

/// A combination of arguments that makes no sense.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

Bytes File_Read(const std::string& path) {
    try {
        std::ifstream stream;
        stream.exceptions(std::ios::failbit | std::ios::badbit);
        stream.open(koru_host::Paths_FromText(path), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    } catch (const std::ios_base::failure&) {
        throw std::runtime_error("cannot be read");
    }
}

void File_Write(const std::string& path, const Bytes& bytes) {
    const auto target = koru_host::Paths_FollowLink(koru_host::Paths_FromText(path));
    try {
        koru_host::ReplacingFile file(target, koru_host::Paths_MakeTemporaryBeside(target));
        file.Write(bytes);
        file.Commit();
    } catch (const std::system_error& error) {
        throw std::runtime_error(
            path + ": cannot be written: " + koru_host::Paths_DescribeError(error.code()));
    }
}

PackedTexture Texture_Make(const Options& options, bool isKtx20) {
    const Bytes file = File_Read(options.input);
    if (Astc_IsFile(file)) {
        const bool isPlain = options.shape.faceCount == 1 && options.shape.layerCount == 0;
        if (!options.format.empty() || options.shape.hasMipmaps || !isPlain) {
            throw UsageError("is packed as it is; --orientation is the only option");
        }
        return Astc_ReadFile(file);
    }
    const PackFormat* format = Formats_Find(options.format);
    if (format == nullptr) throw UsageError("is a picture and needs --format");
    const Picture picture = Picture_DecodePng(file);
    if (options.shape.faceCount > 1 && picture.width != picture.height) {
        throw std::runtime_error("is not square, as the faces of a cube are");
    }
    return Texture_Pack(picture, *format, options.shape,
                        isKtx20 ? kKtx20RowAlignment : kKtx11RowAlignment);
}

void Texture_PackFile(const Options& options) {
    const std::filesystem::path ending = std::filesystem::path(options.output).extension();
    const bool isKtx20 = ending == ".ktx2";
    if (!isKtx20 && ending != ".ktx") {
        throw UsageError(options.output + ": does not end in .ktx or .ktx2");
    }
    const PackFormat* format = Formats_Find(options.format);
    if (isKtx20 && format != nullptr && format->vk.format == 0) {
        throw UsageError(options.output + ": KTX 2.0 has no format " + options.format);
    }
    PackedTexture texture;
    try {
        texture = Texture_Make(options, isKtx20);
    } catch (const UsageError& error) {
        throw UsageError(options.input + ": " + error.what());
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(options.input + ": " + error.what());
    }
    texture.runsRight = options.orientation[0] == 'r';
    texture.runsDown = options.orientation[1] == 'd';
    File_Write(options.output, isKtx20 ? Ktx20_MakeFile(texture) : Ktx11_MakeFile(texture));
}

std::string Formats_List() {
    std::string list;
    for (const PackFormat& format : Formats_GetAll()) {
        list += list.empty() ? "" : ", ";
        list += format.name;
    }
    return list;
}

int Pack_Run(int argumentCount, char** arguments) {
    CLI::App app("Packs a PNG picture, or the blocks of an .astc file, into a KTX file.",
                 "ktxpack");
    Options options;
    app.add_option("INPUT", options.input, "The picture or the .astc file")
        ->required()
        ->type_name("");
    app.add_option("OUT", options.output, "The file to write: .ktx is KTX 1.1, .ktx2 is KTX 2.0")
        ->required()
        ->type_name("");
    app.add_option("--format", options.format, "Of a picture; one of those below")
        ->type_name("NAME")
        ->check([](const std::string& name) {
            return Formats_Find(name) == nullptr ? name + " is not one of " + Formats_List()
                                                 : std::string();
        });
    app.add_flag("--mipmaps", options.shape.hasMipmaps, "All levels down to one pixel");
    auto* faces = app.add_option("--faces", options.shape.faceCount, "A cube map")
                      ->type_name("6")
                      ->check(CLI::IsMember({6}));
    app.add_option("--layers", options.shape.layerCount, "An array of N layers")
        ->type_name("N")
        ->check(CLI::Range(1u, kMaxLayers))
        ->excludes(faces);
    app.add_option("--orientation", options.orientation,
                   "Which way the metadata say that rows and columns run: rd, ru, ld or lu; the "
                   "pixels stay as they are")
        ->type_name("TEXT")
        ->default_str("rd")
        ->check(CLI::IsMember({"rd", "ru", "ld", "lu"}));
    app.footer("Formats: " + Formats_List() +
               "\nExamples:\n  ktxpack card.png card.ktx2 --format bc3 --mipmaps\n"
               "  ktxpack card.astc card.ktx2");
    try {
        app.parse(argumentCount, arguments);
        Texture_PackFile(options);
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
    } catch (const CLI::ParseError& error) {
        std::cerr << "ktxpack: " << error.what() << " (see 'ktxpack --help')\n";
        return 2;
    } catch (const UsageError& error) {
        std::cerr << "ktxpack: " << error.what() << '\n';
        return 2;
    }
    return 0;
}

}  // namespace
}  // namespace koru_ktxpack

int main(int argumentCount, char** arguments) {
    try {
        return koru_ktxpack::Pack_Run(argumentCount, arguments);
    } catch (const std::exception& error) {
        std::cerr << "ktxpack: " << error.what() << '\n';
        return 1;
    }
}
