#ifndef TESSELU_TOOLS_RUN_QUEUE_H
#define TESSELU_TOOLS_RUN_QUEUE_H

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

#include "run/Stopwatch.h"

namespace tool {

/// Hands items from one thread to another, a few of them at a time.
template <typename Item>
class Queue {
public:
    explicit Queue(std::size_t newCapacity) : capacity(newCapacity) {}

    /// Waits for room. False when the queue is closed; the item is then lost.
    bool Push(Item item) {
        std::unique_lock guard(lock);
        const auto hasRoom = [this] { return items.size() < capacity || isClosed; };
        if (!hasRoom()) {
            const WallClock waiting(pushing);
            changed.wait(guard, hasRoom);
        }
        if (isClosed) {
            return false;
        }
        items.push_back(std::move(item));
        changed.notify_all();
        return true;
    }

    /// Waits for an item. None when the queue is closed and empty.
    std::optional<Item> Pop() {
        std::unique_lock guard(lock);
        const auto hasItem = [this] { return !items.empty() || isClosed; };
        if (!hasItem()) {
            const WallClock waiting(popping);
            changed.wait(guard, hasItem);
        }
        if (items.empty()) {
            return std::nullopt;
        }
        std::optional<Item> item(std::move(items.front()));
        items.pop_front();
        changed.notify_all();
        return item;
    }

    /// Seconds that the giving and the taking side have waited for one another.
    double SecondsPushing() {
        const std::lock_guard guard(lock);
        return pushing;
    }
    double SecondsPopping() {
        const std::lock_guard guard(lock);
        return popping;
    }

    /// No more items come in. What is there can still be taken.
    void Close() {
        const std::lock_guard guard(lock);
        isClosed = true;
        changed.notify_all();
    }

    /// Nobody takes any more.
    void Abandon() {
        const std::lock_guard guard(lock);
        isClosed = true;
        items.clear();
        changed.notify_all();
    }

private:
    std::size_t capacity;
    std::mutex lock;
    std::condition_variable changed;
    std::deque<Item> items;
    bool isClosed = false;
    double pushing = 0, popping = 0;
};

}  // namespace tool

#endif  // TESSELU_TOOLS_RUN_QUEUE_H
