#ifndef TESSELU_TESTS_COMPOSITE_PICTURES_H
#define TESSELU_TESTS_COMPOSITE_PICTURES_H

#include <TesselU/composite/ZanCompositor.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "foundation/CapabilitySeam.h"
#include "simd/Targets.h"
#include "support/FencedMemory.h"
#include "support/Streaming.h"

namespace composite_test {

using namespace test_support;

/// What a class believes the processor to be, and the object's flag.
struct Machine {
    Zan::CPUinstructionSetEnum set;
    bool mmxOnly;

    bool HasSse2() const { return set == Zan::kSSE2; }
    /// Integer SSE is there and not held back.
    bool TakesSse() const { return set >= Zan::kSSE_MMX && !mmxOnly; }
};

inline void PrintTo(const Machine& machine, std::ostream* out) {
    static const char* const names[] = {"scalar", "MMX", "SSE_MMX", "SIMD", "SSE2"};
    *out << names[machine.set] << (machine.mmxOnly ? " MMX-only" : "");
}

inline const std::vector<Machine>& AllMachines() {
    static const std::vector<Machine> machines = {
        {Zan::kMMX, false},  {Zan::kMMX, true},  {Zan::kSSE_MMX, false}, {Zan::kSSE_MMX, true},
        {Zan::kSIMD, false}, {Zan::kSIMD, true}, {Zan::kSSE2, false},    {Zan::kSSE2, true}};
    return machines;
}

/// Every style that has a name, and two that have none.
inline const std::vector<int>& AllStyles() {
    static const std::vector<int> styles = {0, 1, 2, 3, 4, 5, 6, -1, 1000};
    return styles;
}

inline Zan::ProcessingStyleEnum Style(int number) {
    return static_cast<Zan::ProcessingStyleEnum>(number);
}

/// t/255 rounded to nearest, halves upward, as the rounding division is defined.
inline unsigned Div255Round(unsigned t) {
    return ((2 * t) / 255 + 1) >> 1;
}

inline std::uint8_t Blend255(unsigned alpha, unsigned a, unsigned b) {
    return static_cast<std::uint8_t>(Div255Round((255 - alpha) * a + alpha * b));
}

/// The bytes of a plane and of the guards around it as they are expected to be. Every access is checked.
struct PlaneModel {
    Bytes bytes;
    std::ptrdiff_t first;  ///< of row 0, in `bytes`
    std::ptrdiff_t pitch;

    std::uint8_t& At(std::ptrdiff_t row, std::ptrdiff_t byte) { return AtPitch(pitch, row, byte); }
    std::uint8_t At(std::ptrdiff_t row, std::ptrdiff_t byte) const {
        return bytes.at(static_cast<std::size_t>(first + row * pitch + byte));
    }
    /// The same for a kernel that walks with another pitch than the one given to it.
    std::uint8_t& AtPitch(std::ptrdiff_t walked, std::ptrdiff_t row, std::ptrdiff_t byte) {
        return bytes.at(static_cast<std::size_t>(first + row * walked + byte));
    }
    std::uint8_t AtPitch(std::ptrdiff_t walked, std::ptrdiff_t row, std::ptrdiff_t byte) const {
        return bytes.at(static_cast<std::size_t>(first + row * walked + byte));
    }
};

/// Random memory with a plane somewhere in it, for the raw-pointer operations: rows, padding and guards all
/// hold random bytes, so that a comparison of the whole tells what was written where.
class RawPlane {
public:
    /// `shift` is the address of the first row modulo 64.
    RawPlane(std::size_t rowBytes, std::size_t rows, std::ptrdiff_t signedPitch, std::size_t shift = 0)
        : pitch(signedPitch) {
        const std::size_t below =
            rows ? (rows - 1) * static_cast<std::size_t>(pitch < 0 ? -pitch : pitch) : 0;
        // Pitches may be cut by up to three bytes a row.
        const std::size_t guard = (64 + 4 * rows) / 64 * 64 + 64;
        const std::size_t lead = guard + (pitch < 0 ? (below + 63) / 64 * 64 : 0);
        memory.resize(64 + lead + shift + (pitch < 0 ? 0 : below) + rowBytes + guard);
        FillRandom(memory.data(), memory.size());
        offset = (64 - reinterpret_cast<std::uintptr_t>(memory.data()) % 64) % 64 + lead + shift;
    }
    RawPlane(const RawPlane&) = delete;
    RawPlane& operator=(const RawPlane&) = delete;

