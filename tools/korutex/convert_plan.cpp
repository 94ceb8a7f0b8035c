#include "convert_plan.h"

#include <map>
#include <string>
#include <system_error>

#include "host_paths.h"
#include "picture_writer.h"

namespace koru_host {
namespace {

namespace fs = std::filesystem;

/// Says whether `-o` names a folder, existing or to be made; otherwise it names a picture.
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
    if (Picture_GetFormat(output)) {
        if (inputCount == 1) return false;
        throw UsageError("-o " + Paths_ToPrintable(output) +
                         ": names one picture, but there is more than one input");
    }
    // A name that begins with its only dot has no ending, so that ".png" would pass for a folder.
    if (Picture_GetFormat(fs::path("picture") += output.filename())) {
        throw UsageError("-o " + Paths_ToPrintable(output) + ": lacks a name before the ending");
    }
    if (!output.has_extension() || inputCount > 1) return true;
    throw UsageError("-o " + Paths_ToPrintable(output) +
                     ": must end in .png, .ppm or .tga, or in / for a folder");
}

std::string Plan_Quote(const fs::path& path) { return '\'' + Paths_ToPrintable(path) + '\''; }

void Plan_CheckOutputs(const std::vector<ConvertJob>& jobs) {
    std::map<fs::path, const ConvertJob*, PathOrder> inputs;
    for (const ConvertJob& job : jobs) inputs.emplace(Paths_GetIdentity(job.input), &job);

    std::map<fs::path, const ConvertJob*, PathOrder> outputs;
    for (const ConvertJob& job : jobs) {
        const fs::path identity = Paths_GetIdentity(job.target);
        if (const auto input = inputs.find(identity); input != inputs.end()) {
            throw UsageError(Plan_Quote(job.output) + " would overwrite the input " +
                             Plan_Quote(input->second->input));
        }
        if (const auto [other, isNew] = outputs.emplace(identity, &job); !isNew) {
            throw UsageError(Plan_Quote(other->second->input) + " and " + Plan_Quote(job.input) +
                             " would both be written to " + Plan_Quote(job.output));
        }
    }
}

}  // namespace

ConvertPlan Convert_MakePlan(const std::vector<fs::path>& inputs, const fs::path& output,
                             bool dropAlpha) {
    ConvertPlan plan;
    if (!output.empty() && Plan_IsFolder(output, inputs.size())) plan.folder = output;

    for (const fs::path& input : inputs) {
        ConvertJob job;
        job.input = input;
        job.dropAlpha = dropAlpha;
        if (plan.folder) {
            job.output = *plan.folder / input.filename().replace_extension(".png");
        } else if (!output.empty()) {
            job.output = output;
        } else {
            job.output = fs::path(input).replace_extension(".png");
        }
        job.target = Paths_FollowLink(job.output);
        job.temporary = Paths_MakeTemporaryBeside(job.target);
        plan.jobs.push_back(std::move(job));
    }
    Plan_CheckOutputs(plan.jobs);
    return plan;
}

}  // namespace koru_host
