#ifndef TESSELU_TESTS_CONVERT_MODELRUNS_H
#define TESSELU_TESTS_CONVERT_MODELRUNS_H

#include <TesselU/convert/ColorSpaceConverter.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "convert/ConvertedPicture.h"
#include "convert/model/Model.h"
#include "foundation/CapabilitySeam.h"

// A converter and its model, which make the same call, and the comparison of all that it may touch.

namespace convert_test {

using convert_model::Byte;
using convert_model::Path;
using convert_model::Side;

inline const char* NameOf(int format) {
    static const char* const kNames[] = {"RGB32",
                                         "CbYCrA",
                                         "CbYCrY",
                                         "RGB32NarrowClamp",
                                         "RGB32Studio",
                                         "RGB32Open",
                                         "Planar420",
                                         "Planar422",
                                         "Planar420Interlaced",
                                         "Planar411",
                                         "RGB24",
                                         "YCbYCr",
                                         "PlanarGrouped",
                                         "YCbCrA",
                                         "RGB32Shaped",
                                         "CbYCrAShaped",
                                         "CbYCrY4Shaped",
                                         "CbYCrY4",
                                         "CbYCrYMono",
                                         "CbYCrY4Mono",
                                         "RGB32ShapedOpaque",
                                         "CbYCr24",
                                         "CbYCrY4MonoShaped",
                                         "YCbCrAShaped",
                                         "YCbCr24",
                                         "Alpha8"};
    return format < 26 ? kNames[format] : "Unknown";
}

inline int StyleOf(Path path) {
    static constexpr std::array<int, 5> kStyles = {2, 0, 1, 3, 6};
    return kStyles[static_cast<std::size_t>(path)];
}
inline const char* NameOf(Path path) {
    static constexpr std::array<const char*, 5> kNames = {"Integer", "Float", "FixedPoint", "FloatSimd",
                                                          "General"};
    return kNames[static_cast<std::size_t>(path)];
}

/// Code values that a result may be off, where no more than that is promised: the one table of them.
inline int ToleranceOf(Path path, int source, int destination) {
    if (path == Path::kFloatSimd) {
        return 1;
    }
    return path == Path::kInteger && convert_model::Unshapes(source, destination) ? 1 : 0;
}

/// Which channel begins each of the planes of the model, and which plane of a picture that is.
struct PlaneOfChannel {
    std::size_t channel, plane;
};
inline std::vector<PlaneOfChannel> PlanesOfChannels(int format) {
    if (convert_model::IsPlanar(format)) {
        return {{0, 0}, {1, 1}, {2, format == 12 ? 1U : 2U}};
    }
    return convert_model::HasAlphaPlane(format) ? std::vector<PlaneOfChannel>{{0, 0}, {3, 1}}
                                                : std::vector<PlaneOfChannel>{{0, 0}};
}

/// What a view selects, in the memory of its picture.
inline Side SideOf(ConvertedPicture& picture, const Zan::ImageView& view) {
    Side side;
    side.format = picture.Shape().code;
    for (const auto& [channel, plane] : PlanesOfChannels(side.format)) {
        Byte* const begin = picture.PlaneMemory(plane).Data();
        side.plane[channel] = {static_cast<Byte*>(view.GetMemoryPointer(static_cast<Zan::ULong32>(channel))),
                               view.GetPitch(static_cast<Zan::ULong32>(channel)), begin,
                               begin + picture.Pitch(plane) * picture.PlaneAt(plane).rows};
    }
    return side;
}

/// Copies of the planes of a picture with all that is around them.
class Copy {
public:
    explicit Copy(ConvertedPicture& ofPicture) : picture(ofPicture) {
        for (std::size_t plane = 0; plane < picture.Planes(); ++plane) {
            memory.push_back(picture.Memory(plane));
        }
    }