    std::uint8_t* First() { return memory.data() + offset; }
    Zan::ULong32* Words() { return reinterpret_cast<Zan::ULong32*>(First()); }
    Zan::Long32 Pitch() const { return static_cast<Zan::Long32>(pitch); }
    PlaneModel Model() const { return {memory, static_cast<std::ptrdiff_t>(offset), pitch}; }
    const Bytes& Memory() const { return memory; }

private:
    Bytes memory;
    std::size_t offset = 0;
    std::ptrdiff_t pitch;
};

/// Whether `actual` is what the model expects, with the first difference in words.
inline ::testing::AssertionResult Matches(const PlaneModel& expected, const Bytes& actual) {
    if (expected.bytes.size() != actual.size()) {
        return ::testing::AssertionFailure() << "sizes differ";
    }
    for (std::size_t i = 0; i < actual.size(); ++i) {
        if (expected.bytes[i] == actual[i]) {
            continue;
        }
        return ::testing::AssertionFailure()
               << "byte " << static_cast<std::ptrdiff_t>(i) - expected.first
               << " from the first row's start (pitch " << expected.pitch << "): expected "
               << unsigned{expected.bytes[i]} << ", is " << unsigned{actual[i]};
    }
    return ::testing::AssertionSuccess();
}

/// What a picture is to be like; the defaults are a small RGB one.
struct Format {
    Zan::ULong32 width = 16;
    Zan::ULong32 height = 4;
    Zan::ColorSpaceEnum colorSpace = Zan::kRGB;
    Zan::AggregateChannelSamplingEnum sampling = Zan::k4444;
    Zan::ULong32 padding = 0;       ///< bytes of a line beyond its pixels
    Zan::ULong32 alphaPadding = 0;  ///< the same for the alpha plane
    Zan::OriginEnum origin = Zan::kTopLeft;
    Zan::ScanStyleEnum scan = Zan::kProgressive;
    Zan::AggregateBitsPerChannelEnum bits = Zan::k8Bits;
    /// Bytes between the plane's last one and the fence, which moves its address.
    std::size_t slack = 0;
    Zan::PixelPackingEnum packing = Zan::kPacked;
    Zan::ComponentOrderEnum order = Zan::kBGRA;  ///< of planar pictures only

