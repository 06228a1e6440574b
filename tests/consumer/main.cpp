#include <TesselU/TesselU.h>

#include <cstdio>

// Half of a wipe from red to blue, as a host would make it.
int main() {
    const Zan::ULong32 width = 64, height = 48;
    Zan::ImageDescriptor rgb(width, height, Zan::kRGB, Zan::kProgressive, Zan::kNoFields, Zan::kTopLeft,
                             1.0F);
    Zan::ImageDescriptor grey(width, height, Zan::kAlphaOnly, Zan::kProgressive, Zan::kNoFields,
                              Zan::kTopLeft, 1.0F);
    Zan::Image red(rgb, 64), blue(rgb, 64), map(grey, 64), mixed(rgb, 64);
    Zan::ImageView redView(&red), blueView(&blue), mapView(&map), mixedView(&mixed);

    if (mixedView.GetMemoryPointer(0) == nullptr)
        return 1;

    Zan::ZanCompositor compositor;
    compositor.Fill(redView, 0xFFFF0000U, 0xFFFFFFFFU, Zan::kBestAvailable);
    compositor.Fill(blueView, 0xFF0000FFU, 0xFFFFFFFFU, Zan::kBestAvailable);

    GradientGenerator::WgrGradientData record{};
    record.structSize = sizeof record;
    record.width = width;
    record.height = height;
    record.pitch = mapView.GetPitch(0);
    record.bitsPerSample = 8;
    record.significantBits = 8;
    record.peakValue = 255;
    record.pixels = mapView.GetMemoryPointer(0);
    record.aspectRatio = 1.0F;
    record.cellFraction = 0.1F;
    const int drawn = GradientGenerator::WgrGenerateGradient(&record, 1);

    // Position 0 shows the second source where the map is above 0, position 1 the first everywhere.
    const Zan::Long32 wiped = compositor.CompositeTwoSrcAndAlphaGradient(
        redView, blueView, mapView, mixedView, 1.0, 0.0, Zan::kBestAvailable);
    const auto* pixels = static_cast<const Zan::ULong32*>(mixedView.GetMemoryPointer(0));
    std::printf("gradient %d, wipe %d, first pixel %08x, SSE2 %d\n", drawn, static_cast<int>(wiped),
                static_cast<unsigned>(pixels[0]),
                static_cast<int>(Zan::Image::CPUinstructionSet.IsSSE2supported()));
    return drawn == 0 && wiped == 0 && pixels[0] == 0xFFFF0000U ? 0 : 1;
}
