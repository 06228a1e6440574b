#ifndef TESSELU_TESTS_FOUNDATION_BUFFERCHECKS_H
#define TESSELU_TESTS_FOUNDATION_BUFFERCHECKS_H

#include <TesselU/foundation/AlignedMemoryBuffer.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/BufferSeam.h"

// What the tests of aligned memory look at, and a host that gives it away.

namespace buffer_test {

using Zan::AlignedMemoryBuffer;
using Zan::BufferSeam;
using Zan::ULong32;

inline std::uintptr_t AddressOf(const void* pointer) {
    return reinterpret_cast<std::uintptr_t>(pointer);
}

inline void ExpectEmpty(const AlignedMemoryBuffer& buffer) {
    EXPECT_EQ(buffer.GetAlignedPointer(), nullptr);
    EXPECT_EQ(BufferSeam::RawPointer(buffer), nullptr);
    EXPECT_EQ(buffer.GetTotalSize(), 0U);
    EXPECT_EQ(buffer.size(), 0U);
    EXPECT_EQ(buffer.GetPitch(), 0U);
    EXPECT_EQ(buffer.GetNumberOfLines(), 0U);
    EXPECT_FALSE(BufferSeam::OwnsMemory(buffer));
    EXPECT_EQ(BufferSeam::AllocatorContext(buffer), nullptr);
    EXPECT_EQ(BufferSeam::FreeCallback(buffer), nullptr);
    EXPECT_EQ(buffer.GetBufferAlignment(), 1U);
    EXPECT_EQ(buffer.GetLineAlignment(), 1U);
}

/// A host's allocator that keeps account. `offset` moves what it gives away from alignment.
struct Host {
    struct Request {
        ULong32 totalSize, bufferAlignment, lineAlignment;
    };
    std::vector<Request> requests;
    std::vector<void*> freed;
    std::unique_ptr<unsigned char[]> memory;
    std::size_t offset = 0;
    bool refuses = false;
    unsigned char* given = nullptr;

    static unsigned char* Alloc(void* context, ULong32 totalSize, ULong32 bufferAlignment,
                                ULong32 lineAlignment) {
        Host& host = *static_cast<Host*>(context);
        host.requests.push_back({totalSize, bufferAlignment, lineAlignment});
        if (host.refuses) {
            return nullptr;
        }
        host.memory = std::make_unique<unsigned char[]>(totalSize + host.offset + 1);
        host.given = host.memory.get() + host.offset;
        return host.given;
    }
    static void Free(void* context, void* memory) { static_cast<Host*>(context)->freed.push_back(memory); }
};

}  // namespace buffer_test

#endif  // TESSELU_TESTS_FOUNDATION_BUFFERCHECKS_H
