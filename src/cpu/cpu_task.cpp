#include "cpu/cpu_task.h"

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace KROCOLOR {

// Each thread that takes part (the caller or a worker) may call in this many
// more workers while slots are unclaimed: a wake-up tree instead of the
// caller waking every worker itself.
constexpr int kHelpersPerParticipant = 2;

struct CPUTask::Stage {
    Stage(const std::function<void(int)>& loop, int n)
        : count(n), slots(new std::function<void(int)>[static_cast<size_t>(n)]), helpersLeft(n - 1), unfinished(n) {
        for (int i = 0; i < n; ++i) slots[i] = loop;  // every slot owns its copy
    }

    // The next unclaimed slot, or `count` when none is left.
    int claim() {
        const int s = next.fetch_add(1, std::memory_order_relaxed);
        return s < count ? s : count;
    }
    bool slotsLeft() const { return next.load(std::memory_order_relaxed) < count; }

    void finishSlot() {
        // Notified under the lock: join() cannot see zero and go on before
        // the notification is complete.
        std::lock_guard<std::mutex> lock(mutex);
        if (--unfinished == 0) allDone.notify_one();
    }

    const int count;
    std::unique_ptr<std::function<void(int)>[]> slots;
    std::atomic<int> next{0};
    std::atomic<int> helpersLeft;  // workers that may still be called in
    std::mutex mutex;
    std::condition_variable allDone;
    int unfinished;  // slots not finished yet
};

// A thread that helps one stage at a time and parks in between.
class ParkedWorker {
public:
    using Stage = CPUTask::Stage;

    // Calls in up to `wanted` workers for `stage` while it has unclaimed slots
    // and helpers left, parked ones first, new ones otherwise.
    static void callHelpers(const std::shared_ptr<Stage>& stage, int wanted) noexcept;

private:
    void give(const std::shared_ptr<Stage>& stage) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            stage_ = stage;
        }
        wake_.notify_one();
    }
    // Starts a new worker already holding `stage`; false when no thread (or
    // no memory) can be had.
    static bool spawn(const std::shared_ptr<Stage>& stage) noexcept;
    void loop();

    std::mutex mutex_;
    std::condition_variable wake_;
    std::shared_ptr<Stage> stage_;  // the stage to help next
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

    // Counts one more worker; false at the limit or without room to park it.
    bool count() {
        std::lock_guard<std::mutex> lock(mutex_);
        if (total_ >= static_cast<size_t>(kMaxWorkers)) return false;
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

void ParkedWorker::callHelpers(const std::shared_ptr<Stage>& stage, int wanted) noexcept {
    for (int i = 0; i < wanted && stage->slotsLeft(); ++i) {
        if (stage->helpersLeft.fetch_sub(1, std::memory_order_relaxed) <= 0) return;
        if (ParkedWorker* w = IdleWorkers::instance().take())
            w->give(stage);
        else if (!spawn(stage))
            return;
    }
}

bool ParkedWorker::spawn(const std::shared_ptr<Stage>& stage) noexcept {
    IdleWorkers& idle = IdleWorkers::instance();
    if (!idle.count()) return false;
    ParkedWorker* w = new (std::nothrow) ParkedWorker;
    if (w) {
        w->stage_ = stage;
        try {
            std::thread(&ParkedWorker::loop, w).detach();
            return true;
        } catch (const std::exception&) {
            delete w;
        }
    }
    idle.uncount();
    return false;
}

void ParkedWorker::loop() {
    for (;;) {
        std::shared_ptr<Stage> stage;
        {
            std::unique_lock<std::mutex> lock(mutex_);
            wake_.wait(lock, [this] { return stage_ != nullptr; });
            stage.swap(stage_);
        }
        callHelpers(stage, kHelpersPerParticipant);
        bool parked = false;
        for (int s = stage->claim(); s < stage->count;) {
            stage->slots[s](s);
            const int following = stage->claim();
            // Parked again before this stage can end, so the caller's next
            // stage finds this worker instead of starting another.
            if (following == stage->count) {
                IdleWorkers::instance().put(this);
                parked = true;
            }
            stage->finishSlot();
            s = following;
        }
        stage.reset();  // a late worker may hold the stage past its end; nothing else does
        if (!parked) IdleWorkers::instance().put(this);
    }
}

CPUTask::CPUTask(int threadCount) : count_(threadCount < 1 ? 1 : threadCount) {}

CPUTask::~CPUTask() { join(); }

void CPUTask::start(const std::function<void(int)>& loop) {
    join();
    stage_ = std::make_shared<Stage>(loop, count_);  // may throw before anything runs
    ParkedWorker::callHelpers(stage_, kHelpersPerParticipant);
}

void CPUTask::join() {
    if (!stage_) return;
    Stage& stage = *stage_;
    std::exception_ptr error;
    for (int s = stage.claim(); s < stage.count; s = stage.claim()) {
        try {
            stage.slots[s](s);
        } catch (...) {
            if (!error) error = std::current_exception();
        }
        stage.finishSlot();
    }
    {
        std::unique_lock<std::mutex> lock(stage.mutex);
        stage.allDone.wait(lock, [&stage] { return stage.unfinished == 0; });
    }
    // Every slot is done, so no one reads the copies any more; release them
    // here rather than on whichever thread lets the stage go last.
    for (int i = 0; i < stage.count; ++i) stage.slots[i] = nullptr;
    stage_.reset();
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
