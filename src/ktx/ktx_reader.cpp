#include "ktx/ktx_reader.h"

namespace koru {

constinit FormatState g_ktxState;

int Ktx_ReadContainer(SourceBuffer& /*source*/, const KORU_Char* /*name*/) { return 0; }

}  // namespace koru
