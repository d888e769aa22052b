// One stage of a CPU conversion spread over n slots (10 in the library):
// work is assigned statically and interleaved (slot i takes items i, i + n,
// ...), and the stage is over only when every slot has finished.
//
// The threads are not made per stage. Slot 0 and any slot that found no
// thread run on the calling thread inside join(); slots 1 .. n-1 are handed
// to parked workers of one process-wide set, which grows on demand (a worker
// is started only when none is parked) and never shrinks. Every stage takes
// its own workers, so stages on several threads at once, and a job that
// itself runs a stage, never wait for each other's slots. Each worker runs
// one slot at a time and parks again on its own condition variable.
//
// Workers are detached and deliberately never destroyed: nothing joins them
// at process exit, so exit cannot hang on them, and no static destructor
// touches the set while a worker may still use it.
//
// Thread creation failure: the slots that found no worker run on the calling
// thread in join(), so a stage completes with the same result and no
// exception. Only the per-slot copies of the job may throw (std::bad_alloc,
// before any slot runs); the convertors report that as kKRORunCPUKernelError.
//
// Thread safety: a CPUTask is driven by one thread. Only the failure flag
// and the count of slots still running are written by the workers; join()
// is the happens-before edge between their writes and the caller.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

namespace KROCOLOR {

constexpr int kDefaultThreadCount = 10;

class CPUTask {
public:
    // A count below 1 is raised to 1.
    explicit CPUTask(int threadCount = kDefaultThreadCount);
    // Finishes a stage still running, exactly as join() does.
    virtual ~CPUTask();
    CPUTask(const CPUTask&) = delete;
    CPUTask& operator=(const CPUTask&) = delete;

    // Slot i visits linear indices k = i, i + n, ... < width * height with
    // x = k % width, y = k / width. Every slot holds its own copy of `job`.
    void runPixels(int width, int height, const std::function<void(int x, int y)>& job);
    // Slot i calls job(index) for index = i, i + n, ... < count.
    void runIndices(int count, const std::function<void(int index)>& job);
    // Slot i calls job(i, n) once; a false result sets bit 0 of the failure flag.
    void runSlices(const std::function<bool(int slot, int slotCount)>& job);

    // Runs the calling thread's slots, then waits until every slot is done.
    // An exception from a job on the calling thread is rethrown after the
    // other slots have finished.
    void join();
    int32_t hasFailed() const { return failed_.load(std::memory_order_acquire); }
    int threadCount() const { return count_; }

private:
    friend class ParkedWorker;

    // Copies `loop` into every slot and hands slots 1 .. n-1 to workers.
    // A stage still running from an earlier run is joined first.
    void start(const std::function<void(int slot)>& loop);
    // Called by a worker once its slot is done; the last one wakes join().
    void finishSlot();

    std::atomic<int32_t> failed_{0};
    int count_;
    std::unique_ptr<std::function<void(int)>[]> slots_;
    bool running_ = false;
    int callerFrom_ = 0;  // slots from here on found no worker

    std::mutex mutex_;
    std::condition_variable allDone_;
    int pending_ = 0;  // slots handed to workers and not yet finished
};

}  // namespace KROCOLOR
