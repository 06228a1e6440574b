#ifndef TESSELU_SRC_CONVERT_REMEMBEREDCALL_H
#define TESSELU_SRC_CONVERT_REMEMBEREDCALL_H

#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "convert/ConversionPlan.h"
#include "image/ViewPlane.h"

namespace Zan {

/// How a picture was described and selected, but for the addresses of its memory: pictures alike need not be
/// looked at again.
class PictureNotes {
public:
    /// Notes a picture whose first four channels have these planes. False where there is more to note than
    /// fits here, or where a plane starts outside of its memory.
    bool Take(const ImageView& view, const std::array<Plane, 4>& planes) noexcept {
        const ImageDescriptor& descriptor = *view.GetImage()->GetImageDescriptor();
        count = descriptor.channels.size();
        if (count > of.size()) {
            return false;
        }
        const Rectangle selected = view.GetRegionOfInterest();
        Note(region, &selected, 0);
        field = view.GetFieldOfInterest();
        for (std::size_t i = 0; i < format.size(); ++i) {
            Note(format[i], &descriptor, FormatOffset(i));
        }
        const AlignedMemoryBuffer* previous = nullptr;
        for (std::size_t i = 0; i < count; ++i) {
            const ChannelDescriptor& record = descriptor.channels[i];
            if (planes[i].first < planes[i].begin || planes[i].first >= planes[i].end) {
                return false;
            }
            for (std::size_t k = 0; k < kChannelBlocks; ++k) {
                Note(descriptions[i][k], &record.width, k * sizeof(Block));
            }
            const AlignedMemoryBuffer* const memory = record.memory.get();
            of[i] = {LastWord(record), memory->GetPitch(), memory->GetPixelBytes(), memory == previous,
                     AddressOf(*memory)};
            previous = memory;
        }
        return true;
    }

    /// Whether a view selects the same of a picture that is described alike, in memory that is laid out
    /// alike. `moved` gets bits where that memory lies elsewhere.
    bool Fit(const ImageView& view, std::uintptr_t& moved) const noexcept {
        const Image* const image = view.GetImage();
        const ImageDescriptor* const descriptor = image != nullptr ? image->GetImageDescriptor() : nullptr;
        if (descriptor == nullptr || descriptor->channels.size() != count ||
            view.GetFieldOfInterest() != field) {
            return false;
        }
        // Asked by every call: all differences first, then one branch.
        const Rectangle selected = view.GetRegionOfInterest();
        Block differences{};
        Compare(region, &selected, 0, differences);
        for (std::size_t i = 0; i < format.size(); ++i) {
            Compare(format[i], descriptor, FormatOffset(i), differences);
        }
        std::uint32_t otherDifferences = 0;
        const AlignedMemoryBuffer* previous = nullptr;
        const ChannelDescriptor* const channels = descriptor->channels.data();
        for (std::size_t i = 0; i < count; ++i) {
            const ChannelDescriptor& record = channels[i];
            for (std::size_t k = 0; k < kChannelBlocks; ++k) {
                Compare(descriptions[i][k], &record.width, k * sizeof(Block), differences);
            }
            otherDifferences |= LastWord(record) ^ of[i].lastWord;
            // Channels of packed formats share their memory.
            const AlignedMemoryBuffer* const memory = record.memory.get();
            if (memory != previous || !of[i].sharesMemory) {
                if (memory == nullptr || memory->GetAlignedPointer() == nullptr) {
                    return false;
                }
                otherDifferences |=
                    (memory->GetPitch() ^ of[i].pitch) | (memory->GetPixelBytes() ^ of[i].bytes);
                moved |= AddressOf(*memory) ^ of[i].base;
                previous = memory;
            }
        }
        return (differences[0] | differences[1] | otherDifferences) == 0;
    }

    /// Calls `move(channel, bytes)` for each channel of a picture that fits whose memory lies elsewhere than
    /// that of the picture before it.
    template <class Move>
    void Follow(const ImageView& view, Move move) noexcept {
        const auto& channels = view.GetImage()->GetImageDescriptor()->channels;
        for (std::size_t i = 0; i < count; ++i) {
            const std::uintptr_t base = AddressOf(*channels[i].memory);
            if (base != of[i].base) {
                move(i, static_cast<std::ptrdiff_t>(base - of[i].base));
                of[i].base = base;
            }
        }
    }

private:
    using Block = std::uint64_t __attribute__((vector_size(16)));

    static void Note(Block& block, const void* record, std::size_t byte) noexcept {
        std::memcpy(&block, static_cast<const unsigned char*>(record) + byte, sizeof block);
    }
    static void Compare(const Block& noted, const void* record, std::size_t byte,
                        Block& differences) noexcept {
        Block now;
        Note(now, record, byte);
        differences |= now ^ noted;
    }

