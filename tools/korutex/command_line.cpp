#include "command_line.h"

#include <korutex.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <string_view>

#include "convert_plan.h"
#include "host_paths.h"
#include "utf_text.h"

namespace koru_host {
namespace {

constexpr const char* kDescription =
    "korutex opens GPU texture files (ASTC, KTX, PVR) and writes them as ordinary pictures,\n"
    "and pictures as KTX files.";

constexpr const char* kFooter =
    "Examples:\n"
    "  korutex convert rock.astc                     writes rock.png\n"
    "  korutex convert rock.pvr rock.tga             writes rock.tga\n"
    "  korutex convert rock.png rock.ktx             writes a KTX file of the same pixels\n"
    "  korutex convert *.ktx *.ktx2 -o pictures -j 0 writes pictures/*.png, on all CPUs\n"
    "  korutex info rock.ktx2                        shows size, format, and if it loads\n"
    "\n"
    "Exit codes:\n"
    "  0  all is well\n"
    "  1  a file could not be read, decoded or written\n"
    "  2  the command line makes no sense; nothing was written\n"
    "\n"
    "'korutex convert --help' and 'korutex info --help' tell more.";

constexpr const char* kConvertFooter =
    "Inputs are ASTC, KTX, QOZM-wrapped KTX, PVR and PNG files. A file's content says what it is;\n"
    "its name does not matter. The ending of the output says the format:\n"
    "\n"
    "  .png .tga  pictures; .ppm, too, which has no alpha\n"
    "  .ktx       KTX 1.1, one level of RGBA bytes, or of RGB for --rgb and PNGs without alpha\n"
    "  .pvr       the same pixels behind an empty header: for programs that know the layout, "
    "since\n"
    "             no PVR reader opens it\n"
    "  .astc      fails: the library has no ASTC encoder\n"
    "\n"
    "An output is named by -o, or as a second path behind a single input if no file of that name\n"
    "exists; without -o, a file that exists is always an input. Into a folder, every input NAME.*\n"
    "becomes NAME.png, or as --to says; the folder is made if it is missing. An existing file is\n"
    "replaced only when the new one is complete.\n"
    "\n"
    "Examples:\n"
    "  korutex convert rock.astc                 writes rock.png beside it\n"
    "  korutex convert rock.png rock.ktx         writes a new file rock.ktx\n"
    "  korutex convert rock.png -o rock.ktx      the same, and replaces an old one\n"
    "  korutex convert rock.astc -o out/rock.tga writes that file; the folder must exist\n"
    "  korutex convert a.astc b.pvr -o out       writes out/a.png and out/b.png\n"
    "  korutex convert *.png --to ktx -o out     writes out/*.ktx\n"
    "  korutex convert *.ktx2 --rgb -j 0         drops alpha, uses all CPUs";

constexpr const char* kInfoFooter =
    "For a file that does not load, the reason. The exit code is 0 when every file loads.\n"
    "\n"
    "Examples:\n"
    "  korutex info rock.astc grass.ktx\n"
    "  korutex info --json *.ktx | jq '.[] | select(.loads | not) | .file'";

constexpr std::size_t kMaxWorkers = 256;

// CLI11 takes "[a,b]" for a list, but it may be a file. Such arguments get a mark in front.
constexpr char kMark = '\x01';

std::string Argument_Mark(std::string text) {
    if (!text.empty() && (text[0] == '[' || text[0] == kMark)) text.insert(0, 1, kMark);
    return text;
}

std::string_view Argument_Unmark(std::string_view text) {
    if (!text.empty() && text[0] == kMark) text.remove_prefix(1);
    return text;
}

/// The raw texts: converting them would treat "{}" as a list, too.
std::vector<std::filesystem::path> Option_GetPaths(const CLI::Option& option) {
    std::vector<std::filesystem::path> paths;
    for (const std::string& text : option.results()) {
        paths.push_back(Paths_FromText(Argument_Unmark(text)));
    }
    return paths;
}

std::vector<std::filesystem::path> Option_GetInputs(const CLI::Option& option) {
    std::vector<std::filesystem::path> inputs;
    for (const std::filesystem::path& path : Option_GetPaths(option)) {
        std::ranges::move(Paths_ExpandPattern(path), std::back_inserter(inputs));
    }
    return inputs;
}

CLI::Option* Option_AddPaths(CLI::App& command, const std::string& name,
                             const std::string& description, std::vector<std::string>& ignored) {
    CLI::Option* option = command.add_option(name, ignored, description);
    option->required()->type_name("");
    return option;
}

std::string Usage_GetHint(const CLI::App& app) {
    std::string command = "korutex";
    for (const CLI::App* used : app.get_subcommands()) command += ' ' + used->get_name();
    return " (see '" + command + " --help')";
}

}  // namespace

CommandLine CommandLine_Parse(const std::vector<std::string>& arguments) {
    CLI::App app(kDescription, "korutex");
    app.footer(kFooter);
    app.allow_windows_style_options(false);
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.set_version_flag("-V,--version", "korutex " KORU_VERSION_STRING,
                         "Print the version and exit");
    app.require_subcommand(0, 1);

    ConvertOptions convertOptions;
    std::vector<std::string> ignored;
    std::string outputText;
    CLI::App* convert =
        app.add_subcommand("convert", "Write textures as pictures, or pictures as textures");
    convert->footer(kConvertFooter);
    const CLI::Option* inputs =
        Option_AddPaths(*convert, "IN", "The files to convert, one or more", ignored);
    const CLI::Option* output =
        convert->add_option("-o,--output", outputText,
                            "The file or the folder to write; otherwise a PNG beside each input");
    convert->get_option("--output")->type_name("FILE|DIR");
    std::string ending;
    convert
        ->add_option("--to", ending,
                     "The format of outputs that are not named: png (default), ppm, tga, ktx, pvr")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"png", "ppm", "tga", "ktx", "pvr", "astc"}).description(""));
    convert->add_flag("--rgb", convertOptions.dropAlpha, "Leave alpha out");
    convert
        ->add_option("-j,--jobs", convertOptions.workerCount,
                     "Convert with N processes at once; 0: one for each CPU")
        ->type_name("N")
        ->default_str("1")
        ->check(CLI::Range(std::size_t{0}, kMaxWorkers).description(""));

    InfoOptions infoOptions;
    CLI::App* info = app.add_subcommand("info", "Show what texture files hold");
    info->footer(kInfoFooter);
    const CLI::Option* files = Option_AddPaths(*info, "FILE", "The files, one or more", ignored);
    info->add_flag("--json", infoOptions.asJson, "Print a JSON array, one object for each file");

    try {
        // Last argument first, as CLI11 wants them.
        std::vector<std::string> reversed;
        std::transform(arguments.rbegin(), arguments.rend(), std::back_inserter(reversed),
                       Argument_Mark);
        app.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        return PrintOptions{app.help(), kExitSuccess};
    } catch (const CLI::CallForVersion& version) {
        return PrintOptions{version.what() + std::string(1, '\n'), kExitSuccess};
    } catch (const CLI::ParseError& error) {
        std::string message = error.what();
        std::erase(message, kMark);
        throw UsageError(Text_MakePrintable(message) + Usage_GetHint(app));
    }

    if (convert->parsed()) {
        convertOptions.inputs = Option_GetInputs(*inputs);
        ConvertTarget& target = convertOptions.target;
        if (!ending.empty()) target.ending = '.' + ending;
        if (output->count() > 0) {
            target.output = Option_GetPaths(*output).back();
            if (target.output.empty()) throw UsageError("-o: needs a name");
        } else if (target.ending.empty()) {
            target.output = Convert_TakeOutput(convertOptions.inputs);
        }
        return convertOptions;
    }
    if (info->parsed()) {
        infoOptions.files = Option_GetInputs(*files);
        return infoOptions;
    }
    return PrintOptions{app.help(), kExitUsage};
}

}  // namespace koru_host
