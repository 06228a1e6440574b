#ifndef TESSELU_TESTS_SUPPORT_THREADS_H
#define TESSELU_TESTS_SUPPORT_THREADS_H

#include <chrono>
#include <cstdlib>
#include <set>
#include <thread>

#if defined(__linux__)
#include <dirent.h>
#endif

namespace test_support {

/// The threads of this process by their numbers; none where the system does not tell.
inline std::set<long> ThreadsOfProcess() {
    std::set<long> threads;
#if defined(__linux__)
    if (DIR* directory = opendir("/proc/self/task")) {
        while (const dirent* entry = readdir(directory)) {
            if (const long number = std::strtol(entry->d_name, nullptr, 10); number != 0) {
                threads.insert(number);
            }
        }
        closedir(directory);
    }
#endif
    return threads;
}

/// True as soon as the threads are `expected`: one that was joined is listed for a moment more.
inline bool ThreadsBecome(const std::set<long>& expected) {
    constexpr int kAttempts = 10000;
    for (int i = 0; i < kAttempts && ThreadsOfProcess() != expected; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return ThreadsOfProcess() == expected;
}

}  // namespace test_support

#endif  // TESSELU_TESTS_SUPPORT_THREADS_H
