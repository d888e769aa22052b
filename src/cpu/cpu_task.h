// A stage's worth of operating-system threads: one thread per slot, work
// assigned statically and interleaved (slot i takes items i, i + n, ...),
// joined before the stage ends. Not a persistent pool: a convertor builds one
// per stage on its stack, calls one run operation, then join.
//
// Thread creation failure: a run operation that cannot start a thread throws
// std::system_error (as std::thread does). The slots started before the
// failure keep their threads, which finish their share of the work and are
// joined by join() or the destructor. Callers inside the library catch the
// exception and report kKRORunCPUKernelError; no exception leaves the
// library.
//
// Thread safety: a pool is driven by one thread. Only the failure flag is
// written by the workers (an atomic or); read it after join().
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
    // A count below 1 is raised to 1.
    explicit CPUTask(int threadCount = kDefaultThreadCount);
    // Joins every thread still held, exactly as join() does.
    virtual ~CPUTask();
    CPUTask(const CPUTask&) = delete;
    CPUTask& operator=(const CPUTask&) = delete;

    // Thread i visits linear indices k = i, i + n, ... < width * height with
    // x = k % width, y = k / width. Returns once every thread has started;
    // each thread holds its own copy of `job`.
    void runPixels(int width, int height, const std::function<void(int x, int y)>& job);
    // Thread i calls job(index) for index = i, i + n, ... < count.
    void runIndices(int count, const std::function<void(int index)>& job);
    // Thread i calls job(i, n) once; a false result sets bit 0 of the failure flag.
    void runSlices(const std::function<bool(int slot, int slotCount)>& job);

    // Waits for every started thread, in slot order, and empties the slots.
    // Joining a pool from one of its own workers throws std::system_error
    // (resource deadlock would occur).
    void join();
    int32_t hasFailed() const { return failed_.load(std::memory_order_acquire); }
    int threadCount() const { return count_; }

private:
    // Starts one thread per slot running loop(slot). Any threads still held
    // from an earlier run are joined first.
    template <typename Loop>
    void start(const Loop& loop);

    std::atomic<int32_t> failed_{0};
    int count_;
    std::unique_ptr<std::thread[]> threads_;
};

}  // namespace KROCOLOR