    static std::uintptr_t AddressOf(const AlignedMemoryBuffer& memory) noexcept {
        return reinterpret_cast<std::uintptr_t>(memory.GetAlignedPointer());
    }

    // The fields of either record in one piece: before its channels, of which the last block overlaps the one
    // before it, and behind its memory, whose last word is by itself.
    static_assert(std::is_standard_layout_v<ImageDescriptor> && std::is_standard_layout_v<ChannelDescriptor>);
    static constexpr std::size_t kFormatBytes = 15 * sizeof(ULong32), kChannelBytes = 13 * sizeof(ULong32);
    static constexpr std::size_t kChannelBlocks = kChannelBytes / sizeof(Block);
    static_assert(offsetof(ImageDescriptor, aggregateBits) + sizeof(ULong32) == kFormatBytes &&
                  sizeof(AggregateBitsPerChannelEnum) == sizeof(ULong32));
    static_assert(offsetof(ChannelDescriptor, clampHighLevel) + sizeof(float) -
                          offsetof(ChannelDescriptor, width) ==
                      kChannelBytes &&
                  kChannelBytes == kChannelBlocks * sizeof(Block) + sizeof(float));
    static_assert(sizeof(Rectangle) == sizeof(Block) && std::is_trivially_copyable_v<Rectangle>);

    static constexpr std::size_t FormatOffset(std::size_t i) noexcept {
        return std::min(i * sizeof(Block), kFormatBytes - sizeof(Block));
    }
    static std::uint32_t LastWord(const ChannelDescriptor& record) noexcept {
        std::uint32_t word = 0;
        std::memcpy(&word, &record.clampHighLevel, sizeof word);
        return word;
    }

    struct Channel {
        std::uint32_t lastWord = 0;
        ULong32 pitch = 0, bytes = 0;
        bool sharesMemory = false;  ///< with the channel before it
        std::uintptr_t base = 0;
    };

    Block region{};
    std::array<Block, 4> format{};
    std::array<std::array<Block, kChannelBlocks>, 4> descriptions{};
    std::array<Channel, 4> of;
    WhichFieldEnum field = kFrame;
    std::size_t count = 0;
};

/// The plan of a converter's last call with views. Hosts convert the same formats all day: the next call on
/// pictures that are described alike takes it as it is, with their addresses.
class RememberedCall {
public:
    /// What a call depends on besides its pictures. One with a matrix or offsets of its own is not kept.
    struct Settings {
        ProcessingStyleEnum style;
        ULong32 plusFunction;
        std::uint8_t alphaFill;
        CPUinstructionSetEnum instructions;

        bool operator==(const Settings&) const = default;
    };

    /// The plan of the call, without planes, for a new one to be made; what was kept is forgotten.
    ConversionPlan& Begin() noexcept {
        isKept = false;
        plan.job.planes = {};
        return plan;
    }

    /// Keeps the plan, which was made for these views and reads default coefficients only.
    void Keep(const ImageView& newSource, const ImageView& newDestination,
              const Settings& newSettings) noexcept {
        settings = newSettings;
        isKept = plan.job.planes.isInside && source.Take(newSource, plan.job.planes.source) &&
                 destination.Take(newDestination, plan.job.planes.destination);
    }

    void Forget() noexcept { isKept = false; }

    /// The kept plan, if the call is the same but for the addresses, with which `moveSource` and
    /// `moveDestination` are called as by `PictureNotes::Follow`; else null.
    template <class MoveSource, class MoveDestination>
    ConversionPlan* Recall(const ImageView& newSource, const ImageView& newDestination,
                           const Settings& newSettings, MoveSource moveSource,
                           MoveDestination moveDestination) noexcept {
        std::uintptr_t moved = 0;
        if (!isKept || settings != newSettings || !source.Fit(newSource, moved) ||
            !destination.Fit(newDestination, moved)) {
            return nullptr;
        }
        if (moved == 0) {
            return &plan;
        }
        const auto follow = [](PictureNotes& notes, const ImageView& view, std::array<Plane, 4>& planes,
                               auto move) {
            notes.Follow(view, [&](std::size_t channel, std::ptrdiff_t bytes) {
                Plane& plane = planes[channel];
                plane.first += bytes;
                plane.begin += bytes;
                plane.end += bytes;
                move(channel, bytes);
            });
        };
        follow(source, newSource, plan.job.planes.source, moveSource);
        follow(destination, newDestination, plan.job.planes.destination, moveDestination);
        return &plan;
    }

private:
    bool isKept = false;
    Settings settings;
    PictureNotes source, destination;
    ConversionPlan plan;
};

}  // namespace Zan

#endif  // TESSELU_SRC_CONVERT_REMEMBEREDCALL_H
