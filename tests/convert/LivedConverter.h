#ifndef TESSELU_TESTS_CONVERT_LIVEDCONVERTER_H
#define TESSELU_TESTS_CONVERT_LIVEDCONVERTER_H

#include <TesselU/convert/ColorSpaceConverter.h>
#include <TesselU/convert/ColorSpaceConverterMT.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "convert/PictureBank.h"

// A converter that has served calls, and a new one that must do the same.

namespace convert_test {

/// What a call is given besides its pictures.
struct Given {
    int style = Zan::kBestAvailable;
    bool hasMatrix = false, hasOffset = false;
    std::array<double, 16> matrix = {};
    std::array<double, 8> offset = {};

    Zan::ProcessingStyleEnum Style() const { return static_cast<Zan::ProcessingStyleEnum>(style); }
    double* Matrix() { return hasMatrix ? matrix.data() : nullptr; }
    double* Offset() { return hasOffset ? offset.data() : nullptr; }
};

struct Settings {
    unsigned char alphaFill = 255;
    Zan::ULong32 plusFunction = 0;
    bool mmxOnly = false;

    template <class Converter>
    void Apply(Converter& converter) const {
        converter.SetAlphaChannel(alphaFill);
        converter.SetPlusFunction(plusFunction);
        converter.SetMMXonlyStyle(mmxOnly);
    }
};

/// The coefficients that a converter shows, bit by bit.
struct Shown {
    std::array<double, 16> matrix;
    std::array<double, 8> offset;

    template <class Converter>
    explicit Shown(const Converter& converter) {
        converter.GetMatrixCoef(matrix.data());
        converter.GetOffset(offset.data());
    }
    bool operator==(const Shown& other) const {
        return std::memcmp(matrix.data(), other.matrix.data(), sizeof matrix) == 0 &&
               std::memcmp(offset.data(), other.offset.data(), sizeof offset) == 0;
    }
};

/// A converter with nothing behind it but the coefficients of another: a pair that the path lacks is refused
/// after they were taken over.
template <class Converter>
void GiveCoefficients(Converter& converter, Shown shown) {
    Zan::Image dot(
        Zan::ImageDescriptor(1, 1, Zan::kRGB, Zan::k444, Zan::kBGRA, Zan::kPacked, Zan::kProgressive,
                             Zan::kInterleavedFields, Zan::kTopLeft, 1.0F, Zan::kUnshaped),
        64);
    Zan::ImageView view(&dot);
    ASSERT_EQ(converter.Do(view, view, Zan::kFP, shown.matrix.data(), shown.offset.data()), 4);
}

template <class Converter>
std::unique_ptr<Converter> NewConverter() {
    return std::make_unique<Converter>();
}
template <>
inline std::unique_ptr<Zan::ColorSpaceConverterMT> NewConverter<Zan::ColorSpaceConverterMT>() {
    return std::make_unique<Zan::ColorSpaceConverterMT>(3U);
}

template <class Converter>
class LivedConverter {
public:
    explicit LivedConverter(PictureBank& ofPictures) : bank(ofPictures) {}

    Settings settings;
    std::map<Zan::Long32, int> statuses;
    int callsThatWrote = 0;

    void ApplySettings() { settings.Apply(*lived); }

    /// The same call of the converter and of one without a past.
    template <class Call>
    void Compare(Call call) {
        const std::vector<Bytes> before = bank.AllBytes();
        const Shown shown(*lived);
        const Zan::Long32 status = call(*lived);
        const std::vector<Bytes> written = bank.AllBytes();
        bank.PutBack(before);

        const std::unique_ptr<Converter> fresh = NewConverter<Converter>();
        GiveCoefficients(*fresh, shown);
        settings.Apply(*fresh);
        ASSERT_EQ(status, call(*fresh));
        const std::vector<Bytes> expected = bank.AllBytes();
        for (std::size_t i = 0; i < expected.size(); ++i) {
            ASSERT_EQ(FirstDifference(written[i], expected[i]), "")
                << "bank " << i / 3 << ", plane " << i % 3;
        }
        ASSERT_TRUE(Shown(*lived) == Shown(*fresh)) << "the coefficients";
        ++statuses[status];
        callsThatWrote += written != before;
    }

    /// Goes on as a copy, or with what was copied back.
    void BecomeACopy() {
        if (OneIn(2)) {
            lived = std::make_unique<Converter>(*lived);
        } else {
            const Converter copy(*lived);
            GiveCoefficients(*lived, Shown(Converter()));
            *lived = copy;
        }
    }

private:
    static std::string FirstDifference(const Bytes& got, const Bytes& wanted) {
        for (std::size_t i = 0; i < got.size(); ++i) {
            if (got[i] != wanted[i]) {
                std::string text = "byte ";
                text += std::to_string(i) + " is " + std::to_string(got[i]) + " instead of " +
                        std::to_string(wanted[i]);
                return text;
            }
        }
        return {};
    }

    PictureBank& bank;
    std::unique_ptr<Converter> lived = NewConverter<Converter>();
};

}  // namespace convert_test

#endif  // TESSELU_TESTS_CONVERT_LIVEDCONVERTER_H
