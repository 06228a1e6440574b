#include "foundation/Worker.h"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <vector>

#include "support/Sanitized.h"
#include "support/Threads.h"

#if defined(__linux__)
#include <malloc.h>
#include <sched.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>
#endif

namespace {

using namespace Zan;
using namespace test_support;

std::vector<ULong32> RowsOfStrips(ULong32 rows, ULong32 workers) {
    std::vector<ULong32> strips;
    for (ULong32 i = 0; i < workers; ++i) {
        strips.push_back(StripOf(rows, workers, i).rows);
    }
    return strips;
}

TEST(Strips, LastOneHasWhatRemains) {
    EXPECT_EQ(RowsOfStrips(486, 4), (std::vector<ULong32>{121, 121, 121, 123}));
    EXPECT_EQ(RowsOfStrips(480, 4), (std::vector<ULong32>{120, 120, 120, 120}));
    EXPECT_EQ(RowsOfStrips(7, 1), (std::vector<ULong32>{7}));
    EXPECT_EQ(RowsOfStrips(3, 4), (std::vector<ULong32>{0, 0, 0, 3}));
    EXPECT_EQ(RowsOfStrips(0, 2), (std::vector<ULong32>{0, 0}));
}

TEST(Strips, FollowEachOther) {
    for (ULong32 workers = 1; workers <= 64; ++workers) {
        for (ULong32 rows = 0; rows <= 200; ++rows) {
            ULong32 next = 0;
            for (ULong32 i = 0; i < workers; ++i) {
                const Strip strip = StripOf(rows, workers, i);
                ASSERT_EQ(strip.first, next) << rows << " rows, " << workers << " workers";
                next += strip.rows;
            }
            ASSERT_EQ(next, rows);
        }
    }
}

TEST(Strips, WorkersAreOneTo64) {
    EXPECT_EQ(WorkersFor(0), 1U);
    EXPECT_EQ(WorkersFor(1), 1U);
    EXPECT_EQ(WorkersFor(64), 64U);
    EXPECT_EQ(WorkersFor(65), 64U);
    EXPECT_EQ(WorkersFor(0xFFFFFFFF), 64U);
}

// A job that tells which thread ran it.
struct Witness {
    std::barrier<>* together = nullptr;
    Long32 status = 0;
    int runs = 0;
    std::thread::id thread{};

    Long32 Run() noexcept {
        if (together != nullptr) {
            together->arrive_and_wait();
        }
        thread = std::this_thread::get_id();
        ++runs;
        return status;
    }
};

TEST(StripWorkers, KeepTheirThreads) {
    StripWorkers<Witness> workers(5, [] { return Witness(); });
    ASSERT_EQ(workers.Count(), 5U);
    std::set<std::thread::id> threads;
    for (int run = 1; run <= 50; ++run) {
        workers.RunAll();
        for (ULong32 i = 0; i < 5; ++i) {
            EXPECT_EQ(workers[i].runs, run);
            threads.insert(workers[i].thread);
        }
    }
    EXPECT_EQ(threads.size(), 5U);
    EXPECT_EQ(threads.count(std::this_thread::get_id()), 0U);
}

TEST(StripWorkers, OneHasAThreadOfItsOwn) {
    StripWorkers<Witness> workers(1, [] { return Witness(); });
    workers.RunAll();
    const std::thread::id first = workers[0].thread;
    EXPECT_NE(first, std::thread::id());
    EXPECT_NE(first, std::this_thread::get_id());
    workers.RunAll();
    EXPECT_EQ(workers[0].thread, first);
    EXPECT_EQ(workers[0].runs, 2);
}

TEST(StripWorkers, RunSideBySide) {
    std::barrier<> together(8);
    StripWorkers<Witness> workers(8, [&] { return Witness{&together}; });
    workers.RunAll();
    workers.RunAll();
    EXPECT_EQ(workers[7].runs, 2);
}

TEST(StripWorkers, StatusIsThatOfTheFirst) {
    StripWorkers<Witness> workers(3, [] { return Witness(); });
    workers[1].status = 4;
    workers[2].status = 98;
    EXPECT_EQ(workers.RunAll(), 0);
    workers[0].status = 5;
    workers[1].status = 0;
    EXPECT_EQ(workers.RunAll(), 5);
}

TEST(StripWorkers, EndWithoutHavingRun) {
    const StripWorkers<Witness> first(1, [] { return Witness(); });  // a sanitizer's own thread comes with it
    const auto before = ThreadsOfProcess();
    for (ULong32 count = 1; count <= 64; ++count) {
        const StripWorkers<Witness> workers(count, [] { return Witness(); });
    }
    EXPECT_TRUE(ThreadsBecome(before));
}

TEST(StripWorkers, JobsThatCannotBeMadeLeaveNoThread) {
    const StripWorkers<Witness> first(1, [] { return Witness(); });  // a sanitizer's own thread comes with it
    const auto before = ThreadsOfProcess();
    int made = 0;
    const auto make = [&made] {
        if (++made == 4) {
            throw std::bad_alloc();
        }
        return Witness();
    };
    EXPECT_THROW(StripWorkers<Witness>(6, make), std::bad_alloc);
    EXPECT_TRUE(ThreadsBecome(before));
}

#if defined(__linux__)

struct Inquiry {
    cpu_set_t processors{};
    sigset_t blocked{};

