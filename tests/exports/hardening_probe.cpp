// Code that every protection changes; check_hardening.cmake looks for the traces in its object.
#include <cstddef>
#include <cstring>

void Probe_Use(char* bytes);
void Probe_Copy(const char* source, std::size_t bytes);
void Probe_FillLargeFrame();

// A buffer to guard, and a copy whose size is known at run time only.
void Probe_Copy(const char* source, std::size_t bytes) {
    char buffer[16];
    std::memcpy(buffer, source, bytes);
    Probe_Use(buffer);
}

// Several pages: without probes, a frame could reach past a guard page.
void Probe_FillLargeFrame() {
    char buffer[5 * 4096];
    Probe_Use(buffer);
}
