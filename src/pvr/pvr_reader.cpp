#include "pvr/pvr_reader.h"

namespace koru {

constinit FormatState g_pvrState;

int PvrDecodeSource(SourceBuffer& /*source*/, const KORU_Char* /*name*/) { return 0; }

}  // namespace koru