    static Format Rgb(Zan::ULong32 width, Zan::ULong32 height) { return {width, height}; }
    static Format Grey(Zan::ULong32 width, Zan::ULong32 height) { return {width, height, Zan::kAlphaOnly}; }
    static Format YCrCb(Zan::ULong32 width, Zan::ULong32 height, Zan::AggregateChannelSamplingEnum sampling) {
        return {width, height, Zan::kYCrCb, sampling};
    }
    Format Padded(Zan::ULong32 bytes, Zan::ULong32 alphaBytes = 0) const {
        Format format = *this;
        format.padding = bytes;
        format.alphaPadding = alphaBytes;
        return format;
    }
    Format BottomLeft() const {
        Format format = *this;
        format.origin = Zan::kBottomLeft;
        return format;
    }
    Format Interlaced(Zan::ScanStyleEnum order_ = Zan::kUpperFieldFirst) const {
        Format format = *this;
        format.scan = order_;
        return format;
    }
    Format Bits(Zan::AggregateBitsPerChannelEnum sampleBits) const {
        Format format = *this;
        format.bits = sampleBits;
        return format;
    }
    Format Slack(std::size_t bytes) const {
        Format format = *this;
        format.slack = bytes;
        return format;
    }
};

/// A random image in memory that ends at a fence. Bytes of the plane's own lines only belong to the image;
/// guards before it and the slack after it must never change.
class Picture {
public:
    explicit Picture(const Format& wanted) : format(wanted) {
        Zan::ImageDescriptor descriptor(wanted.width, wanted.height, wanted.colorSpace, wanted.sampling,
                                        wanted.packing == Zan::kPlanar     ? wanted.order
                                        : wanted.colorSpace == Zan::kYCrCb ? Zan::kCbYCrA
                                                                           : Zan::kBGRA,
                                        wanted.packing, wanted.scan, Zan::kInterleavedFields, wanted.origin,
                                        wanted.bits, 1.0F, Zan::kUnshaped);
        const Zan::ULong32 sampleBytes = wanted.bits == Zan::k16Bits   ? 2
                                         : wanted.bits == Zan::k32Bits ? 4
                                                                       : 1;
        const Zan::ULong32 width = wanted.sampling == Zan::k422 || wanted.sampling == Zan::k4224
                                       ? wanted.width + wanted.width % 2
                                       : wanted.width;
        Zan::ULong32 lineBytes = 0;
        if (wanted.colorSpace == Zan::kAlphaOnly) {
            lineBytes = sampleBytes * width;
        } else if (wanted.packing == Zan::kPlanar) {
            lineBytes = width;
        } else if (wanted.sampling == Zan::k4444) {
            lineBytes = 4 * sampleBytes * width;
        } else if (wanted.sampling == Zan::k444) {
            lineBytes = 3 * width;
        } else {
            lineBytes = 2 * width;
        }
        lineBytes += wanted.padding;
        const Zan::ULong32 alphaBytes = width + wanted.alphaPadding;
        colour = std::make_unique<FencedMemory>(std::size_t{lineBytes} * wanted.height + wanted.slack);
        // The second and third plane only where the format has them.
        const bool second = wanted.sampling == Zan::k4224 || wanted.packing == Zan::kPlanar;
        const std::size_t alphaLength = second ? std::size_t{alphaBytes} * wanted.height + wanted.slack : 0;
        alpha = std::make_unique<FencedMemory>(alphaLength);
        third = std::make_unique<FencedMemory>(wanted.packing == Zan::kPlanar ? alphaLength : 0);
        unsigned char* planes[] = {colour->Data(), alpha->Data(), third->Data(), nullptr};
        Zan::ULong32 pitches[] = {lineBytes, alphaBytes, alphaBytes, 0};
        image = std::make_unique<Zan::Image>(planes, pitches, descriptor, 1, 1);
    }

    operator Zan::Image*() { return image.get(); }
    Zan::Image& operator*() { return *image; }
    Zan::Image* operator->() { return image.get(); }

