// Half way through a soft wipe from orange to blue, in 4:2:2, written as first_wipe.ppm.
#include <TesselU/TesselU.h>

#include <fstream>

int main() {
    using namespace Zan;
    const ULong32 width = 480, height = 270;
    const ImageDescriptor video(width, height, kYCrCb, k422, kCbYCrA, kPacked, kProgressive, kNoFields,
                                kTopLeft, 1.0F, kUnshaped);
    Image from(video, 64), to(video, 64), mixed(video, 64);
    Image key({width, height, kAlphaOnly, kProgressive, kNoFields, kTopLeft, 1.0F}, 64);
    Image rgb({width, height, kRGB, kProgressive, kNoFields, kTopLeft, 1.0F}, 64);
    ImageView fromView(&from), toView(&to), keyView(&key), mixedView(&mixed), rgbView(&rgb);

    ZanCompositor compositor;  // two pixels are one word: Cb, Y, Cr, Y from the low byte
    compositor.Fill(fromView, 0x98B39845, 0xFFFFFFFF, kBestAvailable);
    compositor.Fill(toView, 0x3E6B3E9C, 0xFFFFFFFF, kBestAvailable);

    GradientGenerator::WgrGradientData map = {sizeof map, width, height, Long32(key.GetPitch(0)),
                                              8,          8,     255,    key.GetMemoryPointer(0),
                                              16 / 9.0F,  0.25F, 0};
    GradientGenerator::WgrGenerateGradient(&map, 48);  // the double diamond

    const double position = 0.5, softness = 40;
    compositor.CompositeTwoSrcAndAlphaGradient(fromView, toView, keyView, mixedView, position, softness,
                                               kBestAvailable);
    ColorSpaceConverter().Do(mixedView, rgbView, kBestAvailable, nullptr, nullptr);

    std::ofstream file("first_wipe.ppm", std::ios::binary);
    file << "P6 " << width << ' ' << height << " 255\n";
    for (ULong32 y = 0; y < height; ++y)
        for (ULong32 x = 0; x < width; ++x) {
            const char* bgra = static_cast<char*>(rgb.GetMemoryPointer(0)) + y * rgb.GetPitch(0) + 4 * x;
            file.put(bgra[2]).put(bgra[1]).put(bgra[0]);
        }
    return file.flush() ? 0 : 1;
}
