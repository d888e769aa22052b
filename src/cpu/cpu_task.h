// A stage's worth of operating-system threads: one thread per slot, work
// assigned statically and interleaved (slot i takes items i, i + n, ...),
// joined before the stage ends. Not a persistent pool: a convertor builds one
// per stage on its stack.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>

namespace KROCOLOR {

constexpr int kDefaultThreadCount = 10;

class CPUTask {
public:
    explicit CPUTask(int threadCount = kDefaultThreadCount);
    virtual ~CPUTask();
    CPUTask(const CPUTask&) = delete;
    CPUTask& operator=(const CPUTask&) = delete;

    // Thread i visits linear indices k = i, i + n, ... < width * height with
    // x = k % width, y = k / width. Returns once every thread has started.
    void runPixels(int width, int height, const std::function<void(int x, int y)>& job);
    // Thread i calls job(index) for index = i, i + n, ... < count.
    void runIndices(int count, const std::function<void(int index)>& job);
    // Thread i calls job(i, n) once; a false result sets bit 0 of the failure flag.
    void runSlices(const std::function<bool(int slot, int slotCount)>& job);

    // Waits for every started thread, in slot order, and empties the slots.
    void join();
    int32_t hasFailed() const { return failed_.load(std::memory_order_acquire); }
    int threadCount() const { return count_; }

private:
    template <typename Loop>
    void start(Loop loop);

    std::atomic<int32_t> failed_{0};
    int count_;
    std::unique_ptr<std::thread[]> threads_;
};

}  // namespace KROCOLOR