    /// The same places in the copies.
    Side Moved(const Side& side) {
        Side moved = side;
        for (const auto& [channel, plane] : PlanesOfChannels(side.format)) {
            Byte* const from = picture.PlaneMemory(plane).Data() - picture.PlaneMemory(plane).GuardLength();
            for (Byte** address :
                 {&moved.plane[channel].first, &moved.plane[channel].begin, &moved.plane[channel].end}) {
                *address = memory[plane].data() + (*address - from);
            }
        }
        return moved;
    }
    Copy& Inverted() {
        for (Bytes& bytes : memory) {
            for (Byte& byte : bytes) {
                byte = static_cast<Byte>(~byte);
            }
        }
        return *this;
    }

    /// The first byte of the picture that is not as here, by more than is allowed.
    std::string FirstDifference(int tolerance, const Copy* written) const {
        for (std::size_t plane = 0; plane < memory.size(); ++plane) {
            const Bytes now = picture.Memory(plane);
            if (now == memory[plane]) {
                continue;
            }
            for (std::size_t i = 0; i < now.size(); ++i) {
                const int expected = memory[plane][i], difference = now[i] - expected;
                const bool isWritten = written == nullptr || written->memory[plane][i] == memory[plane][i];
                if (difference != 0 && (!isWritten || difference < -tolerance || difference > tolerance)) {
                    return Describe(plane, i, now[i], expected);
                }
            }
        }
        return {};
    }

private:
    std::string Describe(std::size_t plane, std::size_t index, int found, int expected) const {
        const auto at = static_cast<std::ptrdiff_t>(index) -
                        static_cast<std::ptrdiff_t>(picture.PlaneMemory(plane).GuardLength());
        const auto pitch = static_cast<std::ptrdiff_t>(picture.Pitch(plane));
        return "plane " + std::to_string(plane) +
               (at < 0 ? ", " + std::to_string(at)
                       : ", line " + std::to_string(at / pitch) + " of memory, byte " +
                             std::to_string(at % pitch)) +
               ": " + std::to_string(found) + " instead of " + std::to_string(expected);
    }

    ConvertedPicture& picture;
    std::vector<Bytes> memory;
};

/// What a caller hands in beside the pictures.
struct Handed {
    bool hasMatrix = false, hasOffset = false;
    std::array<double, 16> matrix = {};
    std::array<double, 8> offset = {};

    double* Matrix() { return hasMatrix ? matrix.data() : nullptr; }
    double* Offset() { return hasOffset ? offset.data() : nullptr; }
    convert_model::Given With(int style) { return {style, Matrix(), Offset()}; }
};

/// A converter and its model side by side.
struct Twins {
    Zan::ColorSpaceConverter converter;
    convert_model::Model model;

    void SetAlphaFill(Byte value) {
        converter.SetAlphaChannel(value);
        model.alphaFill = value;
    }
    void SetPlusFunction(unsigned function) {
        converter.SetPlusFunction(function);
        model.plusFunction = function;
    }

    /// What the last call left is the same in both, to the bit.
    void ExpectSameCoefficients() const {
        double matrix[16], offset[8];
        converter.GetMatrixCoef(matrix);
        converter.GetOffset(offset);
        for (std::size_t i = 0; i < 16; ++i) {
            EXPECT_EQ(matrix[i], model.matrix[i / 4][i % 4]) << "matrix, entry " << i;
        }
        for (std::size_t i = 0; i < 8; ++i) {
            EXPECT_EQ(offset[i], model.offset[i / 4][i % 4]) << "offset, entry " << i;
        }
    }

