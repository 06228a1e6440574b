#ifndef TESSELU_TESTS_SUPPORT_COUNTEDALLOCATIONS_H
#define TESSELU_TESTS_SUPPORT_COUNTEDALLOCATIONS_H

namespace test_support {

/// How often this program has allocated, in all of its threads; -1 where sanitizers do that. For programs
/// that are linked with `CountedAllocations.cpp`.
long Allocations() noexcept;

}  // namespace test_support

#endif  // TESSELU_TESTS_SUPPORT_COUNTEDALLOCATIONS_H
