#include "cpu/cpu_task.h"

#include <cstdint>
#include <exception>
#include <thread>
#include <vector>

namespace KROCOLOR {

// A thread that runs one slot of some stage at a time and parks in between.
class ParkedWorker {
public:
    // Hands the worker a slot; it must be parked (taken from the idle set).
    void give(CPUTask* task, int slot) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            task_ = task;
            slot_ = slot;
        }
        wake_.notify_one();
    }

    // Starts a new worker already holding `slot` of `task`; null when no
    // thread (or no memory) can be had.
    static ParkedWorker* spawn(CPUTask* task, int slot) noexcept;

private:
    void loop();

    std::mutex mutex_;
    std::condition_variable wake_;
    CPUTask* task_ = nullptr;
    int slot_ = 0;
};

namespace {

// The process-wide set of parked workers. Created on first use and never
// destroyed (no destructor runs at exit while workers may still touch it).
class IdleWorkers {
public:
    static IdleWorkers& instance() {
        static IdleWorkers* set = new IdleWorkers;
        return *set;
    }

    ParkedWorker* take() {
        std::lock_guard<std::mutex> lock(mutex_);
        if (idle_.empty()) return nullptr;
        ParkedWorker* w = idle_.back();  // the most recently parked: warm caches
        idle_.pop_back();
        return w;
    }

    // Never allocates: room for every worker is reserved when it is counted.
    void put(ParkedWorker* w) {
        std::lock_guard<std::mutex> lock(mutex_);
        idle_.push_back(w);
    }

    // Counts one more worker; false when there is no room to park it later.
    bool count() {
        std::lock_guard<std::mutex> lock(mutex_);
        try {
            idle_.reserve(total_ + 1);
        } catch (const std::bad_alloc&) {
            return false;
        }
        ++total_;
        return true;
    }
    void uncount() {
        std::lock_guard<std::mutex> lock(mutex_);
        --total_;
    }

private:
    std::mutex mutex_;
    std::vector<ParkedWorker*> idle_;
    size_t total_ = 0;
};

}  // namespace

ParkedWorker* ParkedWorker::spawn(CPUTask* task, int slot) noexcept {
    IdleWorkers& idle = IdleWorkers::instance();
    if (!idle.count()) return nullptr;
    ParkedWorker* w = new (std::nothrow) ParkedWorker;
    if (w) {
        w->task_ = task;
        w->slot_ = slot;
        try {
            std::thread(&ParkedWorker::loop, w).detach();
            return w;
        } catch (const std::exception&) {
            delete w;
        }
    }
    idle.uncount();
    return nullptr;
}

void ParkedWorker::loop() {
    for (;;) {
        CPUTask* task;
        int slot;
        {
            std::unique_lock<std::mutex> lock(mutex_);
            wake_.wait(lock, [this] { return task_ != nullptr; });
            task = task_;
            slot = slot_;
            task_ = nullptr;
        }
        task->slots_[slot](slot);
        // Parked again before the stage can end, so the next stage of the
        // same caller finds this worker instead of starting another.
        IdleWorkers::instance().put(this);
        task->finishSlot();  // the last use of `task`: join() may return now
    }
}

CPUTask::CPUTask(int threadCount)
    : count_(threadCount < 1 ? 1 : threadCount), slots_(new std::function<void(int)>[static_cast<size_t>(count_)]) {}

CPUTask::~CPUTask() { join(); }

void CPUTask::start(const std::function<void(int)>& loop) {
    join();
    for (int i = 0; i < count_; ++i) slots_[i] = loop;  // may throw before anything runs
    running_ = true;
    pending_ = count_ - 1;
    callerFrom_ = count_;
    IdleWorkers& idle = IdleWorkers::instance();
    for (int i = 1; i < count_; ++i) {
        if (ParkedWorker* w = idle.take()) {
            w->give(this, i);
        } else if (!ParkedWorker::spawn(this, i)) {
            callerFrom_ = i;
            std::lock_guard<std::mutex> lock(mutex_);
            pending_ -= count_ - i;
            break;
        }
    }
}

void CPUTask::finishSlot() {
    // Notified under the lock: join() cannot see zero and destroy the pool
    // before this notification is complete.
    std::lock_guard<std::mutex> lock(mutex_);
    if (--pending_ == 0) allDone_.notify_one();
}

void CPUTask::join() {
    if (!running_) return;
    std::exception_ptr error;
    try {
        slots_[0](0);
        for (int i = callerFrom_; i < count_; ++i) slots_[i](i);
    } catch (...) {
        error = std::current_exception();
    }
    {
        std::unique_lock<std::mutex> lock(mutex_);
        allDone_.wait(lock, [this] { return pending_ == 0; });
    }
    running_ = false;
    for (int i = 0; i < count_; ++i) slots_[i] = nullptr;
    if (error) std::rethrow_exception(error);
}

void CPUTask::runPixels(int width, int height, const std::function<void(int, int)>& job) {
    const int64_t total = width > 0 && height > 0 ? int64_t{width} * height : 0;
    const int64_t n = count_;
    start([job, width, total, n](int slot) {
        for (int64_t k = slot; k < total; k += n)
            job(static_cast<int>(k % width), static_cast<int>(k / width));
    });
}

void CPUTask::runIndices(int count, const std::function<void(int)>& job) {
    const int64_t n = count_;
    start([job, count, n](int slot) {
        for (int64_t index = slot; index < count; index += n) job(static_cast<int>(index));
    });
}

void CPUTask::runSlices(const std::function<bool(int, int)>& job) {
    const int n = count_;
    std::atomic<int32_t>* failed = &failed_;
    start([job, n, failed](int slot) {
        if (!job(slot, n)) failed->fetch_or(1, std::memory_order_acq_rel);
    });
}

}  // namespace KROCOLOR
