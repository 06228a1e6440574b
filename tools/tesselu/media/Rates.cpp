#include "media/Rates.h"

#include <cmath>

namespace tool {
namespace {

constexpr AVRational kStandard[] = {{24000, 1001}, {24, 1},        {25, 1}, {30000, 1001}, {30, 1},
                                    {48, 1},       {50, 1},        {60, 1}, {60000, 1001}, {100, 1},
                                    {120, 1},      {120000, 1001}, {15, 1}, {25, 2},       {15000, 1001}};

/// Half the distance of 30 and 30000/1001.
constexpr double kNear = 0.0005;

const AVRational* NearestStandard(double rate) {
    for (const AVRational& standard : kStandard) {
        if (std::abs(rate / av_q2d(standard) - 1) < kNear) {
            return &standard;
        }
    }
    return nullptr;
}

}  // namespace

AVRational StandardRate(double rate) {
    if (const AVRational* standard = NearestStandard(rate)) {
        return *standard;
    }
    return av_d2q(rate, 1'000'000);
}

AVRational StandardRate(AVRational rate) {
    const AVRational* standard = NearestStandard(av_q2d(rate));
    return standard != nullptr ? *standard : rate;
}

}  // namespace tool
