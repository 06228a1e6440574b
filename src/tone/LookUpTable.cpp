#include <TesselU/tone/LookUpTable.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

#include "foundation/ClassCapabilities.h"
#include "foundation/Elementary.h"
#include "tone/PairViews.h"
#include "tone/kernels/LookUp.h"

namespace Zan {
namespace {

constexpr ULong32 kTableAlignment = 128;
constexpr std::size_t kByteValues = 256;

/// The low 32 bits of the truncated value; 0 for what 64 bits do not hold.
std::uint32_t Truncated(double value) noexcept {
    constexpr double kLimit = 9223372036854775808.0;  // 2^63
    return value > -kLimit && value < kLimit ? static_cast<std::uint32_t>(static_cast<std::int64_t>(value))
                                             : 0U;
}

/// Transfer curves of ITU-R BT.601 and BT.709.
struct GammaCurve {
    static constexpr double kEncode = 0.45, kDecode = 1.0 / 0.45;

    TypeOfGamma type;

    double operator()(double x) const {
        switch (type) {
            case kGammaVideoEncode:
                return x > 1.0 ? x : Encoded(x);
            case kGammaVideoDecode:
                return x > 1.0 ? x : Decoded(x);
            case kGammaVideoEncodeOpenRange:
                return Encoded(x);
            case kGammaVideoDecodeOpenRange:
                return Decoded(x);
            default:
                return x;
        }
    }

private:
    static double Encoded(double x) { return x < 0.018 ? 4.5 * x : 1.099 * Power(x, kEncode) - 0.099; }
    static double Decoded(double x) {
        return x < 0.0812 ? x * 0.2222222222222222 : Power((x + 0.099) * 0.9099181073703367, kDecode);
    }
};

}  // namespace

constinit CPUcapabilities& LookUpTable::CPUinstructionSet = classCapabilities[kOwnerLookUpTable];

LookUpTable::LookUpTable(ULong32 newNumberOfLUTs, ULong32 newNumberOfEntries, ULong32 newBitsPerEntry) {
    Init(newNumberOfLUTs, newNumberOfEntries, newBitsPerEntry);
}

void LookUpTable::Init(ULong32 newNumberOfLUTs, ULong32 newNumberOfEntries, ULong32 newBitsPerEntry) {
    tables.clear();
    numberOfLUTs = newNumberOfLUTs;
    numberOfEntries = newNumberOfEntries;
    bitsPerEntry = std::max<ULong32>(newBitsPerEntry, 1);
    bytesPerEntry = bitsPerEntry / 8 + (bitsPerEntry % 8 != 0 ? 1 : 0);
    bytesPerEntry += bytesPerEntry == 3 ? 1 : 0;
    const std::uint64_t bytes = std::uint64_t{numberOfEntries} * bytesPerEntry;
    if (bytes > std::numeric_limits<ULong32>::max()) {
        return;
    }
    try {
        while (tables.size() < numberOfLUTs) {
            const Tuk::RCPtr<AlignedMemoryBuffer> table(
                new AlignedMemoryBuffer(static_cast<ULong32>(bytes), kTableAlignment, kNoAliasWorkAround));
            tables.push_back(table);
            SetLUTtoIdentity(static_cast<ULong32>(tables.size() - 1));
        }
    } catch (const std::bad_alloc&) {  // the tables that there are stay
    } catch (const std::length_error&) {
    }
}

ULong32 LookUpTable::TableBytes() const noexcept {
    return numberOfEntries * bytesPerEntry;
}

unsigned char* LookUpTable::GetPointerToLUT(ULong32 lut) const noexcept {
    return lut < tables.size() ? tables[lut]->GetAlignedPointer() : nullptr;
}

void LookUpTable::SetLUT(ULong32 lut, ULong32 entry, ULong32 value) noexcept {
    unsigned char* const table = GetPointerToLUT(lut);
    if (table == nullptr || entry >= numberOfEntries) {
        return;
    }
    unsigned char* const at = table + std::size_t{entry} * bytesPerEntry;
    for (ULong32 i = 0; i < bytesPerEntry; ++i) {
        at[i] = static_cast<unsigned char>(i < 4 ? value >> (8 * i) : 0);
    }
}

ULong32 LookUpTable::GetLUT(ULong32 lut, ULong32 entry) const noexcept {
    const unsigned char* const table = GetPointerToLUT(lut);
    if (table == nullptr || entry >= numberOfEntries) {
        return 0;
    }
    const unsigned char* const at = table + std::size_t{entry} * bytesPerEntry;
    ULong32 value = 0;
    for (ULong32 i = 0; i < std::min<ULong32>(bytesPerEntry, 4); ++i) {
        value |= ULong32{at[i]} << (8 * i);
    }
    return value;
}

void LookUpTable::SetLUTtoIdentity(ULong32 lut) noexcept {
    unsigned char* const table = GetPointerToLUT(lut);
    if (table == nullptr) {
        return;
    }
    if (bytesPerEntry == 1) {
        for (std::size_t i = 0; i < numberOfEntries; ++i) {
            table[i] = static_cast<unsigned char>(i);
        }
        return;
    }
    for (ULong32 i = 0; i < numberOfEntries; ++i) {
        SetLUT(lut, i, i);
    }
}

void LookUpTable::SetLUTtoIdentity() noexcept {
    for (ULong32 lut = 0; lut < tables.size(); ++lut) {
        SetLUTtoIdentity(lut);
    }
}

template <class Curve>
void LookUpTable::Fill(ULong32 lut, const Curve& curve, double low, double high) {
    if (GetPointerToLUT(lut) == nullptr) {
        return;
    }
    const std::uint32_t last = numberOfEntries - 1;
    const std::uint32_t most = bitsPerEntry < 32 ? (std::uint32_t{1} << bitsPerEntry) - 1 : 0xFFFFFFFFU;
    const std::uint32_t inLow = Truncated(low * last), outLow = Truncated(low * most);
    const std::uint32_t inSpan = Truncated(high * last) - inLow, outSpan = Truncated(high * most) - outLow;
    const double perEntry = 1.0 / inSpan;
    for (std::uint32_t i = 0; i < numberOfEntries; ++i) {
        const double y = curve((i - inLow) * perEntry);
        const double limited = !(y >= 0.0) ? 0.0 : y >= 1.0 ? 1.0 : y;
        SetLUT(lut, i, std::min(Truncated(limited * outSpan + 0.5) + outLow, most));
    }
}

void LookUpTable::SetLUTtoGammaCorrect(ULong32 lut, TypeOfGamma type, double low, double high) {
    Fill(lut, GammaCurve{type}, low, high);
}

void LookUpTable::SetLUTbyFunction(ULong32 lut, double (*function)(double), double low, double high) {
    if (function != nullptr) {
        Fill(lut, function, low, high);
    }
}

Long32 LookUpTable::Do(ImageView& source, ImageView& destination, ProcessingStyleEnum) const {
    PairViews pairs;
    if (const Long32 status = SelectPairs(source, destination, pairs); status != kStatusOk) {
        return status;
    }
    if (numberOfLUTs < 3) {
        return kStatusOk;
    }
    const std::size_t used = numberOfLUTs == 4 ? 4 : 3;
    const ULong32 height = pairs.size.height;
    LookUpJob alpha = {{}, {}, pairs.size.width, height, pairs.size.width};
    bool hasAlpha = used == 4;
    for (const auto& [view, plane] :
         {std::pair<const ImageView&, Plane&>{source, alpha.source[0]},
          std::pair<const ImageView&, Plane&>{destination, alpha.destination[0]}}) {
        if (hasAlpha) {
            const Long32 status = SelectPlane(view, 3, height, plane);
            hasAlpha = status != kStatusNullPointer;
            if (hasAlpha && status != kStatusOk) {
                return status;
            }
        }
    }

    const std::uint8_t* table[4];
    std::uint8_t padded[4][kByteValues];
    for (ULong32 i = 0; i < used; ++i) {
        table[i] = GetPointerToLUT(i);
        if (table[i] == nullptr) {
            return kStatusNullPointer;
        }
        if (TableBytes() < kByteValues) {
            std::memset(padded[i], 0, kByteValues);
            std::memcpy(padded[i], table[i], TableBytes());
            table[i] = padded[i];
        }
    }
    LookUpPairs(pairs.source, pairs.destination, pairs.size.width, height, {table[0], table[1], table[2]});
    if (hasAlpha) {
        kLookUpBytes(alpha, table[3]);
    }
    return kStatusOk;
}

Long32 LookUpTable::Do_ButUseComponentAndAlphaYCrCb4224(ULong32* source, unsigned char* sourceAlpha,
                                                        ULong32* destination, unsigned char* destinationAlpha,
                                                        ULong32 width, ULong32 height, Long32 sourcePitch,
                                                        Long32 sourceAlphaPitch, Long32 destinationPitch,
                                                        Long32 destinationAlphaPitch) const {
    if (numberOfLUTs < 3 || sourceAlpha == nullptr || destinationAlpha == nullptr) {
        return kStatusOk;
    }
    const AlphaTables set = {{GetPointerToLUT(0), GetPointerToLUT(1), GetPointerToLUT(2)}, TableBytes()};
    if (source == nullptr || destination == nullptr || set.table.first == nullptr ||
        set.table.luma == nullptr || set.table.third == nullptr) {
        return kStatusNullPointer;
    }
    const auto memory = [](auto* address, Long32 pitch) {
        return Plane{reinterpret_cast<std::uint8_t*>(address), pitch};
    };
    kLookUpByAlpha({{memory(source, sourcePitch), memory(sourceAlpha, sourceAlphaPitch)},
                    {memory(destination, destinationPitch), memory(destinationAlpha, destinationAlphaPitch)},
                    width,
                    height,
                    width},
                   set);
    return kStatusOk;
}

}  // namespace Zan