    Long32 Run() noexcept {
        sched_getaffinity(0, sizeof processors, &processors);
        pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
        return 0;
    }
};

TEST(StripWorkers, StayOnProcessorsOfTheirNumber) {
    cpu_set_t ours;
    ASSERT_EQ(sched_getaffinity(0, sizeof ours, &ours), 0);
    StripWorkers<Inquiry> workers(64, [] { return Inquiry(); });
    workers.RunAll();
    for (ULong32 i = 0; i < 64; ++i) {
        cpu_set_t expected;
        CPU_ZERO(&expected);
        CPU_SET(i, &expected);
        // A processor that is not there, or not ours, changes nothing.
        EXPECT_TRUE(CPU_EQUAL(&workers[i].processors, CPU_ISSET(i, &ours) ? &expected : &ours)) << i;
    }
}

TEST(StripWorkers, LeaveSignalsToTheHost) {
    StripWorkers<Inquiry> workers(2, [] { return Inquiry(); });
    workers.RunAll();
    for (const int signal : {SIGINT, SIGTERM, SIGALRM, SIGCHLD, SIGUSR1, SIGWINCH}) {
        EXPECT_EQ(sigismember(&workers[1].blocked, signal), 1) << signal;
    }
    for (const int signal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGPROF}) {
        EXPECT_EQ(sigismember(&workers[1].blocked, signal), 0) << signal;
    }
}

#ifndef TESSELU_TEST_SANITIZED

/// 0 when workers do their jobs in a process that gets no more memory, and some of them on this thread.
int RunWithoutThreads() {
    // What is freed stays with the allocator, so that there is some memory left.
    mallopt(M_MMAP_THRESHOLD, 512 * 1024);
    mallopt(M_TRIM_THRESHOLD, 16 * 1024 * 1024);
    std::vector<char> reserve(400000);
    reserve = {};
    const rlimit none = {1, 1};
    if (setrlimit(RLIMIT_AS, &none) != 0) {
        return 1;
    }
    StripWorkers<Witness> workers(64, [] { return Witness(); });
    workers[0].status = 4;
    if (workers.RunAll() != 4 || workers.RunAll() != 4) {
        return 2;
    }
    int here = 0;
    for (ULong32 i = 0; i < 64; ++i) {
        here += workers[i].thread == std::this_thread::get_id() ? 1 : 0;
        if (workers[i].runs != 2) {
            return 3;
        }
    }
    return here > 0 ? 0 : 4;
}

TEST(StripWorkersDeathTest, DoWithoutThreads) {
    EXPECT_EXIT(_exit(RunWithoutThreads()), testing::ExitedWithCode(0), "");
}

#endif
#endif

}  // namespace
