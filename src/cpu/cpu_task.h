// One stage of a CPU conversion split into n slots (10 in the library):
// work is assigned statically and interleaved (slot i takes items i, i + n,
// ...), and the stage is over only when every slot has finished. Which thread
// runs a slot never changes what the slot computes, so results do not depend
// on it.
//
// The threads are not made per stage. Slots are claimed in order, one at a
// time, by the calling thread (inside join()) and by up to n - 1 workers from
// one process-wide set of parked threads. The caller wakes two workers, each
// woken worker wakes up to two more while slots are unclaimed, so the wake-up
// cost is spread over the workers and a small stage that the caller finishes
// alone wakes few. Workers that come late find nothing left and park again;
// join() waits for slots, not for them. A worker is started only when none is
// parked, and the set never shrinks (it stops growing at kMaxWorkers).
//
// Stages on several threads at once, and a job that itself runs a stage, each
// call in their own workers, and the caller always takes part, so a stage
// completes even when no worker can be had. Jobs must not wait for each other
// (nothing in the library does): with few workers a slot may run only after
// another slot on the same thread has finished.
//
// Workers are detached and deliberately never destroyed: nothing joins them
// at process exit, so exit cannot hang on them, and no static destructor
// touches the set while a worker may still use it.
//
// Failures: a thread that cannot be started only means fewer helpers; no
// exception leaves a run operation for it. The per-slot copies of the job may
// throw std::bad_alloc before any slot runs; the convertors report that as
// kKRORunCPUKernelError.
//
// Thread safety: a CPUTask is driven by one thread. Workers write only the
// failure flag and the stage's own counters; join() is the happens-before
// edge between their writes and the caller.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

namespace KROCOLOR {

constexpr int kDefaultThreadCount = 10;
// Parked workers kept at most; beyond it stages run on fewer threads.
constexpr int kMaxWorkers = 256;

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

    // Runs unclaimed slots on the calling thread, then waits until every slot
    // is done. An exception from a job on the calling thread is rethrown
    // after all slots have finished (an exception on a worker terminates, as
    // on any thread).
    void join();
    int32_t hasFailed() const { return failed_.load(std::memory_order_acquire); }
    int threadCount() const { return count_; }

private:
    struct Stage;  // what the caller and its workers share for one run
    friend class ParkedWorker;

    // Copies `loop` into every slot and calls in the first workers. A stage
    // still running from an earlier run is joined first.
    void start(const std::function<void(int slot)>& loop);

    std::atomic<int32_t> failed_{0};
    int count_;
    std::shared_ptr<Stage> stage_;  // the stage running, or none
};

}  // namespace KROCOLOR
