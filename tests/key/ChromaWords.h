#ifndef TESSELU_TESTS_KEY_CHROMAWORDS_H
#define TESSELU_TESTS_KEY_CHROMAWORDS_H

#include <TesselU/key/ChromaKeyerYUV.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <random>
#include <vector>

#include "key/KeyPictures.h"

// Words of four samples, and what the chroma keyer makes of them.

namespace chroma_test {

using namespace Zan;

using Word = std::array<int, 4>;

inline void Put(KeyPicture& picture, std::size_t row, std::size_t word, const Word& value) {
    for (std::size_t i = 0; i < 4; ++i) {
        picture.Byte(row, 4 * word + i) = static_cast<unsigned char>(value[i]);
    }
}

inline Word Get(KeyPicture& picture, std::size_t row, std::size_t word) {
    Word value;
    for (std::size_t i = 0; i < 4; ++i) {
        value[i] = picture.Byte(row, 4 * word + i);
    }
    return value;
}

struct Made {
    Word word;
    int key;
};

/// What becomes of one word. `background` may be null.
inline Made MakeWord(const ChromaKeyerYUV& keyer, ProcessingStyleEnum style,
                     AggregateChannelSamplingEnum sampling, const Word& word, const Word* background) {
    const ULong32 width = sampling == k4444 ? 1 : 2;
    KeyPicture in(width, 1, kYCrCb, sampling), behind(width, 1, kYCrCb, sampling),
        out(width, 1, kYCrCb, sampling), key(width, 1, kAlphaOnly, k4444);
    Put(in, 0, 0, word);
    if (background != nullptr) {
        Put(behind, 0, 0, *background);
    }
    EXPECT_EQ(keyer.Do(in.view, background != nullptr ? &behind.view : nullptr, out.view, &key.view, style),
              0);
    return {Get(out, 0, 0), key.Byte(0, 0)};
}

inline int KeyOfChroma(const ChromaKeyerYUV& keyer, ProcessingStyleEnum style, int cb, int cr) {
    return MakeWord(keyer, style, style == kFlp_SIMD ? k422 : k4444, {cb, 90, cr, 90}, nullptr).key;
}

/// All chroma values, each with some luma, keyed over a background of noise: 256 rows of 256 words. Then the
/// keys.
inline std::vector<unsigned char> AllChroma(const ChromaKeyerYUV& keyer, ProcessingStyleEnum style,
                                            AggregateChannelSamplingEnum sampling = k4444) {
    const ULong32 width = sampling == k4444 ? 256 : 512;
    KeyPicture in(width, 256, kYCrCb, sampling), behind(width, 256, kYCrCb, sampling),
        key(width, 256, kAlphaOnly, k4444);
    std::mt19937 random(5);
    for (unsigned char& byte : behind.colour) {
        byte = static_cast<unsigned char>(random());
    }
    for (int cb = 0; cb < 256; ++cb) {
        for (int cr = 0; cr < 256; ++cr) {
            Put(in, static_cast<std::size_t>(cb), static_cast<std::size_t>(cr),
                {cb, (cb * 7 + cr) % 256, cr, cr ^ 85});
        }
    }
    EXPECT_EQ(keyer.Do(in.view, &behind.view, in.view, &key.view, style), 0);
    in.colour.insert(in.colour.end(), key.colour.begin(), key.colour.end());
    return in.colour;
}

}  // namespace chroma_test

#endif  // TESSELU_TESTS_KEY_CHROMAWORDS_H
