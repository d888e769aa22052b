// A block of exactly `size` caller bytes, on the heap or against an
// inaccessible page. AddressSanitizer sees only the code it instruments; a
// read or write that libswscale (or any other uninstrumented library) makes
// past a plane's end or before its start hits the PROT_NONE page and stops
// the test with SIGSEGV right there. In front of a block that ends at its
// guard, the bytes up to the page boundary are poisoned for AddressSanitizer,
// which catches instrumented code walking backwards (negative strides).
#pragma once

#include <sanitizer/asan_interface.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace KROCOLOR {
namespace test {

enum class Placement {
    Heap,             // malloc of exactly `size` bytes (AddressSanitizer's redzones)
    EndAtGuard,       // the last byte is followed by an unmapped page
    StartAfterGuard,  // the first byte follows an unmapped page
};

class GuardedBlock {
public:
    GuardedBlock() = default;
    explicit GuardedBlock(size_t size, Placement placement = Placement::EndAtGuard) { allocate(size, placement); }
    ~GuardedBlock() { release(); }
    GuardedBlock(const GuardedBlock&) = delete;
    GuardedBlock& operator=(const GuardedBlock&) = delete;

    // Replaces the block by a zeroed one of `size` bytes (0 allowed: data()
    // then points at a guard page or a one-byte allocation).
    void allocate(size_t size, Placement placement = Placement::EndAtGuard) {
        release();
        size_ = size;
        if (placement == Placement::Heap) {
            data_ = static_cast<uint8_t*>(std::malloc(size ? size : 1));
            if (!data_) throw std::bad_alloc();
        } else {
            // One guard page on each side; the block touches the one the
            // placement names and stays inside the pages between them.
            const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
            const size_t inner = (size ? (size + page - 1) / page : 1) * page;
            mappedBytes_ = inner + 2 * page;
            void* base = mmap(nullptr, mappedBytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
            if (base == MAP_FAILED) throw std::bad_alloc();
            mapping_ = static_cast<uint8_t*>(base);
            if (mprotect(mapping_, page, PROT_NONE) != 0 || mprotect(mapping_ + page + inner, page, PROT_NONE) != 0)
                throw std::runtime_error("mprotect failed");
            data_ = placement == Placement::EndAtGuard ? mapping_ + page + inner - size : mapping_ + page;
            poisoned_ = static_cast<size_t>(data_ - (mapping_ + page));
            ASAN_POISON_MEMORY_REGION(mapping_ + page, poisoned_);
        }
        std::memset(data_, 0, size);
    }

    uint8_t* data() const { return data_; }
    size_t size() const { return size_; }

private:
    void release() {
        if (mapping_) {
            // The shadow must be clean before the pages can be mapped again.
            ASAN_UNPOISON_MEMORY_REGION(data_ - poisoned_, poisoned_);
            munmap(mapping_, mappedBytes_);
        } else {
            std::free(data_);
        }
        data_ = mapping_ = nullptr;
        size_ = mappedBytes_ = poisoned_ = 0;
    }

    size_t size_ = 0;
    uint8_t* data_ = nullptr;
    uint8_t* mapping_ = nullptr;
    size_t mappedBytes_ = 0, poisoned_ = 0;
};

}  // namespace test
}  // namespace KROCOLOR
