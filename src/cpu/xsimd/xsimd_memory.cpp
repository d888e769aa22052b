// KROXSimd: 64-byte-aligned blocks over malloc. The raw block's address is
// kept in the 8 bytes just below the aligned pointer, so free() needs no
// table and accepts any pointer malloc() returned.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "KROColorFunctions.h"

namespace KROCOLOR {

namespace {
constexpr uint64_t kAlignment = 64;
// Room for the alignment slack (at most 63 bytes) plus the stored address.
constexpr uint64_t kOverhead = kAlignment + sizeof(void*);
}  // namespace

void* KROXSimd::malloc(uint64_t size) {
    if (size > UINT64_MAX - kOverhead || size + kOverhead > SIZE_MAX) return nullptr;
    void* raw = std::malloc(static_cast<size_t>(size + kOverhead));
    if (!raw) return nullptr;
    // (raw + 71) rounded down to 64 leaves at least 8 bytes below for the
    // stored address and at least `size` bytes above.
    const uintptr_t aligned = (reinterpret_cast<uintptr_t>(raw) + kOverhead - 1) & ~uintptr_t{kAlignment - 1};
    std::memcpy(reinterpret_cast<void*>(aligned - sizeof(void*)), &raw, sizeof(void*));
    return reinterpret_cast<void*>(aligned);
}

void KROXSimd::free(void* ptr) {
    if (!ptr) return;
    void* raw = nullptr;
    std::memcpy(&raw, static_cast<uint8_t*>(ptr) - sizeof(void*), sizeof(void*));
    std::free(raw);
}

// A zero alignment is a caller error; it answers false rather than dividing by zero.
bool KROXSimd::isAligned(const void* ptr, uint64_t alignment) {
    return alignment != 0 && reinterpret_cast<uintptr_t>(ptr) % alignment == 0;
}

}  // namespace KROCOLOR
