#include "run/Figures.h"

#include <algorithm>

#include "media/Samples.h"

namespace tool {
namespace {

const char* NameOf(Zan::ScanStyleEnum scan) {
    return scan == Zan::kUpperFieldFirst ? "tff" : scan == Zan::kLowerFieldFirst ? "bff" : "progressive";
}

}  // namespace

void PrintJson(std::FILE* to, const Command& command, const PictureFormat& format, const Figures& figures,
               const std::string& found) {
    const double each = 1e3 / static_cast<double>(figures.pictures);
    std::fprintf(to,
                 "{\"command\":\"%s\",\"frames\":%ld,\"width\":%u,\"height\":%u,\"scan\":\"%s\","
                 "\"rate\":\"%d/%d\",\"alpha\":%s,\"seconds\":%.3f,\"library_ms\":%.4f,\"decode_ms\":%.4f,"
                 "\"encode_ms\":%.4f%s%s%s}\n",
                 command.name.c_str(), figures.pictures, format.width, format.height, NameOf(format.scan),
                 format.rate.num, format.rate.den, HasAlpha(format.Samples()) ? "true" : "false",
                 figures.seconds, (figures.effect + figures.toRgb) * each, figures.decoding * each,
                 figures.encoding * each, found.empty() ? "" : ",\"options\":\"", found.c_str(),
                 found.empty() ? "" : "\"");
}

void PrintSummary(std::FILE* to, const Command& command, const PictureFormat& format,
                  const Figures& figures) {
    const double each = 1e3 / static_cast<double>(figures.pictures);
    const double library = figures.effect + figures.toRgb, rate = av_q2d(format.rate);
    std::fprintf(to, "%ld frames of %ux%u%s at %.4g a second\n", figures.pictures, format.width,
                 format.height, format.IsInterlaced() ? "i" : "p", rate);
    std::fprintf(to, "library: %.3f ms of processor time a frame (%s %.3f", library * each,
                 command.name.c_str(), figures.effect * each);
    if (figures.toRgb > 0) {
        std::fprintf(to, ", conversion to RGB %.3f", figures.toRgb * each);
    }
    std::fprintf(to, "), %.0f times real time\n",
                 static_cast<double>(figures.pictures) / rate / std::max(library, 1e-9));
    std::fprintf(to, "beside it: decoding %.3f ms, encoding %.3f ms a frame; %.2f s in all\n",
                 figures.decoding * each, figures.encoding * each, figures.seconds);
}

}  // namespace tool
