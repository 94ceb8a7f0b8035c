#include "worker_messages.h"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "host_paths.h"

namespace koru_host {
namespace {

// A few paths, the longest of which the systems accept have 32768 units.
constexpr std::uint32_t kMaxMessageBytes = 1u << 20;

void Message_AppendNumber(Message& message, std::uint32_t number) {
    for (int shift = 0; shift < 32; shift += 8) {
        message.push_back(static_cast<std::uint8_t>(number >> shift & 0xFF));
    }
}

void Message_AppendText(Message& message, std::string_view text) {
    Message_AppendNumber(message, static_cast<std::uint32_t>(text.size()));
    message.insert(message.end(), text.begin(), text.end());
}

/// Takes fields off the front; after a missing one, all fields are empty and IsComplete is false.
class MessageReader {
  public:
    explicit MessageReader(std::span<const std::uint8_t> message) : rest_(message) {}

    std::uint32_t TakeNumber() {
        std::uint32_t number = 0;
        const auto bytes = Take(4);
        for (std::size_t i = 0; i < bytes.size(); ++i) number |= std::uint32_t{bytes[i]} << 8 * i;
        return number;
    }
    std::string TakeText() {
        const auto bytes = Take(TakeNumber());
        return {bytes.begin(), bytes.end()};
    }
    std::filesystem::path TakePath() { return Paths_FromText(TakeText()); }

    bool HasMore() const { return isComplete_ && !rest_.empty(); }
    bool IsComplete() const { return isComplete_ && rest_.empty(); }

  private:
    std::span<const std::uint8_t> Take(std::size_t byteCount) {
        if (!isComplete_ || byteCount > rest_.size()) {
            isComplete_ = false;
            return {};
        }
        const auto bytes = rest_.first(byteCount);
        rest_ = rest_.subspan(byteCount);
        return bytes;
    }

    std::span<const std::uint8_t> rest_;
    bool isComplete_ = true;
};

}  // namespace

Message Message_FromJob(const ConvertJob& job) {
    Message message;
    Message_AppendText(message, Paths_ToText(job.input));
    Message_AppendText(message, Paths_ToText(job.output));
    Message_AppendText(message, Paths_ToText(job.target));
    Message_AppendText(message, Paths_ToText(job.temporary));
    Message_AppendNumber(message, job.dropAlpha ? 1 : 0);
    return message;
}

std::optional<ConvertJob> Message_ToJob(std::span<const std::uint8_t> message) {
    MessageReader reader(message);
    ConvertJob job;
    job.input = reader.TakePath();
    job.output = reader.TakePath();
    job.target = reader.TakePath();
    job.temporary = reader.TakePath();
    job.dropAlpha = reader.TakeNumber() != 0;
    if (!reader.IsComplete()) return std::nullopt;
    return job;
}

Message Message_FromOutcome(const ConvertOutcome& outcome) {
    Message message;
    Message_AppendNumber(message, outcome.isConverted ? 1 : 0);
    Message_AppendNumber(message, outcome.width);
    Message_AppendNumber(message, outcome.height);
    Message_AppendText(message, Paths_ToText(outcome.failedFile));
    Message_AppendText(message, outcome.reason);
    for (const std::string& warning : outcome.warnings) Message_AppendText(message, warning);
    return message;
}

std::optional<ConvertOutcome> Message_ToOutcome(std::span<const std::uint8_t> message) {
    MessageReader reader(message);
    ConvertOutcome outcome;
    outcome.isConverted = reader.TakeNumber() != 0;
    outcome.width = reader.TakeNumber();
    outcome.height = reader.TakeNumber();
    outcome.failedFile = reader.TakePath();
    outcome.reason = reader.TakeText();
    while (reader.HasMore()) outcome.warnings.push_back(reader.TakeText());
    if (!reader.IsComplete()) return std::nullopt;
    return outcome;
}

bool Message_Send(const Message& message, const PipeWriter& write) {
    if (message.size() > kMaxMessageBytes) return false;
    Message frame;
    frame.reserve(message.size() + 4);
    Message_AppendNumber(frame, static_cast<std::uint32_t>(message.size()));
    frame.insert(frame.end(), message.begin(), message.end());
    return write(frame);
}

std::optional<Message> Message_Receive(const PipeReader& read) {
    std::array<std::uint8_t, 4> length{};
    if (!read(length)) return std::nullopt;
    const std::uint32_t byteCount = MessageReader(length).TakeNumber();
    if (byteCount > kMaxMessageBytes) return std::nullopt;
    Message message(byteCount);
    if (!read(message)) return std::nullopt;
    return message;
}

}  // namespace koru_host
