#include "overlay/OverlayFamily.h"

namespace Zan {
namespace {

using Mode = OverlayRow::Mode;

#define RGB0 "Mixup::COverlay::RenderRGB0() "
#define YUV0 "Mixup::COverlay::RenderYUV0() "

constexpr OverlayRow kRgbRows[] = {
    {24, 24, Mode::kAny, nullptr, nullptr, RGB0 "RGB0_24_24\n", nullptr},
    {24, 32, Mode::kPremultiplied, RGB0 "RGB0_24_32_PREMUL_SSE2\n", nullptr, RGB0 "RGB0_24_32_PREMUL_C\n",
     &kPremultiplied24With32},
    {24, 32, Mode::kStraight, RGB0 "RGB0_24_32_SSE2\n", nullptr, RGB0 "RGB0_24_32_C\n", &kStraight24With32},
    {32, 24, Mode::kAny, RGB0 "RGB0_32_24_SSE2\n", RGB0 "RGB0_32_24_MMX\n", RGB0 "RGB0_32_24_C\n",
     &kOpaque32With24},
    {32, 32, Mode::kPremultiplied, RGB0 "RGB0_32_32_PREMUL_SSE2\n", RGB0 "RGB0_32_32_PREMUL_MMX\n",
     RGB0 "RGB0_32_32_PREMUL_C\n", &kPremultiplied32With32},
    {32, 32, Mode::kStraight, RGB0 "RGB0_32_32_SSE2\n", RGB0 "RGB0_32_32_MMX\n", RGB0 "RGB0_32_32_C\n",
     &kStraight32With32},
};

constexpr OverlayRow kYuvRows[] = {
    {16, 16, Mode::kAny, nullptr, nullptr, YUV0 "YUV0_16_16\n", nullptr},
    {24, 16, Mode::kAny, nullptr, nullptr, YUV0 "YUV0_24_16\n", nullptr, true},
    {16, 24, Mode::kPremultiplied, YUV0 "YUV0_16_24_PREMUL_SSE2\n", YUV0 "YUV0_16_24_PREMUL_SSE\n",
     YUV0 "YUV0_16_24_PREMUL_C\n", &kPremultiplied16With24},
    {16, 24, Mode::kStraight, YUV0 "YUV0_16_24_SSE2\n", YUV0 "YUV0_16_24_SSE\n", YUV0 "YUV0_16_24_C\n",
     &kStraight16With24},
    {24, 24, Mode::kPremultiplied, YUV0 "YUV0_24_24_PREMUL_SSE2\n", YUV0 "YUV0_24_24_PREMUL_SSE\n",
     YUV0 "YUV0_24_24_PREMUL_C\n", &kPremultiplied24With24},
    {24, 24, Mode::kStraight, YUV0 "YUV0_24_24_SSE2\n", YUV0 "YUV0_24_24_SSE\n", YUV0 "YUV0_24_24_C\n",
     &kStraight24With24},
};

// Names of both axes, across, down. Some of 4:2:2 say "RenderYUV0".
constexpr MovedRow kRgbMovedRows[] = {
    {24,
     24,
     Mode::kAny,
     {nullptr, nullptr, "Mixup::COverlay::RenderRGB1() RGB1_HORIZVERT_24_24\n"},
     {nullptr, nullptr, "Mixup::COverlay::RenderRGB1() RGB1_HORIZ_24_24\n"},
     {nullptr, nullptr, "Mixup::COverlay::RenderRGB1() RGB1_VERT_24_24\n"},
     &kMixBytes,
     nullptr},
    {32,
     24,
     Mode::kAny,
     {nullptr, nullptr, "Mixup::COverlay::RenderRGB1() RGB1_HORIZVERT_32_24\n"},
     {nullptr, nullptr, "Mixup::COverlay::RenderRGB1() RGB1_HORIZ_32_24\n"},
     {nullptr, nullptr, "Mixup::COverlay::RenderRGB1() RGB1_VERT_32_24\n"},
     &kMixBytes,
     &kOpaque32With24},
    {24,
     32,
     Mode::kPremultiplied,
     {nullptr, nullptr, "Mixup::COverlay::RenderRGB1() RGB1_HORIZVERT_24_32_PREMUL\n"},
     {nullptr, nullptr, "Mixup::COverlay::RenderRGB1() RGB1_HORIZ_24_32_PREMUL\n"},
     {nullptr, nullptr, "Mixup::COverlay::RenderRGB1() RGB1_VERT_24_32_PREMUL\n"},
     &kMixBytes,
     &kPremultiplied24With32},
    {24,
     32,
     Mode::kStraight,
     {nullptr, nullptr, "Mixup::COverlay::RenderRGB1() RGB1_HORIZVERT_24_32\n"},
     {nullptr, nullptr, "Mixup::COverlay::RenderRGB1() RGB1_HORIZ_24_32\n"},
     {nullptr, nullptr, "Mixup::COverlay::RenderRGB1() RGB1_VERT_24_32\n"},
     &kMixStraightPixels,
     &kStraight24With32},
    {32,
     32,
     Mode::kPremultiplied,
     {"Mixup::COverlay::RenderRGB1() RGB1_HORIZVERT_32_32_PREMUL_SSE2\n", nullptr,
      "Mixup::COverlay::RenderRGB1() RGB1_HORIZVERT_32_32_PREMUL\n"},
     {"Mixup::COverlay::RenderRGB1() RGB1_HORIZ_32_32_PREMUL_SSE2\n",
      "Mixup::COverlay::RenderRGB1() RGB1_HORIZ_32_32_PREMUL_MMX\n",
      "Mixup::COverlay::RenderRGB1() RGB1_HORIZ_32_32_PREMUL\n"},
     {"Mixup::COverlay::RenderRGB1() RGB1_VERT_32_32_PREMUL_SSE2\n", nullptr,
      "Mixup::COverlay::RenderRGB1() RGB1_VERT_32_32_PREMUL\n"},
     &kMixBytes,
     &kPremultiplied32With32,
     &kMovedPremultiplied32},
    {32,
     32,
     Mode::kStraight,
     {nullptr, nullptr, "Mixup::COverlay::RenderRGB1() RGB1_HORIZVERT_32_32\n"},
     {nullptr, nullptr, "Mixup::COverlay::RenderRGB1() RGB1_HORIZ_32_32\n"},
     {nullptr, nullptr, "Mixup::COverlay::RenderRGB1() RGB1_VERT_32_32\n"},
     &kMixStraightPixels,
     &kStraight32With32,
     &kMovedStraight32},
};

constexpr MovedRow kYuvMovedRows[] = {
    {16,
     16,
     Mode::kAny,
     {nullptr, nullptr, "Mixup::COverlay::RenderYUV1() YUV1_VERTHORIZ_16_16\n"},
     {"Mixup::COverlay::RenderYUV1() YUV1_HORIZ_16_16_SSE2\n",
      "Mixup::COverlay::RenderYUV1() YUV1_HORIZ_16_16_MMX\n",
      "Mixup::COverlay::RenderYUV1() YUV1_HORIZ_16_16_C\n"},
     {nullptr, nullptr, "Mixup::COverlay::RenderYUV1() YUV1_VERT_16_16\n"},
     &kMixPairs,
     nullptr},
    {24,
     16,
     Mode::kAny,
     {nullptr, nullptr, nullptr},
     {nullptr, nullptr, nullptr},
     {nullptr, nullptr, nullptr},
     &kMixPairs,
     nullptr},
    {16,
     24,
     Mode::kPremultiplied,
     {"Mixup::COverlay::RenderYUV0() YUV1_VERTHORIZ_16_24_PREMUL_SSE2\n", nullptr,
      "Mixup::COverlay::RenderYUV1() YUV1_VERTHORIZ_16_24_PREMUL_C\n"},
     {"Mixup::COverlay::RenderYUV0() YUV1_HORIZ_16_24_PREMUL_SSE2\n", nullptr,
      "Mixup::COverlay::RenderYUV1() YUV1_HORIZ_16_24_PREMUL_C\n"},
     {"Mixup::COverlay::RenderYUV1() YUV1_VERT_16_24_PREMUL_SSE2\n", nullptr,
      "Mixup::COverlay::RenderYUV1() YUV1_VERT_16_24_PREMUL_C\n"},
     &kMixPairs,
     &kPremultiplied16WithSamples},
    {16,
     24,
     Mode::kStraight,
     {"Mixup::COverlay::RenderYUV0() YUV1_VERTHORIZ_16_24_SSE2\n", nullptr,
      "Mixup::COverlay::RenderYUV1() YUV1_VERTHORIZ_16_24_C\n"},
     {"Mixup::COverlay::RenderYUV0() YUV1_HORIZ_16_24_SSE2\n", nullptr,
      "Mixup::COverlay::RenderYUV1() YUV1_HORIZ_16_24_C\n"},
     {"Mixup::COverlay::RenderYUV1() YUV1_VERT_16_24_SSE2\n", nullptr,
      "Mixup::COverlay::RenderYUV1() YUV1_VERT_16_24_C\n"},
     &kMixStraightPairs,
     &kStraight16WithSamples},
    {24,
     24,
     Mode::kPremultiplied,
     {"Mixup::COverlay::RenderYUV1() YUV1_VERTHORIZ_24_24_PREMUL_SSE2\n", nullptr,
      "Mixup::COverlay::RenderYUV1() YUV1_VERTHORIZ_24_24_PREMUL\n"},
     {"Mixup::COverlay::RenderYUV1() YUV1_HORIZ_24_24_PREMUL_SSE2\n", nullptr,
      "Mixup::COverlay::RenderYUV1() YUV1_HORIZ_24_24_PREMUL_C\n"},
     {"Mixup::COverlay::RenderYUV1() YUV1_VERT_24_24_PREMUL_SSE2\n", nullptr,
      "Mixup::COverlay::RenderYUV1() YUV1_VERT_24_24_PREMUL_C\n"},
     &kMixPairs,
     &kPremultiplied24WithSamples},
    {24,
     24,
     Mode::kStraight,
     {nullptr, nullptr, "Mixup::COverlay::RenderYUV1() YUV1_VERTHORIZ_24_24\n"},
     {nullptr, nullptr, "Mixup::COverlay::RenderYUV1() YUV1_HORIZ_24_24\n"},
     {nullptr, nullptr, "Mixup::COverlay::RenderYUV1() YUV1_VERT_24_24\n"},
     &kMixStraightPairs,
     &kStraight24WithSamples},
};

#undef RGB0
#undef YUV0

template <class Row>
const Row* FirstOf(std::span<const Row> rows, unsigned back, unsigned fore, bool premultiplied) noexcept {
    for (const Row& row : rows) {
        if (row.Suits(back, fore, premultiplied)) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace

const OverlayRow* OverlayFamily::Find(unsigned back, unsigned fore, bool premultiplied) const noexcept {
    return FirstOf(rows, back, fore, premultiplied);
}

const MovedRow* OverlayFamily::FindMoved(unsigned back, unsigned fore, bool premultiplied) const noexcept {
    return FirstOf(movedRows, back, fore, premultiplied);
}

constinit const OverlayFamily kOverlayRgb = {
    24,
    32,
    false,
    &CPUfeatures::IsMMXusable,
    kRgbRows,
    kRgbMovedRows,
    {nullptr, "Mixup::COverlay::RenderRGB() destination is empty\n",
     "Mixup::COverlay::RenderRGB() rendering inplace\n",
     "***Mixup::COverlay::RenderRGB() centering background into result gave error %d\n",
     "Mixup::COverlay::RenderRGB(q=1) copying background into temp buffer\n",
     "***Mixup::COverlay::RenderRGB() centering background into temp gave error %d\n",
     "Mixup::COverlay::RenderRGB(q=1) no copying background into temp buffer required\n"},
    {"**Mixup::COverlay::RenderRGB0() background bitcount=%d != 24/32 not supported\n",
     "**Mixup::COverlay::RenderRGB0() foreground bitcount=%d != 24/32 not supported\n",
     "**Mixup::COverlay::RenderRGB0() dest bitcount=%d != %d back bitcount not supported\n",
     "Mixup::COverlay::RenderRGB0() fore ROI (%d,%d),(%d,%d)\n",
     "Mixup::COverlay::RenderRGB0() back ROI (%d,%d),(%d,%d)\n",
     "Mixup::COverlay::RenderRGB0() destination is empty\n",
     "Mixup::COverlay::RenderRGB0() result ROI (%d,%d),(%d,%d)\n",
     "Mixup::COverlay::RenderRGB0() lines upper=%d middle=%d lower=%d total=%d\n",
     "Mixup::COverlay::RenderRGB0() pixel left =%d middle=%d right=%d total=%d\n"},
    {"**Mixup::COverlay::RenderRGB1() background bitcount=%d != 24/32 not supported\n",
     "**Mixup::COverlay::RenderRGB1() foreground bitcount=%d != 24/32 not supported\n",
     "**Mixup::COverlay::RenderRGB1() dest bitcount=%d != %d back bitcount not supported\n",
     "Mixup::COverlay::RenderRGB1() Fore: (%d,%d) skip lines=%d skip cols=%d\n", "BackCoeff=(%.3f,%.3f)\n",
     "ForeCoeff=(%.3f,%.3f)\n", "Fraction=(%.3f,%.3f)\n",
     "Mixup::COverlay::RenderRGB1() Back: (%d,%d) skip lines=%d skip cols=%d\n",
     "Mixup::COverlay::RenderRGB1() fraction=(%f,%f)\n", nullptr, nullptr,
     "Mixup::COverlay::RenderRGB0() lines upper=%d middle=%d lower=%d total=%d\n",
     "Mixup::COverlay::RenderRGB0() pixel left =%d middle=%d right=%d total=%d\n"},
    {"**Mixup::COverlay::CenterRGB() dst bitcount=%d != 24/32 not supported\n",
     "**Mixup::COverlay::CenterRGB() src bitcount=%d != 24/32 not supported\n",
     "**Mixup::COverlay::CenterRGB() dst bitcount=%d != %d src bitcount not supported\n",
     "Mixup::COverlay::CenterRGB() src ROI (%d,%d),(%d,%d)\n",
     "Mixup::COverlay::CenterRGB() dst ROI (%d,%d),(%d,%d)\n",
     "Mixup::COverlay::CenterRGB() result ROI (%d,%d),(%d,%d)\n",
     "Mixup::COverlay::CenterRGB() lines upper=%d middle=%d lower=%d total=%d\n",
     "Mixup::COverlay::CenterRGB() pixel left =%d middle=%d right=%d total=%d\n"}};

constinit const OverlayFamily kOverlayYuv = {
    16,
    24,
    true,
    &CPUfeatures::IsSSEusable,
    kYuvRows,
    kYuvMovedRows,
    {"Mixup::COverlay::RenderYUV() Position=(%f,%f)\n", "Mixup::COverlay::RenderYUV() destination is empty\n",
     "Mixup::COverlay::RenderYUV() rendering inplace\n",
     "***Mixup::COverlay::RenderYUV() centering background into result gave error %d\n",
     "Mixup::COverlay::RenderYUV() centering background into temp buffer\n",
     "***Mixup::COverlay::RenderYUV() centering background into temp gave error %d\n",
     "Mixup::COverlay::RenderYUV(q=1) no copying background into temp buffer required\n"},
    {"**Mixup::COverlay::RenderYUV0() background bitcount=%d != 16/24 not supported\n",
     "**Mixup::COverlay::RenderYUV0() foreground bitcount=%d != 16/24 not supported\n",
     "**Mixup::COverlay::RenderYUV0() dest bitcount=%d != %d back bitcount not supported\n",
     "Mixup::COverlay::RenderYUV0() fore ROI (%d,%d),(%d,%d)\n",
     "Mixup::COverlay::RenderYUV0() back ROI (%d,%d),(%d,%d)\n",
     "Mixup::COverlay::RenderYUV0() destination is empty\n",
     "Mixup::COverlay::RenderYUV0() result ROI (%d,%d),(%d,%d)\n",
     "Mixup::COverlay::RenderYUV0() lines upper=%d middle=%d lower=%d total=%d\n",
     "Mixup::COverlay::RenderYUV0() pixel left =%d middle=%d right=%d total=%d\n"},
    {"**Mixup::COverlay::RenderYUV1() background bitcount=%d != 16/24 not supported\n",
     "**Mixup::COverlay::RenderYUV1() foreground bitcount=%d != 16/24 not supported\n",
     "**Mixup::COverlay::RenderYUV1() dest bitcount=%d != %d back bitcount not supported\n", nullptr,
     "BackCoeff=(%.3f,%.3f)\n", "ForeCoeff=(%.3f,%.3f)\n", "Fraction=(%.3f,%.3f)\n", nullptr, nullptr,
     "Mixup::COverlay::RenderYUV1() foreground column skipped\n",
     "Mixup::COverlay::RenderYUV1() background column skipped\n",
     "Mixup::COverlay::RenderYUV1() lines upper=%d middle=%d lower=%d total=%d\n",
     "Mixup::COverlay::RenderYUV1() pixel left =%d middle=%d right=%d total=%d\n"},
    {"**Mixup::COverlay::CenterYUV() dst bitcount=%d != 16/24 not supported\n",
     "**Mixup::COverlay::CenterYUV() src bitcount=%d != 16/24 not supported\n",
     "**Mixup::COverlay::CenterYUV() dst bitcount=%d != %d src bitcount not supported\n", nullptr, nullptr,
     "Mixup::COverlay::CenterYUV() result ROI (%d,%d),(%d,%d)\n",
     "Mixup::COverlay::CenterYUV() lines upper=%d middle=%d lower=%d total=%d\n",
     "Mixup::COverlay::CenterYUV() pixel left =%d middle=%d right=%d total=%d\n"}};

}  // namespace Zan
