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
struct Rendezvous {
    const int expected;
    std::atomic<int> arrived{0};
    void arrive() {
        arrived.fetch_add(1);
        while (arrived.load() < expected) std::this_thread::yield();
    }
};

TEST(CpuTaskTest, SlotCountIsAtLeastOneAndTenByDefault) {
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
// threads; each owns its copy of the job (a shared one would count to 25).
TEST(CpuTaskTest, RunIndicesInterleavesBySlot) {
    CPUTask task(10);
    Rendezvous all{10};
    std::mutex m;
    std::map<int, std::pair<std::thread::id, int>> visits;  // thread, calls its copy had seen
    task.runIndices(25, [&, calls = 0](int i) mutable {
        ++calls;
        if (i < 10) all.arrive();
        std::lock_guard<std::mutex> lock(m);
        visits[i] = {std::this_thread::get_id(), calls};
    });
    task.join();
    ASSERT_EQ(visits.size(), 25u);
    std::set<std::thread::id> distinct;
    for (int i = 0; i < 25; ++i) {
        distinct.insert(visits[i].first);
        EXPECT_EQ(visits[i].first, visits[i % 10].first) << i;
        EXPECT_EQ(visits[i].second, i / 10 + 1) << i;
    }
    EXPECT_EQ(distinct.size(), 10u);
}

TEST(CpuTaskTest, RunPixelsVisitsEveryPixelOnce) {
    CPUTask task(10);
    std::vector<std::atomic<int>> visits(7 * 5);
    task.runPixels(7, 5, [&visits](int x, int y) { visits[static_cast<size_t>(y * 7 + x)].fetch_add(1); });
    task.join();
    for (const auto& v : visits) EXPECT_EQ(v.load(), 1);
    std::atomic<int> calls{0};  // empty extents start nothing
    task.runPixels(0, 5, [&calls](int, int) { calls.fetch_add(1); });
    task.runPixels(5, 0, [&calls](int, int) { calls.fetch_add(1); });
    task.runIndices(0, [&calls](int) { calls.fetch_add(1); });
    task.join();
    EXPECT_EQ(calls.load(), 0);
}

TEST(CpuTaskTest, RunSlicesReportsFailureAndNeverClearsIt) {
    for (int failing : {0, 7}) {  // a slot the calling thread or a worker may take
        CPUTask task(10);
        task.runSlices([](int, int n) { return n == 10; });
        task.join();
        EXPECT_EQ(task.hasFailed(), 0);
        task.runSlices([failing](int slot, int) { return slot != failing; });
        task.join();
        EXPECT_EQ(task.hasFailed(), 1);
        task.runSlices([](int, int) { return true; });
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
        Rendezvous all{10};
        CPUTask task(10);
        task.runSlices([&](int slot, int) {
            all.arrive();
            slotMask.fetch_or(1 << slot);
            if (std::this_thread::get_id() != caller && lastStage >= 0 && lastStage < stage) reused.fetch_add(1);
            lastStage = stage;
            return true;
        });
        task.join();
        EXPECT_EQ(slotMask.load(), 0x3FF);
        if (stage > 0) {
            EXPECT_GT(reused.load(), 0) << stage;
        }
    }
}

// Stages on several threads at once, and stages started from inside a job,
// each get ten live slots of their own: the rendezvous would never complete
// if two stages had to share a worker.
TEST(CpuTaskTest, ConcurrentAndNestedStages) {
    std::atomic<int> wrong{0};
    auto stage = [&wrong](int seed) {
        CPUTask task(10);
        Rendezvous all{10};
        std::vector<int> out(100, -1);
        task.runIndices(100, [&](int i) {
            if (i < 10) all.arrive();
            out[static_cast<size_t>(i)] = i * seed;
        });
        task.join();
        for (int i = 0; i < 100; ++i) wrong += out[static_cast<size_t>(i)] != i * seed;
    };
    std::vector<std::thread> callers;
    for (int c = 0; c < 6; ++c)
        callers.emplace_back([&stage, c] {
            for (int s = 0; s < 20; ++s) stage(c * 20 + s);
        });
    for (auto& t : callers) t.join();
    CPUTask outer(10);
    outer.runIndices(10, [&stage](int i) { stage(i + 1000); });
    outer.join();
    EXPECT_EQ(wrong.load(), 0);
}

}  // namespace
}  // namespace KROCOLOR
