#include "cpu/cpu_task.h"

#include <cstdint>

namespace KROCOLOR {

CPUTask::CPUTask(int threadCount)
    : count_(threadCount < 1 ? 1 : threadCount), threads_(new std::thread[static_cast<size_t>(count_)]) {}

CPUTask::~CPUTask() {
    for (int i = 0; i < count_; ++i) {
        std::thread& t = threads_[i];
        if (!t.joinable()) continue;
        // A worker that destroys its own pool cannot wait for itself; letting
        // it go is the only way to avoid std::terminate here.
        if (t.get_id() == std::this_thread::get_id())
            t.detach();
        else
            t.join();
    }
}

template <typename Loop>
void CPUTask::start(const Loop& loop) {
    join();
    for (int i = 0; i < count_; ++i) {
        // std::thread decay-copies the closure (and with it the job and the
        // stage's extent) into the new thread's storage before the
        // constructor returns, so every thread owns its arguments.
        threads_[i] = std::thread(loop, i);
    }
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

void CPUTask::join() {
    for (int i = 0; i < count_; ++i) {
        std::thread& t = threads_[i];
        if (t.joinable()) t.join();
        t = std::thread();
    }
}

}  // namespace KROCOLOR
