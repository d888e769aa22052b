#include "cpu/cpu_task.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace KROCOLOR {
namespace {

// Holds every caller until `expected` threads have arrived, so the threads
// of one run are alive at the same time and their ids are distinct.
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

TEST(CpuTaskTest, CountBelowOneBecomesOneSlot) {
    for (int n : {0, -3}) {
        CPUTask task(n);
        EXPECT_EQ(task.threadCount(), 1);
        std::vector<int> seen;  // one slot: no concurrent access
        task.runIndices(5, [&seen](int i) { seen.push_back(i); });
        task.join();
        EXPECT_EQ(seen, (std::vector<int>{0, 1, 2, 3, 4}));
    }
    EXPECT_EQ(CPUTask().threadCount(), kDefaultThreadCount);
    EXPECT_EQ(kDefaultThreadCount, 10);
}

TEST(CpuTaskTest, RunIndicesInterleavesBySlot) {
    CPUTask task(10);
    Rendezvous all(10);
    std::mutex m;
    std::map<int, std::thread::id> owner;
    task.runIndices(25, [&](int i) {
        if (i < 10) all.arrive();  // the first item of every slot
        std::lock_guard<std::mutex> lock(m);
        owner[i] = std::this_thread::get_id();
    });
    task.join();
    ASSERT_EQ(owner.size(), 25u);
    std::set<std::thread::id> distinct;
    for (int i = 0; i < 10; ++i) distinct.insert(owner[i]);
    EXPECT_EQ(distinct.size(), 10u);
    // Slot 3 takes 3, 13 and 23; every item shares its thread with i mod 10.
    EXPECT_EQ(owner[13], owner[3]);
    EXPECT_EQ(owner[23], owner[3]);
    for (int i = 10; i < 25; ++i) EXPECT_EQ(owner[i], owner[i % 10]) << i;
}

TEST(CpuTaskTest, EveryThreadOwnsItsCopyOfTheJob) {
    CPUTask task(10);
    std::atomic<int> maxCalls{0};
    std::atomic<int> total{0};
    task.runIndices(25, [calls = 0, &maxCalls, &total](int) mutable {
        ++calls;  // per-copy state: a shared object would count to 25
        total.fetch_add(1);
        int m = maxCalls.load();
        while (calls > m && !maxCalls.compare_exchange_weak(m, calls)) {
        }
    });
    task.join();
    EXPECT_EQ(total.load(), 25);
    EXPECT_EQ(maxCalls.load(), 3);  // slots 0-4 take three items, 5-9 two
}

TEST(CpuTaskTest, RunPixelsThreeByThreeOnTenSlots) {
    CPUTask task(10);
    Rendezvous nine(9);
    std::mutex m;
    std::map<std::pair<int, int>, int> visits;
    std::set<std::thread::id> threads;
    task.runPixels(3, 3, [&](int x, int y) {
        nine.arrive();  // nine pixels, each on its own live thread
        std::lock_guard<std::mutex> lock(m);
        ++visits[{x, y}];
        threads.insert(std::this_thread::get_id());
    });
    task.join();
    ASSERT_EQ(visits.size(), 9u);
    for (const auto& v : visits) EXPECT_EQ(v.second, 1);
    EXPECT_EQ(threads.size(), 9u);
}

TEST(CpuTaskTest, RunPixelsRowMajorInterleave) {
    // With one slot the visiting order is the linear order x = k % w, y = k / w.
    CPUTask task(1);
    std::vector<std::pair<int, int>> order;
    task.runPixels(3, 2, [&order](int x, int y) { order.emplace_back(x, y); });
    task.join();
    EXPECT_EQ(order, (std::vector<std::pair<int, int>>{{0, 0}, {1, 0}, {2, 0}, {0, 1}, {1, 1}, {2, 1}}));
}

TEST(CpuTaskTest, EmptyExtentsDoNothing) {
    CPUTask task(10);
    std::atomic<int> calls{0};
    task.runPixels(0, 5, [&calls](int, int) { calls.fetch_add(1); });
    task.join();
    task.runPixels(5, 0, [&calls](int, int) { calls.fetch_add(1); });
    task.join();
    task.runIndices(0, [&calls](int) { calls.fetch_add(1); });
    task.join();
    EXPECT_EQ(calls.load(), 0);
}

TEST(CpuTaskTest, RunSlicesReportsFailure) {
    {
        CPUTask task(10);
        std::atomic<int> slotMask{0};
        task.runSlices([&slotMask](int slot, int n) {
            EXPECT_EQ(n, 10);
            slotMask.fetch_or(1 << slot);
            return true;
        });
        task.join();
        EXPECT_EQ(slotMask.load(), 0x3FF);
        EXPECT_EQ(task.hasFailed(), 0);
    }
    {
        CPUTask task(10);
        task.runSlices([](int slot, int) { return slot != 7; });
        task.join();
        EXPECT_EQ(task.hasFailed(), 1);
        // The flag is never cleared, not even by a later successful run.
        task.runSlices([](int, int) { return true; });
        task.join();
        EXPECT_EQ(task.hasFailed(), 1);
    }
    {
        CPUTask task(10);
        task.runSlices([](int, int) { return false; });  // all fail: still bit 0 only
        task.join();
        EXPECT_EQ(task.hasFailed(), 1);
    }
}

TEST(CpuTaskTest, DestructorJoinsUnjoinedThreads) {
    std::atomic<int> done{0};
    {
        CPUTask task(10);
        task.runIndices(100, [&done](int) {
            std::this_thread::yield();
            done.fetch_add(1);
        });
    }
    EXPECT_EQ(done.load(), 100);
}

TEST(CpuTaskTest, JoinTwiceAndRunAgain) {
    CPUTask task(4);
    std::atomic<int> sum{0};
    task.runIndices(10, [&sum](int i) { sum.fetch_add(i); });
    task.join();
    task.join();  // nothing left to wait for
    EXPECT_EQ(sum.load(), 45);
    task.runIndices(10, [&sum](int i) { sum.fetch_add(i); });
    task.join();
    EXPECT_EQ(sum.load(), 90);
}

}  // namespace
}  // namespace KROCOLOR