    /// Converts what two views select, and compares all of both pictures.
    void ExpectSame(ConvertedPicture& source, Zan::ImageView from, ConvertedPicture& destination,
                    Zan::ImageView to, int style, Handed handed, int tolerance) {
        const auto width = static_cast<int>(std::min(from.GetWidth(), to.GetWidth()));
        const auto height = static_cast<int>(std::min(from.GetHeight(), to.GetHeight()));
        const Side sourceSide = SideOf(source, from), destinationSide = SideOf(destination, to);
        const Copy untouched(source);
        Copy expected(destination), written = expected;
        if (tolerance != 0) {
            convert_model::Model again = model;
            again.OnViews(sourceSide, written.Inverted().Moved(destinationSide), width, height,
                          handed.With(style));
        }
        const int status =
            model.OnViews(sourceSide, expected.Moved(destinationSide), width, height, handed.With(style));
        ASSERT_EQ(converter.Do(from, to, static_cast<Zan::ProcessingStyleEnum>(style), handed.Matrix(),
                               handed.Offset()),
                  status);
        ASSERT_EQ(expected.FirstDifference(tolerance, tolerance == 0 ? nullptr : &written), "");
        ASSERT_EQ(untouched.FirstDifference(0, nullptr), "") << "the source was written";
        ExpectSameCoefficients();
    }
};

// ---- Matrices of callers ---------------------------------------------------------------------------------

/// Full or studio RGB to YCrCb at video levels and back, by the luma weights of red and blue: those of ITU-R
/// BT.709 or BT.2020. Samples are in memory order, B, G, R and Cb, Y, Cr.
inline Handed OfWeights(double red, double blue, bool toRgb, bool studio) {
    const double green = 1 - red - blue, low = studio ? 16 : 0, range = studio ? 219 : 255;
    Handed made = {true, true, {}, {}};
    if (toRgb) {
        const double luma = range / 219, cb = 2 * (1 - blue) * range / 224, cr = 2 * (1 - red) * range / 224;
        made.matrix = {cb, luma, 0, 0, -cb * blue / green, luma, -cr * red / green, 0, 0, luma, cr, 0,
                       0,  0,    0, 1};
        made.offset = {-128, -16, -128, 0, low, low, low, 0};
    } else {
        const double y = 219 / range, cb = 112 / (1 - blue) / range, cr = 112 / (1 - red) / range;
        made.matrix = {cb * (1 - blue), -cb * green, -cb * red,      0, y * blue, y * green, y * red, 0,
                       -cr * blue,      -cr * green, cr * (1 - red), 0, 0,        0,         0,       1};
        made.offset = {-low, -low, -low, 0, 128, 16, 128, 0};
    }
    return made;
}

/// Entries of whole 8192ths and offsets of whole 128ths, which doubles hold exactly. The limits are in
/// 8192ths and in eighths.
inline Handed OfRandom(int entries, int offsets, bool alphaToo) {
    Handed made = {true, true, {}, {}};
    for (std::size_t i = 0; i < 16; ++i) {
        const bool ofAlpha = i % 4 == 3 || i / 4 == 3;
        made.matrix[i] =
            ofAlpha && !alphaToo ? (i == 15 ? 1 : 0) : RandomFrom<int>(-entries, entries) / 8192.0;
    }
    for (std::size_t i = 0; i < 8; ++i) {
        made.offset[i] = i % 4 == 3 && !alphaToo ? 0 : RandomFrom<int>(-16 * offsets, 16 * offsets) / 128.0;
    }
    return made;
}

/// Sets of coefficients to hand in for a pair, from ordinary to what leaves every lane.
inline std::vector<Handed> MatricesFor(int source, bool extreme) {
    std::vector<Handed> all;
    const bool toRgb = !convert_model::IsRgb(source);
    for (const bool studio : {false, true}) {
        all.push_back(OfWeights(0.2126, 0.0722, toRgb, studio));
        all.push_back(OfWeights(0.2627, 0.0593, toRgb, studio));
    }
    for (int i = 0; i < 3; ++i) {
        all.push_back(OfRandom(8192, 1000, false));
    }
    // One of the two alone.
    all.push_back(all[0]);
    all.back().hasOffset = false;
    all.push_back(all[1]);
    all.back().hasMatrix = false;
    if (extreme) {
        for (int i = 0; i < 4; ++i) {
            all.push_back(OfRandom(32767, 2040, true));
            all.push_back(OfRandom(200000, 16000, true));
            all.push_back(OfRandom(20000, 300000, true));
            // Whole offsets that leave a lane with the brightest samples alone.
            all.push_back(OfRandom(8192, 0, true));
            for (double& each : all.back().offset) {
                each = RandomFrom<int>(32512, 32767);
            }
        }
    }
    return all;
}

}  // namespace convert_test

#endif  // TESSELU_TESTS_CONVERT_MODELRUNS_H
