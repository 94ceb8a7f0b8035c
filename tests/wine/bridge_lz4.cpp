// Windows-side entry points of the native LZ4. Only the calling convention changes.
#include <lz4.h>

#define BRIDGE extern "C" __attribute__((ms_abi))

BRIDGE int bridge_LZ4_decompress_safe(const char* source, char* target, int sourceBytes,
                                      int targetCapacity) {
    return LZ4_decompress_safe(source, target, sourceBytes, targetCapacity);
}

BRIDGE int bridge_LZ4_compress_default(const char* source, char* target, int sourceBytes,
                                       int targetCapacity) {
    return LZ4_compress_default(source, target, sourceBytes, targetCapacity);
}

BRIDGE int bridge_LZ4_compressBound(int sourceBytes) { return LZ4_compressBound(sourceBytes); }

BRIDGE int bridge_LZ4_versionNumber() { return LZ4_versionNumber(); }
