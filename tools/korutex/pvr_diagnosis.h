// Tells people why a PVR file does not load, and what is odd about one that does.
#pragma once

#include <string>

#include "pvr_inspection.h"

namespace koru_host {

/// Empty without a refusal.
std::string Pvr_ExplainFailure(const PvrInspection& inspection);

std::string Pvr_DescribeOddity(PvrOddity oddity, const PvrFacts& facts);

}  // namespace koru_host