    /// What memory holds now, as a view on channel 0 (or 3, the separate alpha plane) walks it.
    PlaneModel Model(Zan::ImageView& view, Zan::ULong32 channel = 0) const {
        const FencedMemory& memory = channel == 3 ? *alpha : *colour;
        const auto* first = static_cast<const std::uint8_t*>(view.GetMemoryPointer(channel));
        return {memory.Snapshot(),
                first - const_cast<FencedMemory&>(memory).Data() +
                    static_cast<std::ptrdiff_t>(memory.GuardLength()),
                view.GetPitch(channel)};
    }
    /// One past the image's last byte, as an offset in the model's bytes.
    std::ptrdiff_t End(Zan::ULong32 channel = 0) const {
        const FencedMemory& memory = channel == 3 ? *alpha : *colour;
        return static_cast<std::ptrdiff_t>(memory.GuardLength() + memory.Length() - format.slack);
    }
    std::ptrdiff_t Begin(Zan::ULong32 channel = 0) const {
        return static_cast<std::ptrdiff_t>((channel == 3 ? *alpha : *colour).GuardLength());
    }
    Bytes Colour() const { return colour->Snapshot(); }
    Bytes Alpha() const { return alpha->Snapshot(); }
    FencedMemory& ColourMemory() { return *colour; }
    FencedMemory& AlphaMemory() { return *alpha; }
    /// True when nothing outside the image's planes differs from `before`.
    bool GuardsHold(const Bytes& colourBefore, const Bytes& alphaBefore) const {
        return GuardHolds(*colour, colourBefore) && GuardHolds(*alpha, alphaBefore);
    }

private:
    bool GuardHolds(const FencedMemory& memory, const Bytes& before) const {
        const Bytes now = memory.Snapshot();
        const std::size_t end = memory.GuardLength() + memory.Length() - (memory.Length() ? format.slack : 0);
        for (std::size_t i = 0; i < now.size(); ++i) {
            if ((i < memory.GuardLength() || i >= end) && now[i] != before[i]) {
                return false;
            }
        }
        return true;
    }

    Format format;
    std::unique_ptr<FencedMemory> colour;
    std::unique_ptr<FencedMemory> alpha;
    std::unique_ptr<FencedMemory> third;
    std::unique_ptr<Zan::Image> image;
};

/// A part of a picture as a view.
inline Zan::ImageView Part(Picture& picture, Zan::Long32 left, Zan::Long32 top, Zan::Long32 width,
                           Zan::Long32 height, Zan::WhichFieldEnum field = Zan::kFrame) {
    return Zan::ImageView(picture, Zan::Rectangle(left, top, width, height), field);
}

namespace internal {

template <class Body>
void RunAs(const Machine& machine, Zan::simd::Target target, bool aroundCache, Body& body) {
    SCOPED_TRACE(::testing::PrintToString(machine) + " on " + Zan::simd::TargetName(target) +
                 (aroundCache ? ", streaming" : ""));
    const Zan::ScopedInstructionSet scope(machine.set);
    const Zan::simd::ScopedTarget limit(target);
    const ScopedStreaming streaming(aroundCache);
    Zan::ZanCompositor compositor;
    compositor.SetMMXonlyStyle(machine.mmxOnly);
    body(compositor, machine);
}

}  // namespace internal

/// Runs `body(compositor, machine)` as on every machine, on every target of the vector bodies and, on the
/// best of them, with stores around the cache as well.
template <class Body>
void OnEveryMachine(Body body) {
    for (const Machine& machine : AllMachines()) {
        for (std::size_t i = 0; i < Zan::simd::kTargetCount; ++i) {
            const auto target = static_cast<Zan::simd::Target>(i);
            if (!Zan::simd::IsTargetAvailable(target)) {
                continue;
            }
            internal::RunAs(machine, target, false, body);
            if (target == Zan::simd::BestTarget()) {
                internal::RunAs(machine, target, true, body);
            }
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    }
}

/// Runs `body(compositor, machine)` with stores around the cache, on every target and every path. Rows must
/// be some hundred pixels wide for such stores to happen at all.
template <class Body>
void StreamingOnEveryTarget(Body body) {
    for (const Machine machine :
         {Machine{Zan::kMMX, false}, Machine{Zan::kSSE_MMX, false}, Machine{Zan::kSSE2, false}}) {
        for (std::size_t i = 0; i < Zan::simd::kTargetCount; ++i) {
            const auto target = static_cast<Zan::simd::Target>(i);
            if (Zan::simd::IsTargetAvailable(target)) {
                internal::RunAs(machine, target, true, body);
            }
            if (::testing::Test::HasFatalFailure()) {
                return;
            }
        }
    }
}

}  // namespace composite_test

#endif  // TESSELU_TESTS_COMPOSITE_PICTURES_H
