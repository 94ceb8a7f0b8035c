// Reports conversions in the order of the inputs, whatever order they finish in.
#pragma once

#include <cstddef>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "convert_file.h"

namespace koru_host {

class ConvertReport {
  public:
    /// Borrows `jobs`.
    explicit ConvertReport(std::span<const ConvertJob> jobs);

    /// May be called from several threads; prints all lines whose turn has come.
    void Add(std::size_t jobIndex, ConvertOutcome outcome);

    /// Ends the progress line and prints the summary. True when all was converted.
    bool Finish();

  private:
    void ShowProgress();
    void ClearProgress();
    void Print(const ConvertJob& job, const ConvertOutcome& outcome);

    std::mutex mutex_;
    std::span<const ConvertJob> jobs_;
    std::vector<std::optional<ConvertOutcome>> outcomes_;  ///< finished, not yet printed
    std::size_t printedCount_ = 0;
    std::size_t doneCount_ = 0;
    std::size_t failedCount_ = 0;
    std::size_t progressWidth_ = 0;  ///< characters on the screen
    bool hasProgress_;
};

}  // namespace koru_host
