#ifndef TESSELU_TESTS_SUPPORT_STREAMING_H
#define TESSELU_TESTS_SUPPORT_STREAMING_H

#include "simd/Job.h"

namespace test_support {

/// Makes kernels write around the cache, or through it, as long as it lives.
class ScopedStreaming {
public:
    explicit ScopedStreaming(bool aroundCache) { Zan::simd::ForceStreaming(aroundCache ? 1 : 0); }
    ~ScopedStreaming() { Zan::simd::ForceStreaming(-1); }
    ScopedStreaming(const ScopedStreaming&) = delete;
    ScopedStreaming& operator=(const ScopedStreaming&) = delete;
};

}  // namespace test_support

#endif  // TESSELU_TESTS_SUPPORT_STREAMING_H
