#include "convert_report.h"

#include <string>
#include <utility>

#include "host_console.h"
#include "host_paths.h"
#include "texture_writer.h"

namespace koru_host {

ConvertReport::ConvertReport(std::span<const ConvertJob> jobs)
    : jobs_(jobs),
      outcomes_(jobs.size()),
      hasProgress_(jobs.size() > 1 && Console_IsErrorTerminal()) {
    ShowProgress();
}

void ConvertReport::ShowProgress() {
    if (!hasProgress_) return;
    const std::string line = "converting: " + std::to_string(doneCount_) + " of " +
                             std::to_string(jobs_.size()) + " done";
    Console_PrintError('\r' + line);
    progressWidth_ = line.size();
}

void ConvertReport::ClearProgress() {
    if (progressWidth_ == 0) return;
    // Blanks instead of a control sequence: they work on every terminal.
    Console_PrintError('\r' + std::string(progressWidth_, ' ') + '\r');
    progressWidth_ = 0;
}

void ConvertReport::Print(const ConvertJob& job, const ConvertOutcome& outcome) {
    if (!outcome.isConverted) {
        ++failedCount_;
        Console_ReportFile(outcome.failedFile, outcome.reason);
        return;
    }
    for (const std::string& warning : outcome.warnings) Console_WarnOfFile(job.input, warning);
    const auto texture = Texture_GetFormat(job.output);
    const char* writerWarning = texture ? Texture_GetWriterWarning(*texture) : nullptr;
    if (writerWarning != nullptr) Console_WarnOfFile(job.output, writerWarning);
    Console_Print(Paths_ToPrintable(job.input) + " -> " + Paths_ToPrintable(job.output) + " (" +
                  std::to_string(outcome.width) + 'x' + std::to_string(outcome.height) + ")\n");
}

void ConvertReport::Add(std::size_t jobIndex, ConvertOutcome outcome) {
    const std::lock_guard lock(mutex_);
    ++doneCount_;
    outcomes_[jobIndex] = std::move(outcome);
    if (jobIndex == printedCount_) ClearProgress();
    while (printedCount_ < jobs_.size() && outcomes_[printedCount_]) {
        Print(jobs_[printedCount_], *outcomes_[printedCount_]);
        outcomes_[printedCount_].reset();
        ++printedCount_;
    }
    ShowProgress();
}

bool ConvertReport::Finish() {
    const std::lock_guard lock(mutex_);
    ClearProgress();
    if (jobs_.size() > 1) {
        Console_Print(std::to_string(jobs_.size() - failedCount_) + " converted, " +
                      std::to_string(failedCount_) + " failed\n");
    }
    return failedCount_ == 0;
}

}  // namespace koru_host
