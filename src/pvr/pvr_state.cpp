#include "pvr/pvr_state.h"

namespace koru {

constinit FormatState g_pvrState;
constinit bool LegacyCompressedFlag = false;

}  // namespace koru
