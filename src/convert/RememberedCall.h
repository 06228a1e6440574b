#ifndef TESSELU_SRC_CONVERT_REMEMBEREDCALL_H
#define TESSELU_SRC_CONVERT_REMEMBEREDCALL_H

#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

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
        region = view.GetRegionOfInterest();
        field = view.GetFieldOfInterest();
        Note(format, &descriptor);
        for (std::size_t i = 0; i < count; ++i) {
            const ChannelDescriptor& record = descriptor.channels[i];
            if (planes[i].first < planes[i].begin || planes[i].first >= planes[i].end) {
                return false;
            }
            Note(of[i].description, &record.width);
            of[i].pitch = record.memory->GetPitch();
            of[i].bytes = record.memory->GetPixelBytes();
            of[i].base = AddressOf(record);
        }
        return true;
    }

    /// Whether a view selects the same of a picture that is described alike, in memory that is laid out
    /// alike.
    bool Fit(const ImageView& view) const noexcept {
        const Image* const image = view.GetImage();
        const ImageDescriptor* const descriptor = image != nullptr ? image->GetImageDescriptor() : nullptr;
        if (descriptor == nullptr || descriptor->channels.size() != count || !Selects(view) ||
            !AreSame(format, descriptor)) {
            return false;
        }
        for (std::size_t i = 0; i < count; ++i) {
            const ChannelDescriptor& record = descriptor->channels[i];
            const AlignedMemoryBuffer* const memory = record.memory.get();
            if (memory == nullptr || memory->GetAlignedPointer() == nullptr ||
                memory->GetPitch() != of[i].pitch || memory->GetPixelBytes() != of[i].bytes ||
                !AreSame(of[i].description, &record.width)) {
                return false;
            }
        }
        return true;
    }

    /// Calls `move(channel, bytes)` for each channel of a picture that fits whose memory lies elsewhere than
    /// that of the picture before it.
    template <class Move>
    void Follow(const ImageView& view, Move move) noexcept {
        const auto& channels = view.GetImage()->GetImageDescriptor()->channels;
        for (std::size_t i = 0; i < count; ++i) {
            const std::uintptr_t base = AddressOf(channels[i]);
            if (base != of[i].base) {
                move(i, static_cast<std::ptrdiff_t>(base - of[i].base));
                of[i].base = base;
            }
        }
    }

private:
    static std::uintptr_t AddressOf(const ChannelDescriptor& record) noexcept {
        return reinterpret_cast<std::uintptr_t>(record.memory->GetAlignedPointer());
    }

    bool Selects(const ImageView& view) const noexcept {
        const Rectangle other = view.GetRegionOfInterest();
        return other.getLeft() == region.getLeft() && other.getTop() == region.getTop() &&
               other.getWidth() == region.getWidth() && other.getHeight() == region.getHeight() &&
               view.GetFieldOfInterest() == field;
    }

    template <std::size_t Bytes>
    static void Note(std::array<unsigned char, Bytes>& notes, const void* now) noexcept {
        std::memcpy(notes.data(), now, Bytes);
    }

    /// Asked a dozen times by every call: one piece of code without a branch.
    template <std::size_t Bytes>
    static bool AreSame(const std::array<unsigned char, Bytes>& notes, const void* now) noexcept {
        constexpr std::size_t kWords = Bytes / sizeof(std::uint64_t);
        static_assert(Bytes % sizeof(std::uint64_t) == 0 || Bytes % sizeof(std::uint64_t) == 4);
        const auto differ = [&](auto word, std::size_t byte) {
            auto noted = word;
            std::memcpy(&noted, notes.data() + byte, sizeof noted);
            std::memcpy(&word, static_cast<const unsigned char*>(now) + byte, sizeof word);
            return std::uint64_t{noted ^ word};
        };
        const std::uint64_t last =
            Bytes % sizeof(std::uint64_t) != 0 ? differ(std::uint32_t{}, Bytes - sizeof(std::uint32_t)) : 0;
        return [&]<std::size_t... I>(std::index_sequence<I...>) {
            return (last | ... | differ(std::uint64_t{}, I * sizeof(std::uint64_t))) == 0;
        }
        (std::make_index_sequence<kWords>());
    }

    // The fields of either record in one piece: before its channels, and behind its memory.
    static_assert(std::is_standard_layout_v<ImageDescriptor> && std::is_standard_layout_v<ChannelDescriptor>);
    static constexpr std::size_t kFormatBytes = 15 * sizeof(ULong32), kChannelBytes = 13 * sizeof(ULong32);
    static_assert(offsetof(ImageDescriptor, aggregateBits) + sizeof(ULong32) == kFormatBytes &&
                  sizeof(AggregateBitsPerChannelEnum) == sizeof(ULong32));
    static_assert(offsetof(ChannelDescriptor, clampHighLevel) + sizeof(float) -
                      offsetof(ChannelDescriptor, width) ==
                  kChannelBytes);

    struct Channel {
        std::array<unsigned char, kChannelBytes> description;
        ULong32 pitch, bytes;
        std::uintptr_t base;
    };

    Rectangle region;
    WhichFieldEnum field = kFrame;
    std::size_t count = 0;
    std::array<unsigned char, kFormatBytes> format;
    std::array<Channel, 4> of;
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
        if (!isKept || settings != newSettings || !source.Fit(newSource) ||
            !destination.Fit(newDestination)) {
            return nullptr;
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
