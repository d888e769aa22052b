// Buffers for the fuzzers whose last byte sits right before an inaccessible
// page, so a read or write one byte past the end faults at once, even from
// code the sanitizers do not instrument (libswscale). The bytes in front of
// the buffer, up to the page boundary, are poisoned for AddressSanitizer,
// which catches instrumented code walking backwards (negative strides).
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include <sanitizer/asan_interface.h>

namespace kro_fuzz {

class GuardedBuffer {
public:
    GuardedBuffer() = default;
    explicit GuardedBuffer(size_t size) { allocate(size); }
    ~GuardedBuffer() { release(); }
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    // Replaces the buffer by one of `size` bytes (0 allowed: data() then
    // points at the guard page itself). Layout: guard, data pages, guard.
    void allocate(size_t size) {
        release();
        const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE)), dataPages = (size + page - 1) / page;
        mapped_ = (dataPages + 2) * page;
        void* map = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (map == MAP_FAILED) std::abort();
        mapping_ = static_cast<uint8_t*>(map);
        uint8_t* tail = mapping_ + (dataPages + 1) * page;
        if (mprotect(mapping_, page, PROT_NONE) != 0 || mprotect(tail, page, PROT_NONE) != 0) std::abort();
        head_ = mapping_ + page;
        data_ = tail - size;
        size_ = size;
        ASAN_POISON_MEMORY_REGION(head_, static_cast<size_t>(data_ - head_));
    }

    uint8_t* data() const { return data_; }
    size_t size() const { return size_; }

private:
    void release() {
        if (!mapping_) return;
        // The shadow must be clean before the pages can be mapped again.
        ASAN_UNPOISON_MEMORY_REGION(head_, static_cast<size_t>(data_ - head_));
        munmap(mapping_, mapped_);
        mapping_ = head_ = data_ = nullptr;
        size_ = mapped_ = 0;
    }

    uint8_t *mapping_ = nullptr, *head_ = nullptr, *data_ = nullptr;
    size_t size_ = 0, mapped_ = 0;
};

}  // namespace kro_fuzz
