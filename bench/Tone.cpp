#include <TesselU/tone/BaseColorCorrection.h>
#include <TesselU/tone/ColorAdjustment.h>
#include <TesselU/tone/CubeLUT.h>
#include <TesselU/tone/Histogram.h>
#include <TesselU/tone/InvertLUT.h>
#include <TesselU/tone/LookUpTable.h>
#include <TesselU/tone/Posterize.h>
#include <TesselU/tone/PosterizeLUT.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <stdexcept>

#include "Ours.h"
#include "Wrapped.h"

namespace bench {

namespace {

std::shared_ptr<LookUpTable> Tables(ULong32 count) {
    auto tables = std::make_shared<LookUpTable>(count, 256, 8);
    tables->SetLUTtoGammaCorrect(1, kGammaVideoEncode, 0, 1);
    for (ULong32 i = 0; i < 256; ++i) {
        const int chroma = static_cast<int>(i) - 128;
        tables->SetLUT(0, i, static_cast<ULong32>(std::clamp(chroma * 6 / 5 + 128, 0, 255)));
        tables->SetLUT(2, i, static_cast<ULong32>(chroma * 4 / 5 + 128));
        tables->SetLUT(3, i, 255 - i);
    }
    return tables;
}

/// The kernel of fixed point on one sample, with `centre` 128 for chroma and 16 for luma.
std::uint8_t PosterizedFixed(int x, int centre) {
    const double s = kLevels * 0.00392156862745098;
    const int q = static_cast<int>(s * 65536), r = static_cast<int>(1 / s * 256);
    const auto shift = [](int t, int bits) {
        const int half = t + (1 << (bits - 1));
        return (half + (half < 0 ? (1 << bits) - 1 : 0)) >> bits;
    };
    return static_cast<std::uint8_t>(std::clamp(shift(shift((x - centre) * q, 16) * r, 8) + centre, 0, 255));
}

template <class Object>
void EnterPairs(Contest& contest, const std::shared_ptr<Object>& object, const Picture& from,
                const Picture& to, ProcessingStyleEnum style = kBestAvailable) {
    contest.Enter(kOurs, "ours", Promise::kSameBytes,
                  [=]() -> int { return object->Do(from->view, to->view, style); });
}

}  // namespace

PairTables TablesOf(Operation operation) {
    PairTables result;
    const auto take = [&](const LookUpTable& tables) {
        for (ULong32 i = 0; i < 256; ++i) {
            result.cb[i] = static_cast<std::uint8_t>(tables.GetLUT(0, i));
            result.y[i] = static_cast<std::uint8_t>(tables.GetLUT(1, i));
            result.cr[i] = static_cast<std::uint8_t>(tables.GetLUT(2, i));
            result.alpha[i] = static_cast<std::uint8_t>(tables.GetLUT(3, i));
        }
    };
    switch (operation) {
        case Operation::kInvert:
            take(InvertLUT());
            break;
        case Operation::kPosterizeTables:
        case Operation::kPosterizeFlp: {
            PosterizeLUT tables;
            tables.SetLevels(kLevels);
            take(tables);
            break;
        }
        case Operation::kPosterizeFixed:
            for (int i = 0; i < 256; ++i) {
                result.cb[i] = result.cr[i] = PosterizedFixed(i, 128);
                result.y[i] = PosterizedFixed(i, 16);
                result.alpha[i] = static_cast<std::uint8_t>(i);
            }
            break;
        default:
            take(*Tables(4));
            break;
    }
    return result;
}

std::string CubeText() {
    std::string text = "LUT_3D_SIZE " + std::to_string(kCubeSide) + "\n";
    const auto bent = [](double x, double power) { return std::pow(x, power); };
    for (int b = 0; b < kCubeSide; ++b) {
        for (int g = 0; g < kCubeSide; ++g) {
            for (int r = 0; r < kCubeSide; ++r) {
                const double red = static_cast<double>(r) / (kCubeSide - 1);
                const double green = static_cast<double>(g) / (kCubeSide - 1);
                const double blue = static_cast<double>(b) / (kCubeSide - 1);
                char line[64];
                std::snprintf(line, sizeof line, "%.6f %.6f %.6f\n", 0.9 * bent(red, 0.8) + 0.1 * green,
                              0.95 * bent(green, 0.9) + 0.05 * red * blue, bent(blue, 1.1));
                text += line;
            }
        }
    }
    return text;
}

void EnterTone(Contests& contests, const Pictures& p) {
    const Size size = p.size;
    const Picture pairs = Pairs(size, p.photoPairs), pairsOut = Pairs(size, p.out);
    EnterPairs(contests[Operation::kTablesPairs], Tables(3), pairs, pairsOut);
    EnterPairs(contests[Operation::kTablesPairsAndAlpha], Tables(4), PairsAndAlpha(size, p.photoPairs),
               PairsAndAlpha(size, p.out));
    EnterPairs(contests[Operation::kInvert], std::make_shared<InvertLUT>(), pairs, pairsOut);
    auto posterizeTables = std::make_shared<PosterizeLUT>();
    posterizeTables->SetLevels(kLevels);
    EnterPairs(contests[Operation::kPosterizeTables], posterizeTables, pairs, pairsOut);
    auto posterize = std::make_shared<Posterize>();
    posterize->SetLevels(kLevels);
    EnterPairs(contests[Operation::kPosterizeFlp], posterize, pairs, pairsOut, kFlp);
    EnterPairs(contests[Operation::kPosterizeFixed], posterize, pairs, pairsOut, kFP);

    for (const auto& [operation, picture] :
         {std::pair{Operation::kHistogramPhoto, p.photo}, std::pair{Operation::kHistogramRamp, p.ramp},
          std::pair{Operation::kHistogramNoise, p.a}}) {
        contests[operation].Enter(
            kOurs, "ours", Promise::kNone,
            [view = Pixels(size, picture), histogram = std::make_shared<Histogram>(4, 256)]() -> int {
                return histogram->Do(view->view, kBestAvailable);
            });
    }

    auto adjustment = std::make_shared<ColorAdjustment>();
    adjustment->SetBrightness(kBrightness);
    adjustment->SetContrast(kContrast);
    adjustment->SetSaturation(kSaturation);
    EnterPairs(contests[Operation::kAdjustPairs], adjustment, pairs, pairsOut, kFlp);
    auto turned = std::make_shared<ColorAdjustment>(*adjustment);
    turned->SetHue(kHue);
    EnterPairs(contests[Operation::kAdjustHue], turned, pairs, pairsOut, kFlp);
    EnterPairs(contests[Operation::kAdjustPixels], turned, Pixels(size, p.photo), Pixels(size, p.out),
               kInt_MMXorSIMD);

    const auto enterCorrection = [&](Operation operation, const BaseCC::tagBASECOLORCORRINFO& record) {
        contests[operation].Enter(kOurs, "ours", Promise::kSameBytes, [=]() -> int {
            return BaseCC::BaseColorCorrection().Do(pairs->view, pairsOut->view, record, kBestAvailable);
        });
    };
    BaseCC::tagBASECOLORCORRINFO record;
    record.lumaLow = 5;
    record.lumaMid = 20;
    record.lumaHigh = -5;
    record.hue = 28;
    record.saturation = 40;
    record.flags = 2;
    enterCorrection(Operation::kCorrectPairs, record);
    record = {};
    record.redLow = record.greenMid = record.blueLow = 5;
    record.redMid = record.blueHigh = 20;
    record.greenHigh = record.redHigh = -10;
    enterCorrection(Operation::kCorrectColours, record);

    auto look = std::make_shared<CubeLUT>();
    const std::string text = CubeText();
    ULong32 line = 0;
    if (look->Read(text.data(), text.size(), line) != 0) {
        throw std::runtime_error("the look cannot be read");
    }
    for (const auto& [operation, picture] :
         {std::pair{Operation::kCubePhoto, p.photo}, std::pair{Operation::kCubeRamp, p.ramp},
          std::pair{Operation::kCubeNoise, p.a}}) {
        EnterPairs(contests[operation], look, Pixels(size, picture), Pixels(size, p.out));
    }
    contests[Operation::kColours].Enter(
        kOurs, "ours", Promise::kSameBytes,
        [w = Number(size.width), h = Number(size.height), from = Words(p.photo), to = Words(p.out),
         colours = std::make_shared<LookUpTable3D>()]() -> int {
            return colours->Do(from, to, w, h, 4 * w, 4 * w, 0);
        });
}

}  // namespace bench
