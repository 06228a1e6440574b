#include <TesselU/foundation/Event.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace {

using TesselMT::Event;

static_assert(sizeof(Event) == sizeof(void*), "the handle is the only field");

TEST(Event, StartsAsItIsTold) {
    Event signalled(nullptr, 0, 1, nullptr);
    ASSERT_NE(signalled.GetHandle(), nullptr);
    signalled.Wait();

    Event silent(nullptr, 0, 0, nullptr);
    ASSERT_NE(silent.GetHandle(), nullptr);
    EXPECT_NE(silent.GetHandle(), signalled.GetHandle());
    int seen = 0;
    int written = 0;
    std::thread waiting([&] {
        silent.Wait();
        seen = written;
    });
    written = 1;
    silent.Set();
    waiting.join();
    EXPECT_EQ(seen, 1);
}

TEST(Event, ResetsByItselfForASingleThread) {
    constexpr int kThreads = 4;
    Event event(nullptr, 0, 0, nullptr), passed(nullptr, 0, 0, nullptr);
    std::atomic<int> through{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            event.Wait();
            ++through;
            passed.Set();
        });
    }
    for (int i = 1; i <= kThreads; ++i) {
        event.Set();
        passed.Wait();
        // Whoever else passed would have been counted by now, or is about to be.
        std::this_thread::yield();
        EXPECT_EQ(through, i);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(Event, SignalsDoNotAddUp) {
    Event event(nullptr, 0, 0, nullptr);
    event.Set();
    event.Set();
    event.Wait();
    std::atomic<bool> signalled{false};
    bool inTime = false;
    std::thread waiting([&] {
        event.Wait();
        inTime = signalled;
    });
    for (int i = 0; i < 100; ++i) {
        std::this_thread::yield();
    }
    signalled = true;
    event.Set();
    waiting.join();
    EXPECT_TRUE(inTime);
}

TEST(Event, ResetByHandLetsAllPass) {
    Event event(nullptr, 1, 0, nullptr);
    std::atomic<int> through{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            event.Wait();
            ++through;
        });
    }
    event.Set();
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(through, 4);
    event.Wait();
    event.Wait();
}

TEST(Event, TakesSignalsBack) {
    for (const int manual : {0, 1}) {
        Event event(nullptr, manual, 1, nullptr);
        event.Reset();
        std::atomic<bool> signalled{false};
        bool inTime = false;
        std::thread waiting([&] {
            event.Wait();
            inTime = signalled;
        });
        for (int i = 0; i < 100; ++i) {
            std::this_thread::yield();
        }
        signalled = true;
        event.Set();
        waiting.join();
        EXPECT_TRUE(inTime) << manual;
    }
}

TEST(Event, AssignmentCopiesTheHandle) {
    auto first = std::make_unique<Event>(nullptr, 0, 0, nullptr);
    Event second(nullptr, 0, 0, nullptr);
    second = *first;
    EXPECT_EQ(second.GetHandle(), first->GetHandle());
    Event third(second);
    EXPECT_EQ(third.GetHandle(), first->GetHandle());
    first->Set();
    second.Wait();
    // The event lives on with those who share it.
    first.reset();
    third.Set();
    second.Wait();
    second = *&second;
    second.Set();
    third.Wait();
}

TEST(Event, NamesAreNotShared) {
    const unsigned short name[] = {'t', 'a', 'k', 'e', 0};
    const Event one(nullptr, 0, 0, name), other(nullptr, 0, 0, name);
    EXPECT_NE(one.GetHandle(), other.GetHandle());
}

}  // namespace
