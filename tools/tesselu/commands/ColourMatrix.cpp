#include "commands/ColourMatrix.h"

#include "commands/ToneEffect.h"

namespace tool {

ColourMatrix MatrixOf(LumaWeights weights, Sense sense, double low, double high) {
    // ITU-R BT.709 and BT.2020 with constant luminance left aside.
    const double red = weights == LumaWeights::kBt709 ? 0.2126 : 0.2627;
    const double blue = weights == LumaWeights::kBt709 ? 0.0722 : 0.0593;
    const double green = 1 - red - blue;
    const double range = high - low, luma = range / 219, chroma = range / 224;
    ColourMatrix made;
    if (sense == Sense::kToRgb) {
        made.matrix = {chroma * 2 * (1 - blue),
                       luma,
                       0,
                       0,
                       -chroma * 2 * (1 - blue) * blue / green,
                       luma,
                       -chroma * 2 * (1 - red) * red / green,
                       0,
                       0,
                       luma,
                       chroma * 2 * (1 - red),
                       0,
                       0,
                       0,
                       0,
                       1};
    } else {
        const double toBlue = 0.5 / (1 - blue) / chroma, toRed = 0.5 / (1 - red) / chroma;
        made.matrix = {0.5 / chroma,
                       -green * toBlue,
                       -red * toBlue,
                       0,
                       blue / luma,
                       green / luma,
                       red / luma,
                       0,
                       -blue * toRed,
                       -green * toRed,
                       0.5 / chroma,
                       0,
                       0,
                       0,
                       0,
                       1};
    }
    return made;
}

std::optional<ColourMatrix> RgbMatrixOf(LumaWeights weights, Sense sense) {
    return weights != LumaWeights::kBt601 ? std::optional(MatrixOf(weights, sense, 0, 255)) : std::nullopt;
}

void ConvertBy(const std::string& work, Zan::ColorSpaceConverter& converter, Zan::ImageView& from,
               Zan::ImageView& to, std::optional<ColourMatrix> matrix) {
    CheckStatus(
        work, converter.Do(from, to, Zan::kBestAvailable, matrix ? matrix->matrix.data() : nullptr, nullptr));
}

}  // namespace tool
