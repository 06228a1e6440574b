#ifndef TESSELU_SRC_FOUNDATION_BUFFERSEAM_H
#define TESSELU_SRC_FOUNDATION_BUFFERSEAM_H

#include <TesselU/foundation/AlignedMemoryBuffer.h>

namespace Zan {

/// For our own tests, not exported: what is private to a buffer.
class BufferSeam {
public:
    static ULong32& NextStartOffset() { return AlignedMemoryBuffer::additionalOffsetFor64KBaliasing; }
    static ULong32 Reserve() { return AlignedMemoryBuffer::additionalMemoryFor64KBaliasing; }
    static bool IsWorkAroundEnabled() { return AlignedMemoryBuffer::enable64KBaliasingWorkAround; }

    static unsigned char* RawPointer(const AlignedMemoryBuffer& buffer) { return buffer.rawPointer; }
    static bool OwnsMemory(const AlignedMemoryBuffer& buffer) { return buffer.ownsMemory; }
    static void* AllocatorContext(const AlignedMemoryBuffer& buffer) { return buffer.allocatorContext; }
    static AlignedMemoryBuffer::FreeCallback FreeCallback(const AlignedMemoryBuffer& buffer) {
        return buffer.freeCallback;
    }

    /// What the constructors do with an empty `buffer`, and the status that they do not show.
    static Long32 CreateNew(AlignedMemoryBuffer& buffer, ULong32 bufferAlignment, ULong32 lineAlignment,
                            unsigned char* memory, ULong32 bytesPerLine, ULong32 lines) {
        buffer.bufferAlignment = bufferAlignment;
        buffer.lineAlignment = lineAlignment;
        return buffer.CreateNew(memory, nullptr, nullptr, bytesPerLine, lines, kNoAliasWorkAround);
    }
    static void AdjustBufferAlignment(AlignedMemoryBuffer& buffer, ULong32& bufferAlignment,
                                      ULong32 lineAlignment) {
        buffer.AdjustBufferAlignment(bufferAlignment, lineAlignment);
    }
};

}  // namespace Zan

#endif  // TESSELU_SRC_FOUNDATION_BUFFERSEAM_H
