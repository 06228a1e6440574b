#ifndef TESSELU_FOUNDATION_ALIGNEDMEMORYBUFFER_H
#define TESSELU_FOUNDATION_ALIGNEDMEMORYBUFFER_H

#include <TesselU/foundation/CPUcapabilities.h>
#include <TesselU/foundation/RCObject.h>
#include <TesselU/foundation/Types.h>

#include <memory>

namespace Zan {

class BufferSeam;

/// An argument of every constructor, accepted and ignored: `SetEnable64KBaliasingWorkAround` decides.
enum WorkAround64KaliasEnum : int { kNoAliasWorkAround = 0, kAliasWorkAround = 1 };

/// A block of pixel memory with a promised alignment of its start and of every line. It allocates the memory,
/// wraps memory of the host, or obtains it through callbacks of the host. It never changes once constructed.
///
/// Alignments are in bytes, need not be powers of two, and 0 counts as 1. `bufferAlignment` must be a
/// multiple of `lineAlignment`. Constructors do not throw: when the arguments do not fit, the memory cannot
/// be had or a size exceeds 32 bits, the buffer is empty, with a null `GetAlignedPointer()`.
class TESSELU_API AlignedMemoryBuffer : public Tuk::RCObject {
public:
    /// Returns at least `totalSize` bytes or null. It need not align: the buffer rounds up by itself.
    using AllocCallback = unsigned char* (*)(void* context, ULong32 totalSize, ULong32 bufferAlignment,
                                             ULong32 lineAlignment);
    /// Takes back what the allocation callback returned.
    using FreeCallback = void (*)(void* context, void* memory);

    /// One line of `size` bytes, allocated.
    AlignedMemoryBuffer(ULong32 size, ULong32 bufferAlignment, WorkAround64KaliasEnum workAround) noexcept;
    /// `lines` lines of `bytesPerLine` bytes rounded up to `lineAlignment`, allocated.
    AlignedMemoryBuffer(ULong32 bytesPerLine, ULong32 lines, ULong32 bufferAlignment, ULong32 lineAlignment,
                        WorkAround64KaliasEnum workAround) noexcept;
    /// One line in memory of the host, which keeps it; allocated if `memory` is null. An unaligned `memory`
    /// is moved forward to the next aligned address.
    AlignedMemoryBuffer(unsigned char* memory, ULong32 size, ULong32 bufferAlignment,
                        WorkAround64KaliasEnum workAround) noexcept;
    /// Lines in memory of the host, which keeps it; allocated if `memory` is null.
    AlignedMemoryBuffer(unsigned char* memory, ULong32 bytesPerLine, ULong32 lines, ULong32 bufferAlignment,
                        ULong32 lineAlignment, WorkAround64KaliasEnum workAround) noexcept;
    /// One line in memory obtained from `alloc` and given back to `release`. `context` and both callbacks
    /// must not be null, else the buffer is empty.
    AlignedMemoryBuffer(void* context, AllocCallback alloc, FreeCallback release, ULong32 size,
                        ULong32 bufferAlignment, WorkAround64KaliasEnum workAround) noexcept;
    /// Lines in memory obtained from `alloc` and given back to `release`.
    AlignedMemoryBuffer(void* context, AllocCallback alloc, FreeCallback release, ULong32 bytesPerLine,
                        ULong32 lines, ULong32 bufferAlignment, ULong32 lineAlignment,
                        WorkAround64KaliasEnum workAround) noexcept;

    /// Copies are shallow: every field but the reference count is copied and no memory is duplicated. Memory
    /// that the buffer allocated, or had from callbacks, is released with the last copy.
    AlignedMemoryBuffer(const AlignedMemoryBuffer& other) noexcept = default;
    AlignedMemoryBuffer& operator=(const AlignedMemoryBuffer& other) noexcept = default;

    ~AlignedMemoryBuffer() override;

    /// The first byte for pixels; null in an empty buffer.
    unsigned char* GetAlignedPointer() const noexcept { return alignedPointer; }
    /// The alignment that `GetAlignedPointer()` really has, which may be better than the one asked for.
    ULong32 GetBufferAlignment() const noexcept { return bufferAlignment; }
    /// The alignment that the start of every line really has.
    ULong32 GetLineAlignment() const noexcept { return lineAlignment; }
    /// Bytes requested from the allocator.
    ULong32 GetTotalSize() const noexcept { return totalSize; }
    /// Pitch times lines, plus 64 KB where the aliasing workaround was in force. Those 64 KB are room for the
    /// displaced start, not for pixels: see `GetPixelBytes()`.
    ULong32 size() const noexcept { return usableSize; }
    /// Bytes from `GetAlignedPointer()` that belong to the lines.
    ULong32 GetPixelBytes() const noexcept { return pixelBytes; }
    /// Bytes from one line to the next; 0 for a buffer of one line.
    ULong32 GetPitch() const noexcept { return pitch; }
    ULong32 GetNumberOfLines() const noexcept { return numberOfLines; }

    /// Turns the workaround for 64 KB aliasing on or off for buffers made from now on, in the whole process.
    /// Off by default. With it buffers that ask for an alignment that divides 1024 start at different 1 KB
    /// positions within 64 KB (SSE2 only) and are 64 KB larger. Memory of the host is treated the same: it
    /// must have these 64 KB as well.
    static void SetEnable64KBaliasingWorkAround(bool enable) noexcept;

private:
    friend class BufferSeam;

    void ClearAll() noexcept;
    Long32 CreateNew(unsigned char* memory, void* context, AllocCallback alloc, ULong32 bytesPerLine,
                     ULong32 lines, WorkAround64KaliasEnum workAround) noexcept;
    void AdjustBufferAlignment(ULong32& bufferAlignment, ULong32 lineAlignment) noexcept;

    static bool enable64KBaliasingWorkAround;
    static ULong32 additionalOffsetFor64KBaliasing;
    static ULong32 additionalMemoryFor64KBaliasing;
    static CPUcapabilities& CPUinstructionSet;

    unsigned char* rawPointer = nullptr;
    unsigned char* alignedPointer = nullptr;
    ULong32 bufferAlignment = 1;
    ULong32 totalSize = 0;
    ULong32 usableSize = 0;
    ULong32 lineAlignment = 1;
    ULong32 pitch = 0;
    ULong32 numberOfLines = 0;
    bool ownsMemory = false;
    void* allocatorContext = nullptr;
    FreeCallback freeCallback = nullptr;
    ULong32 pixelBytes = 0;
    std::shared_ptr<void> ownedMemory;  ///< releases `rawPointer`; empty without `ownsMemory`
};

}  // namespace Zan

#endif  // TESSELU_FOUNDATION_ALIGNEDMEMORYBUFFER_H
