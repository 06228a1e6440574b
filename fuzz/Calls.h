#ifndef TESSELU_FUZZ_CALLS_H
#define TESSELU_FUZZ_CALLS_H

#include <cstdio>

namespace fuzz {

/// Counts the calls, of which a run has many: the pictures cost more than a call on them. Says their number
/// at the end.
class Calls {
public:
    Calls() = default;
    Calls(const Calls&) = delete;
    Calls& operator=(const Calls&) = delete;
    ~Calls() { std::fprintf(stderr, "stat::number_of_calls: %llu\n", count); }

    void Add(unsigned calls = 1) noexcept {
        const unsigned long long before = count;
        count += calls;
        if (before / kMillion != count / kMillion) {
            std::fprintf(stderr, "calls: %llu million\n", count / kMillion);
        }
    }

private:
    static constexpr unsigned long long kMillion = 1000000;

    unsigned long long count = 0;
};

/// No run is longer than this, whatever its input.
constexpr unsigned kMostRounds = 64;

}  // namespace fuzz

#endif  // TESSELU_FUZZ_CALLS_H
