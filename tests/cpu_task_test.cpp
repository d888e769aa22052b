#include "cpu/cpu_task.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace KROCOLOR {
namespace {

// Holds every caller until `expected` have arrived: the slots that arrive
// must be running at the same time, on distinct threads.
class Rendezvous {
public:
    explicit Rendezvous(int expected) : expected_(expected) {}
    void arrive() {
        arrived_.fetch_add(1);
        while (arrived_.load() < expected_) std::this_thread::yield();
    }

private:
    const int expected_;
    std::atomic<int> arrived_{0};
};

// Which thread ran each item, and how many items that slot's copy of the job
// had seen by then.
struct Visit {
    std::thread::id thread;
    int callsOnCopy;
};

TEST(CpuTaskTest, SlotCountIsAtLeastOne) {
    for (int n : {0, -3}) {
        CPUTask task(n);
        EXPECT_EQ(task.threadCount(), 1);
        std::vector<int> seen;  // one slot: no concurrent access
        task.runIndices(5, [&seen](int i) { seen.push_back(i); });
        task.join();
        EXPECT_EQ(seen, (std::vector<int>{0, 1, 2, 3, 4}));
    }
    EXPECT_EQ(CPUTask().threadCount(), 10);
}

// Slot i takes i, i + 10, ...; all ten slots are alive at once on distinct
// threads; each owns its copy of the job.
TEST(CpuTaskTest, RunIndicesInterleavesBySlot) {
    CPUTask task(10);
    Rendezvous all(10);
    std::mutex m;
    std::map<int, Visit> visits;
    task.runIndices(25, [&, calls = 0](int i) mutable {
        ++calls;  // per-copy state: one shared job would count to 25
        if (i < 10) all.arrive();
        std::lock_guard<std::mutex> lock(m);
        visits[i] = {std::this_thread::get_id(), calls};
    });
    task.join();
    ASSERT_EQ(visits.size(), 25u);
    std::set<std::thread::id> distinct;
    for (int i = 0; i < 10; ++i) distinct.insert(visits[i].thread);
    EXPECT_EQ(distinct.size(), 10u);
    for (int i = 0; i < 25; ++i) {
        EXPECT_EQ(visits[i].thread, visits[i % 10].thread) << i;
        EXPECT_EQ(visits[i].callsOnCopy, i / 10 + 1) << i;
    }
}

TEST(CpuTaskTest, RunPixelsVisitsEveryPixelOnce) {
    {  // one slot visits in linear order x = k % w, y = k / w
        CPUTask task(1);
        std::vector<std::pair<int, int>> order;
        task.runPixels(3, 2, [&order](int x, int y) { order.emplace_back(x, y); });
        task.join();
        EXPECT_EQ(order, (std::vector<std::pair<int, int>>{{0, 0}, {1, 0}, {2, 0}, {0, 1}, {1, 1}, {2, 1}}));
    }
    CPUTask task(10);
    std::vector<std::atomic<int>> visits(7 * 5);
    task.runPixels(7, 5, [&visits](int x, int y) { visits[static_cast<size_t>(y * 7 + x)].fetch_add(1); });
    task.join();
    for (const auto& v : visits) EXPECT_EQ(v.load(), 1);

    std::atomic<int> calls{0};
    task.runPixels(0, 5, [&calls](int, int) { calls.fetch_add(1); });
    task.runPixels(5, 0, [&calls](int, int) { calls.fetch_add(1); });
    task.runIndices(0, [&calls](int) { calls.fetch_add(1); });
    task.join();
    EXPECT_EQ(calls.load(), 0);
}

TEST(CpuTaskTest, RunSlicesReportsFailure) {
    for (int failing : {0, 7}) {  // a slot the calling thread or a worker may take
        CPUTask task(10);
        task.runSlices([failing](int slot, int) { return slot != failing; });
        task.join();
        EXPECT_EQ(task.hasFailed(), 1);
        task.runSlices([](int, int) { return true; });  // never cleared
        task.join();
        EXPECT_EQ(task.hasFailed(), 1);
    }
}

// join() and the destructor return only after the slowest slot, and its
// writes are visible then.
TEST(CpuTaskTest, StageEndsWithItsSlowestSlot) {
    std::vector<int> written(10, 0);
    auto job = [&written](int i) {
        if (i == 9) std::this_thread::sleep_for(std::chrono::milliseconds(50));
        written[static_cast<size_t>(i)] = i + 1;
    };
    {
        CPUTask task(10);
        task.runIndices(10, job);
        task.join();
        EXPECT_EQ(written[9], 10);
        written.assign(10, 0);
        task.runIndices(10, job);  // no join: the destructor ends the stage
    }
    for (int i = 0; i < 10; ++i) EXPECT_EQ(written[static_cast<size_t>(i)], i + 1);
}

// Each stage after the first runs on threads that served an earlier one;
// threads made per stage would never have seen one. The rendezvous keeps all
// ten slots busy at once, so nine workers take part in every stage.
TEST(CpuTaskTest, WorkersOutliveTheirStage) {
    thread_local int lastStage = -1;
    const std::thread::id caller = std::this_thread::get_id();
    for (int stage = 0; stage < 5; ++stage) {
        std::atomic<int> reused{0}, slotMask{0};
        Rendezvous all(10);
        CPUTask task(10);
        task.runSlices([&](int slot, int n) {
            all.arrive();
            slotMask.fetch_or(1 << slot);
            if (std::this_thread::get_id() != caller && lastStage >= 0 && lastStage < stage) reused.fetch_add(1);
            lastStage = stage;
            return n == 10;
        });
        task.join();
        EXPECT_EQ(slotMask.load(), 0x3FF);
        EXPECT_EQ(task.hasFailed(), 0);
        if (stage > 0) {
            EXPECT_GT(reused.load(), 0) << stage;
        }
    }
}

// Stages on several threads at once, and stages started from inside a job,
// each get ten live slots of their own: the rendezvous would never complete
// if two stages had to share a worker.
TEST(CpuTaskTest, ConcurrentAndNestedStages) {
    constexpr int kCallers = 6, kStages = 20;
    std::atomic<int> wrong{0};
    auto stage = [&wrong](int seed) {
        CPUTask task(10);
        Rendezvous all(10);
        std::vector<int> out(100, -1);
        task.runIndices(100, [&](int i) {
            if (i < 10) all.arrive();
            out[static_cast<size_t>(i)] = i * seed;
        });
        task.join();
        for (int i = 0; i < 100; ++i)
            if (out[static_cast<size_t>(i)] != i * seed) wrong.fetch_add(1);
    };
    std::vector<std::thread> callers;
    for (int c = 0; c < kCallers; ++c)
        callers.emplace_back([&stage, c] {
            for (int s = 0; s < kStages; ++s) stage(c * kStages + s);
        });
    for (auto& t : callers) t.join();

    CPUTask outer(10);
    outer.runIndices(10, [&stage](int i) { stage(i + 1000); });
    outer.join();
    EXPECT_EQ(wrong.load(), 0);
}

}  // namespace
}  // namespace KROCOLOR
