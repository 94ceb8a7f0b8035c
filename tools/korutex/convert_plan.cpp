#include "convert_plan.h"

#include <map>
#include <string>
#include <system_error>

#include "host_paths.h"
#include "picture_writer.h"
#include "texture_writer.h"

namespace koru_host {
namespace {

namespace fs = std::filesystem;

/// Whether the ending says a format.
bool Plan_IsWritable(const fs::path& name) {
    return Picture_GetFormat(name).has_value() || Texture_GetFormat(name).has_value();
}

/// Says whether `-o` names a folder, existing or to be made; otherwise it names a file.
bool Plan_IsFolder(const fs::path& output, std::size_t inputCount) {
    // Elsewhere "-" means standard output; a folder of that name would only surprise.
    if (output == "-") {
        throw UsageError("-o -: cannot write to standard output; name a file or a folder");
    }
    std::error_code error;
    const bool isCalledFolder = !output.has_filename();
    const fs::file_status status =
        fs::status(isCalledFolder ? output.parent_path() : output, error);
    if (fs::is_directory(status)) return true;
    if (fs::exists(status) && (isCalledFolder || inputCount > 1)) {
        throw UsageError("-o " + Paths_ToPrintable(output) + ": is not a folder" +
                         (inputCount > 1 ? ", and there is more than one input" : ""));
    }
    if (isCalledFolder) return true;
    if (Plan_IsWritable(output)) {
        if (inputCount == 1) return false;
        throw UsageError("-o " + Paths_ToPrintable(output) +
                         ": names one file, but there is more than one input");
    }
    // A name that begins with its only dot has no ending, so that ".png" would pass for a folder.
    if (Plan_IsWritable(fs::path("name") += output.filename())) {
        throw UsageError("-o " + Paths_ToPrintable(output) + ": lacks a name before the ending");
    }
    if (!output.has_extension() || inputCount > 1) return true;
    throw UsageError("-o " + Paths_ToPrintable(output) +
                     ": must end in .png, .ppm, .tga, .ktx or .pvr, or in / for a folder");
}

std::string Plan_Quote(const fs::path& path) { return '\'' + Paths_ToPrintable(path) + '\''; }

/// For two paths of which the second may have been meant as the output.
std::string Plan_GetHint(const std::vector<ConvertJob>& jobs, bool isOutputNamed) {
    if (isOutputNamed || jobs.size() != 2 || !Plan_IsWritable(jobs.back().input)) return {};
    return "; if " + Plan_Quote(jobs.back().input) + " is the output, put -o in front of it";
}

void Plan_CheckOutputs(const std::vector<ConvertJob>& jobs, bool isOutputNamed) {
    std::map<fs::path, const ConvertJob*, PathOrder> inputs;
    for (const ConvertJob& job : jobs) inputs.emplace(Paths_GetIdentity(job.input), &job);

    std::map<fs::path, const ConvertJob*, PathOrder> outputs;
    for (const ConvertJob& job : jobs) {
        const fs::path identity = Paths_GetIdentity(job.target);
        if (const auto input = inputs.find(identity); input != inputs.end()) {
            throw UsageError(Plan_Quote(job.output) + " would overwrite the input " +
                             Plan_Quote(input->second->input) + Plan_GetHint(jobs, isOutputNamed));
        }
        if (const auto [other, isNew] = outputs.emplace(identity, &job); !isNew) {
            throw UsageError(Plan_Quote(other->second->input) + " and " + Plan_Quote(job.input) +
                             " would both be written to " + Plan_Quote(job.output));
        }
    }
}

}  // namespace

fs::path Convert_TakeOutput(std::vector<fs::path>& inputs) {
    if (inputs.size() != 2 || !Plan_IsWritable(inputs.back())) return {};
    std::error_code error;
    const fs::file_status status = fs::status(inputs.back(), error);
    // What cannot be looked at may be there. A pattern without a match is no name for a new file.
    if (status.type() != fs::file_type::not_found) return {};
    if (Paths_ToText(inputs.back()).find_first_of("*?") != std::string::npos) return {};
    fs::path output = std::move(inputs.back());
    inputs.pop_back();
    return output;
}

ConvertPlan Convert_MakePlan(const std::vector<fs::path>& inputs, const ConvertTarget& target,
                             bool dropAlpha) {
    ConvertPlan plan;
    const fs::path& output = target.output;
    if (!output.empty() && Plan_IsFolder(output, inputs.size())) plan.folder = output;
    const bool isFile = !output.empty() && !plan.folder;
    if (isFile && !target.ending.empty() && Paths_GetEnding(output) != target.ending) {
        throw UsageError("-o " + Paths_ToPrintable(output) + ": does not end in " + target.ending +
                         ", which --to asks for");
    }
    const std::string ending = target.ending.empty() ? ".png" : target.ending;

    for (const fs::path& input : inputs) {
        ConvertJob job;
        job.input = input;
        job.dropAlpha = dropAlpha;
        if (plan.folder) {
            job.output = *plan.folder / input.filename().replace_extension(ending);
        } else if (isFile) {
            job.output = output;
        } else {
            job.output = fs::path(input).replace_extension(ending);
        }
        job.target = Paths_FollowLink(job.output);
        job.temporary = Paths_MakeTemporaryBeside(job.target);
        plan.jobs.push_back(std::move(job));
    }
    Plan_CheckOutputs(plan.jobs, !output.empty());
    return plan;
}

}  // namespace koru_host
