// What a worker process and its parent tell each other: frames of a length and its bytes, so that
// no byte of a file name can be mistaken for the end of a message.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "convert_file.h"

namespace koru_host {

using Message = std::vector<std::uint8_t>;

Message Message_FromJob(const ConvertJob& job);
Message Message_FromOutcome(const ConvertOutcome& outcome);

/// Nothing when the message is not what it should be.
std::optional<ConvertJob> Message_ToJob(std::span<const std::uint8_t> message);
std::optional<ConvertOutcome> Message_ToOutcome(std::span<const std::uint8_t> message);

/// Fills all of the span, or fails.
using PipeReader = std::function<bool(std::span<std::uint8_t>)>;
/// Writes all of the span, or fails.
using PipeWriter = std::function<bool(std::span<const std::uint8_t>)>;

bool Message_Send(const Message& message, const PipeWriter& write);
/// Nothing at the end of the pipe, and for a message that is longer than any true one.
std::optional<Message> Message_Receive(const PipeReader& read);

}  // namespace koru_host
