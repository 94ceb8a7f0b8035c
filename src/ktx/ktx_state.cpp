#include "ktx/ktx_state.h"

namespace koru {

constinit FormatState g_ktxState;
constinit KtxVersion g_ktxVersion = KtxVersion::None;
constinit bool g_ktxCompressed = false;

}  // namespace koru
