#include "Pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <new>
#include <random>
#include <stdexcept>

namespace bench {

// The buffers are listed first, so that they exist before the first of them is made.
Pictures::Pictures(const Size& pictureSize, const std::string& photoFile)
    : size(pictureSize),
      a(Allocate(4 * size.pixels())),
      b(Allocate(4 * size.pixels())),
      key(Allocate(size.pixels())),
      planar(Allocate(size.pixels() + size.pixels() / 2)),
      out(Allocate(4 * size.pixels())),
      scratch(Allocate(4 * size.pixels())),
      shaped(Allocate(4 * size.pixels())),
      photo(Allocate(4 * size.pixels())),
      ramp(Allocate(4 * size.pixels())),
      photoPairs(Allocate(3 * size.pixels())),
      photoYcc(Allocate(4 * size.pixels())),
      edgeKey(Allocate(size.pixels())) {
    for (std::size_t i = 0; i < 4 * size.pixels(); ++i) {
        const std::uint8_t alpha = shaped[i | 3];
        shaped[i] = static_cast<std::uint8_t>(i % 4 == 3 ? alpha : shaped[i] * alpha / 255);
    }
    for (std::size_t i = 0; i < size.pixels(); ++i) {
        edgeKey[i] = static_cast<std::uint8_t>(i % size.width * 255 / size.width);
    }
    hasPhoto = !photoFile.empty();
    if (!hasPhoto) {
        DrawPhoto();
    } else if (!ReadPhoto(photoFile)) {
        throw std::runtime_error(photoFile + ": not a picture of kind P6 with 8 bits");
    }
    DrawRamp();
    MakePhotoYcc();
}

bool Pictures::ReadPhoto(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string kind;
    std::size_t width = 0, height = 0, peak = 0;
    if (!(file >> kind >> width >> height >> peak) || kind != "P6" || width == 0 || height == 0 ||
        width > 32768 || height > 32768 || peak != 255) {
        return false;
    }
    file.get();
    std::vector<std::uint8_t> samples(3 * width * height);
    file.read(reinterpret_cast<char*>(samples.data()), static_cast<std::streamsize>(samples.size()));
    if (!file) {
        return false;
    }
    // Repeated in mirrors until the picture is full: the grain stays as it is.
    const auto mirrored = [](std::size_t i, std::size_t count) {
        return i / count % 2 == 0 ? i % count : count - 1 - i % count;
    };
    for (std::size_t y = 0; y < size.height; ++y) {
        const std::uint8_t* line = samples.data() + 3 * width * mirrored(y, height);
        for (std::size_t x = 0; x < size.width; ++x) {
            const std::uint8_t* from = line + 3 * mirrored(x, width);
            std::uint8_t* to = photo + 4 * (y * size.width + x);
            to[0] = from[2];
            to[1] = from[1];
            to[2] = from[0];
            to[3] = 255;
        }
    }
    return true;
}

namespace {

std::uint8_t Byte(double value) {
    return static_cast<std::uint8_t>(std::clamp(value, 0.0, 255.0));
}

}  // namespace

void Pictures::DrawPhoto() {
    std::mt19937 random(1);
    std::normal_distribution<double> grain(0, 2);
    for (std::size_t i = 0; i < size.pixels(); ++i) {
        const double x = static_cast<double>(i % size.width) / static_cast<double>(size.width);
        const double y = static_cast<double>(i / size.width) / static_cast<double>(size.height);
        const double light =
            90 + 60 * std::sin(9 * x + 2 * std::sin(7 * y)) + 40 * std::sin(23 * x * y + 5 * y);
        for (std::size_t c = 0; c < 3; ++c) {
            const double tint = 30 * std::sin(3 * x + 4 * y + 2 * static_cast<double>(c));
            photo[4 * i + c] = Byte(light + tint + grain(random));
        }
        photo[4 * i + 3] = 255;
    }
}

void Pictures::DrawRamp() {
    std::mt19937 random(2);
    std::normal_distribution<double> noise(0, 3);
    for (std::size_t i = 0; i < size.pixels(); ++i) {
        const double level = 255 * static_cast<double>(i % size.width) / static_cast<double>(size.width);
        for (std::size_t c = 0; c < 3; ++c) {
            ramp[4 * i + c] = Byte((c == 1 ? 255 - level : level) + noise(random));
        }
        ramp[4 * i + 3] = 255;
    }
}

// ITU-R BT.601, near enough.
void Pictures::MakePhotoYcc() {
    for (std::size_t i = 0; i < size.pixels(); ++i) {
        const double blue = photo[4 * i], green = photo[4 * i + 1], red = photo[4 * i + 2];
        std::uint8_t* pixel = photoYcc + 4 * i;
        pixel[0] = Byte(128.5 - 0.148 * red - 0.291 * green + 0.439 * blue);
        pixel[1] = Byte(16.5 + 0.257 * red + 0.504 * green + 0.098 * blue);
        pixel[2] = Byte(128.5 + 0.439 * red - 0.368 * green - 0.071 * blue);
        pixel[3] = Byte(green);
        photoPairs[2 * i] = pixel[i % 2 == 0 ? 0 : 2];
        photoPairs[2 * i + 1] = pixel[1];
        photoPairs[2 * size.pixels() + i] = pixel[3];
    }
}

std::uint8_t* Pictures::Allocate(std::size_t bytes) {
    // Pictures that start at the same place of their pages hinder each other in the first-level cache.
    const std::size_t skew = buffers.size() * 9 * 64;
    const std::size_t whole = (skew + bytes + 63) / 64 * 64;
    auto* memory = static_cast<std::uint8_t*>(std::aligned_alloc(64, whole));
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    buffers.emplace_back(memory);

    std::mt19937_64 random(buffers.size());
    for (std::size_t i = 0; i + 8 <= whole; i += 8) {
        const std::uint64_t word = random();
        std::memcpy(memory + i, &word, 8);
    }
    return memory + skew;
}

void Pictures::Release::operator()(std::uint8_t* memory) const {
    std::free(memory);
}

}  // namespace bench
