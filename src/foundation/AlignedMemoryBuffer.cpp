#include <TesselU/foundation/AlignedMemoryBuffer.h>
#include <TesselU/foundation/Status.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

#include "foundation/ClassCapabilities.h"

namespace Zan {
namespace {

// The workaround aligns buffers to 1 KB, 2 KB ... 63 KB in turn, for which it allocates 64 KB more.
constexpr ULong32 kOffsetStep = 1024;
constexpr ULong32 kLastOffset = 64512;
constexpr ULong32 kReserve = 0x10000;

constexpr ULong32 AtLeastOne(ULong32 alignment) {
    return alignment == 0 ? 1 : alignment;
}

template <typename T>
constexpr T RoundUp(T value, T unit) {
    const T rest = value % unit;
    return rest == 0 ? value : value + (unit - rest);
}

// The largest power of two that divides `value`, up to 2^31, the most that an alignment field holds.
ULong32 PowerOfTwoIn(std::uintptr_t value) {
    ULong32 power = 1;
    while (power < 0x80000000U && value % (std::uintptr_t{power} * 2U) == 0) {
        power *= 2U;
    }
    return power;
}

unsigned char* FromHeap(std::size_t bytes) {
    return static_cast<unsigned char*>(::operator new(bytes, std::nothrow));
}

unsigned char* FromHost(AlignedMemoryBuffer::AllocCallback alloc, void* context, ULong32 totalSize,
                        ULong32 bufferAlignment, ULong32 lineAlignment) noexcept {
    try {
        return alloc(context, totalSize, bufferAlignment, lineAlignment);
    } catch (...) {
        return nullptr;
    }
}

}  // namespace

bool AlignedMemoryBuffer::enable64KBaliasingWorkAround = false;
ULong32 AlignedMemoryBuffer::additionalOffsetFor64KBaliasing = kOffsetStep;
ULong32 AlignedMemoryBuffer::additionalMemoryFor64KBaliasing = kReserve;
constinit CPUcapabilities& AlignedMemoryBuffer::CPUinstructionSet =
    classCapabilities[kOwnerAlignedMemoryBuffer];

void AlignedMemoryBuffer::SetEnable64KBaliasingWorkAround(bool enable) noexcept {
    std::atomic_ref<bool>(enable64KBaliasingWorkAround).store(enable, std::memory_order_relaxed);
}

AlignedMemoryBuffer::AlignedMemoryBuffer(ULong32 size, ULong32 requestedAlignment,
                                         WorkAround64KaliasEnum workAround) noexcept
    : AlignedMemoryBuffer(nullptr, size, 1, requestedAlignment, 1, workAround) {}

AlignedMemoryBuffer::AlignedMemoryBuffer(ULong32 bytesPerLine, ULong32 lines, ULong32 requestedAlignment,
                                         ULong32 requestedLineAlignment,
                                         WorkAround64KaliasEnum workAround) noexcept
    : AlignedMemoryBuffer(nullptr, bytesPerLine, lines, requestedAlignment, requestedLineAlignment,
                          workAround) {}

AlignedMemoryBuffer::AlignedMemoryBuffer(unsigned char* memory, ULong32 size, ULong32 requestedAlignment,
                                         WorkAround64KaliasEnum workAround) noexcept
    : AlignedMemoryBuffer(memory, size, 1, requestedAlignment, 1, workAround) {}

AlignedMemoryBuffer::AlignedMemoryBuffer(unsigned char* memory, ULong32 bytesPerLine, ULong32 lines,
                                         ULong32 requestedAlignment, ULong32 requestedLineAlignment,
                                         WorkAround64KaliasEnum workAround) noexcept
    : bufferAlignment(AtLeastOne(requestedAlignment)), lineAlignment(AtLeastOne(requestedLineAlignment)) {
    CreateNew(memory, nullptr, nullptr, bytesPerLine, lines, workAround);
}

AlignedMemoryBuffer::AlignedMemoryBuffer(void* context, AllocCallback alloc, FreeCallback release,
                                         ULong32 size, ULong32 requestedAlignment,
                                         WorkAround64KaliasEnum workAround) noexcept
    : AlignedMemoryBuffer(context, alloc, release, size, 1, requestedAlignment, 1, workAround) {}

AlignedMemoryBuffer::AlignedMemoryBuffer(void* context, AllocCallback alloc, FreeCallback release,
                                         ULong32 bytesPerLine, ULong32 lines, ULong32 requestedAlignment,
                                         ULong32 requestedLineAlignment,
                                         WorkAround64KaliasEnum workAround) noexcept
    : bufferAlignment(AtLeastOne(requestedAlignment)), lineAlignment(AtLeastOne(requestedLineAlignment)) {
    if (!context || !alloc || !release) {
        ClearAll();
        return;
    }
    allocatorContext = context;
    freeCallback = release;
    CreateNew(nullptr, context, alloc, bytesPerLine, lines, workAround);
}

AlignedMemoryBuffer::~AlignedMemoryBuffer() = default;

void AlignedMemoryBuffer::ClearAll() noexcept {
    // On 32-bit targets the fields lie where their order and natural alignment put them.
    constexpr bool kWidePointers = sizeof(void*) != 4;
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
#endif
    static_assert(kWidePointers || offsetof(AlignedMemoryBuffer, rawPointer) == 8);
    static_assert(kWidePointers || offsetof(AlignedMemoryBuffer, alignedPointer) == 12);
    static_assert(kWidePointers || offsetof(AlignedMemoryBuffer, bufferAlignment) == 16);
    static_assert(kWidePointers || offsetof(AlignedMemoryBuffer, totalSize) == 20);
    static_assert(kWidePointers || offsetof(AlignedMemoryBuffer, usableSize) == 24);
    static_assert(kWidePointers || offsetof(AlignedMemoryBuffer, lineAlignment) == 28);
    static_assert(kWidePointers || offsetof(AlignedMemoryBuffer, pitch) == 32);
    static_assert(kWidePointers || offsetof(AlignedMemoryBuffer, numberOfLines) == 36);
    static_assert(kWidePointers || offsetof(AlignedMemoryBuffer, ownsMemory) == 40);
    static_assert(kWidePointers || offsetof(AlignedMemoryBuffer, allocatorContext) == 44);
    static_assert(kWidePointers || offsetof(AlignedMemoryBuffer, freeCallback) == 48);
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

    rawPointer = nullptr;
    alignedPointer = nullptr;
    bufferAlignment = 1;
    totalSize = 0;
    usableSize = 0;
    lineAlignment = 1;
    pitch = 0;
    numberOfLines = 0;
    ownsMemory = false;
    allocatorContext = nullptr;
    freeCallback = nullptr;
    pixelBytes = 0;
    ownedMemory.reset();
}

Long32 AlignedMemoryBuffer::CreateNew(unsigned char* memory, void* context, AllocCallback alloc,
                                      ULong32 bytesPerLine, ULong32 lines, WorkAround64KaliasEnum) noexcept {
    if (bufferAlignment % lineAlignment != 0) {
        ClearAll();
        return kStatusBadArgument;
    }

    // 64 bits hold every intermediate: two factors below 2^32 and less than 2^34 on top.
    const bool enabled = std::atomic_ref<bool>(enable64KBaliasingWorkAround).load(std::memory_order_relaxed);
    const bool reserve = enabled && kOffsetStep % bufferAlignment == 0;
    const std::uint64_t linePitch = RoundUp<std::uint64_t>(bytesPerLine, lineAlignment);
    constexpr std::uint64_t kLargest = std::numeric_limits<std::uint32_t>::max();
    if (linePitch > kLargest) {
        ClearAll();
        return kStatusNoPixelMemory;
    }
    const std::uint64_t pixels = linePitch * lines;
    if (pixels > kLargest) {
        ClearAll();
        return kStatusNoPixelMemory;
    }
    const std::uint64_t usable = pixels + (reserve ? kReserve : 0U);
    // From the first aligned address on there is room for a whole number of alignment units.
    const std::uint64_t total = RoundUp<std::uint64_t>(usable, bufferAlignment) + bufferAlignment - 1U;
    if (total > kLargest) {
        ClearAll();
        return kStatusNoPixelMemory;
    }
    if (reserve) {
        AdjustBufferAlignment(bufferAlignment, lineAlignment);
    }

    if (memory) {
        rawPointer = memory;
        ownsMemory = false;
    } else {
        rawPointer =
            alloc ? FromHost(alloc, context, static_cast<ULong32>(total), bufferAlignment, lineAlignment)
                  : FromHeap(static_cast<std::size_t>(total));
        if (!rawPointer) {
            ClearAll();
            return kStatusNoPixelMemory;
        }
        ownsMemory = true;
        try {
            ownedMemory.reset(rawPointer,
                              [hostContext = allocatorContext, release = freeCallback](void* block) {
                                  release ? release(hostContext, block) : ::operator delete(block);
                              });
        } catch (const std::bad_alloc&) {  // the memory is released already
            ClearAll();
            return kStatusNoPixelMemory;
        }
    }

    const std::uintptr_t start = reinterpret_cast<std::uintptr_t>(rawPointer);
    const std::uintptr_t aligned = RoundUp<std::uintptr_t>(start, bufferAlignment);
    if (aligned < start) {  // given memory so high that its next aligned address does not exist
        ClearAll();
        return kStatusNoPixelMemory;
    }
    alignedPointer = rawPointer + (aligned - start);
    totalSize = static_cast<ULong32>(total);
    usableSize = static_cast<ULong32>(usable);
    pixelBytes = static_cast<ULong32>(pixels);
    numberOfLines = lines;
    pitch = lines > 1 ? static_cast<ULong32>(linePitch) : 0;

    // The memory may be aligned better than was asked for.
    bufferAlignment = std::max(bufferAlignment, PowerOfTwoIn(aligned));
    lineAlignment = std::max(lineAlignment, PowerOfTwoIn(aligned | pitch));
    return kStatusOk;
}

void AlignedMemoryBuffer::AdjustBufferAlignment(ULong32& startAlignment, ULong32 alignmentOfLines) noexcept {
    if (!CPUinstructionSet.IsSSE2supported() || (startAlignment == 1 && alignmentOfLines == 1)) {
        return;
    }
    // Buffers may be made on several threads at once. Two of them may get the same position, which costs only
    // speed.
    const std::atomic_ref<ULong32> nextOffset(additionalOffsetFor64KBaliasing);
    const ULong32 offset = nextOffset.load(std::memory_order_relaxed);
    if (offset >= startAlignment && offset % startAlignment == 0) {
        startAlignment = offset;
    }
    const ULong32 next = offset + kOffsetStep;
    nextOffset.store(next > kLastOffset ? kOffsetStep : next, std::memory_order_relaxed);
}

}  // namespace Zan
