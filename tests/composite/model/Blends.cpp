#include <algorithm>

#include "composite/model/Model.h"

namespace composite_model {

namespace {

int WordsPerRow(const Operand& a, int width) {
    return static_cast<int>(a.bytesPerPixel * width * 0.25);
}

double Clamped(double fade) {
    if (fade < 0) {
        return 0;
    }
    return fade > 1 ? 1 : fade;
}

Byte WeightOf256(int w, int a, int b) {
    return static_cast<Byte>((w * a + (256 - w) * b + 128) >> 8);
}

// The alpha planes of a dissolve. A source without one counts as 255.
void DissolveAlpha(const Plane& a, const Plane& b, Plane& dst, int width, int height, double fade) {
    if (!dst.isThere) {
        return;
    }
    const int w = static_cast<int>(Clamped(fade) * 256 + 0.5);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int alphaA = a.isThere ? a.At(a.first + y * a.pitch + x) : 255;
            const int alphaB = b.isThere ? b.At(b.first + y * b.pitch + x) : 255;
            const Byte mixed = !a.isThere && !b.isThere ? Byte{255} : WeightOf256(w, alphaA, alphaB);
            dst.Put(dst.first + y * dst.pitch + x, mixed);
        }
    }
}

// The bytes of a word by an alpha.
void BlendWord(const Plane& a, std::ptrdiff_t atA, const Plane& b, std::ptrdiff_t atB, Plane& dst,
               std::ptrdiff_t atDst, int alpha) {
    for (int i = 0; i < 4; ++i) {
        const int t = (255 - alpha) * a.At(atA + i) + alpha * b.At(atB + i);
        dst.Put(atDst + i, static_cast<Byte>(Div255Round(t)));
    }
}

}  // namespace

int CrossDissolve(const Operand& a, const Operand& b, Operand& dst, double fade, int style, Processor cpu) {
    const bool words = a.sampling == Zan::k4444 && b.sampling == Zan::k4444 && dst.sampling == Zan::k4444;
    if (!words && !(IsPairs(a) && IsPairs(b) && IsPairs(dst))) {
        return 4;
    }
    const int width = std::min({a.width, b.width, dst.width});
    const int height = std::min({a.height, b.height, dst.height});
    const int wordsPerRow = words ? (width * 4) >> 2 : (width * 2) >> 2;
    fade = Clamped(fade);

    enum { kDouble, kOf256, kOf255 } arithmetic = kDouble;
    int block = 1;  // beyond the last whole block the second step of weights of 255 is missing
    bool dropsLowBits = false;
    if (style == kFP) {
        arithmetic = kOf256;
    } else if (style == kIntVector || style == kFlpVector || style == kBest) {
        if (cpu.sse2) {
            arithmetic = kOf256;
            dropsLowBits = true;
        } else {
            arithmetic = kOf255;
            block = cpu.integerSse ? 16 : 8;
        }
    }
    const auto pitch = dropsLowBits ? WithoutLowBits : WholeWords;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < wordsPerRow; ++x) {
            for (int i = 0; i < 4; ++i) {
                const int byte = 4 * x + i;
                const int valueA = a.colour.At(a.colour.first + y * pitch(a.colour.pitch) + byte);
                const int valueB = b.colour.At(b.colour.first + y * pitch(b.colour.pitch) + byte);
                int out = 0;
                if (arithmetic == kDouble) {
                    out = static_cast<int>(valueB * (1 - fade) + valueA * fade + 0.5);
                } else if (arithmetic == kOf256) {
                    out = WeightOf256(static_cast<int>(fade * 256 + 0.5), valueA, valueB);
                } else {
                    const int w = static_cast<int>(fade * 255 + 0.5);
                    const int t = w * valueA + (255 - w) * valueB + 128;
                    out = x < wordsPerRow / block * block ? (t + (t >> 8)) >> 8 : t >> 8;
                }
                dst.colour.Put(dst.colour.first + y * pitch(dst.colour.pitch) + byte, static_cast<Byte>(out));
            }
        }
    }
    if (!words) {
        DissolveAlpha(a.alpha, b.alpha, dst.alpha, width, height, fade);
    }
    return 0;
}

int CompositeTwoSources(const Operand& a, const Operand& b, Operand& dst, int style) {
    const bool vectors = style == kIntVector || style == kBest;
    if (!vectors && style != kFlp && style != kFP) {
        return 100;
    }
    const int width = std::min({a.width, b.width, dst.width});
    const int height = std::min({a.height, b.height, dst.height});
    int words = WordsPerRow(a, width);
    if (vectors) {
        words = words / 4 * 4;
    }
    for (int y = 0; y < height; ++y) {
        const std::ptrdiff_t rowA = a.colour.first + y * WholeWords(a.colour.pitch);
        const std::ptrdiff_t rowB = b.colour.first + y * WholeWords(b.colour.pitch);
        const std::ptrdiff_t rowDst = dst.colour.first + y * WholeWords(dst.colour.pitch);
        for (int x = 0; x < words; ++x) {
            const int alpha = b.colour.At(rowB + 4 * x + 3);
            BlendWord(a.colour, rowA + 4 * x, b.colour, rowB + 4 * x, dst.colour, rowDst + 4 * x, alpha);
        }
    }
    return 0;
}

int CompositeTwoSrcAndAlpha(const Operand& a, const Operand& b, const Operand& key, Operand& dst, int style,
                            Processor cpu) {
    if (style == kFlpVector) {
        return 100;
    }
    // SSE2, SSE and MMX forms are of one arithmetic and one block.
    static_cast<void>(cpu);
    const bool vectors = style == kIntVector || style == kBest;
    const int width = std::min({a.width, b.width, key.width, dst.width});
    const int height = std::min({a.height, b.height, key.height, dst.height});
    int words = WordsPerRow(a, width);
    if (vectors) {
        words = words / 8 * 8;
    }
    const auto pitch = [vectors](std::ptrdiff_t given) { return vectors ? given : WholeWords(given); };
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < words; ++x) {
            const int alpha = key.colour.At(key.colour.first + y * key.colour.pitch + x);
            BlendWord(a.colour, a.colour.first + y * pitch(a.colour.pitch) + 4 * x, b.colour,
                      b.colour.first + y * pitch(b.colour.pitch) + 4 * x, dst.colour,
                      dst.colour.first + y * pitch(dst.colour.pitch) + 4 * x, alpha);
        }
    }
    return 0;
}

int AoverB(const Operand& a, const Operand& b, Operand& dst) {
    for (const Operand* each : {&a, &b, static_cast<const Operand*>(&dst)}) {
        if (each->sampling != Zan::k4224 || each->colorSpace != Zan::kYCrCb || each->channels != 4) {
            return 4;
        }
    }
    if (a.shaping != Zan::kUnshaped || b.shaping != Zan::kShaped2 || dst.shaping != Zan::kShaped2) {
        return 4;
    }
    for (const Operand* each : {&a, &b, static_cast<const Operand*>(&dst)}) {
        if (!each->colour.isThere || !each->alpha.isThere) {
            return 1;
        }
    }
    const int width = std::min({a.width, b.width, dst.width});
    const int height = std::min({a.height, b.height, dst.height});
    for (int y = 0; y < height; ++y) {
        const std::ptrdiff_t rowA = a.colour.first + y * WithoutLowBits(a.colour.pitch);
        const std::ptrdiff_t rowB = b.colour.first + y * WithoutLowBits(b.colour.pitch);
        const std::ptrdiff_t rowDst = dst.colour.first + y * WithoutLowBits(dst.colour.pitch);
        for (int pair = 0; pair < (width + 1) / 2; ++pair) {
            // Alpha has no pitch: the first row is that of all rows.
            const int alpha[2] = {a.alpha.At(a.alpha.first + 2 * pair),
                                  a.alpha.At(a.alpha.first + 2 * pair + 1)};
            for (int i = 0; i < 4; ++i) {
                const int zero = i % 2 == 0 ? 128 : 16;
                const int weight = alpha[i == 3 ? 1 : 0];
                const int valueA = a.colour.At(rowA + 4 * pair + i) - zero;
                const int valueB = b.colour.At(rowB + 4 * pair + i) - zero;
                const int x = (255 - weight) * valueB + weight * valueA;
                const int out = (2 * x / 255 + 1) >> 1;
                dst.colour.Put(rowDst + 4 * pair + i, static_cast<Byte>(out & 0xFF));
            }
            dst.alpha.Put(dst.alpha.first + 2 * pair, 255);
            dst.alpha.Put(dst.alpha.first + 2 * pair + 1, 255);
        }
    }
    return 0;
}

int UnshapedAoverBwithFadeOfA(const Operand& a, const Operand& b, Operand& dst, double fade, int style,
                              Processor cpu) {
    for (const Operand* each : {&a, &b, static_cast<const Operand*>(&dst)}) {
        if (each->sampling != Zan::k4444 || each->colorSpace != Zan::kRGB) {
            return 4;
        }
    }
    if (a.shaping != Zan::kUnshaped || b.shaping != Zan::kUnshaped || dst.shaping != Zan::kShaped) {
        return 4;
    }
    const int width = std::min({a.width, b.width, dst.width});
    const int height = std::min({a.height, b.height, dst.height});
    const bool straight = b.alphaDescription == Zan::kAlphaOpaque;
    const bool vectors = cpu.sse2 && (style == kIntVector || style == kFlpVector || style == kBest);
    fade = Clamped(fade);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const std::ptrdiff_t atA = a.colour.first + y * a.colour.pitch + 4 * x;
            const std::ptrdiff_t atB = b.colour.first + y * b.colour.pitch + 4 * x;
            const std::ptrdiff_t atDst = dst.colour.first + y * dst.colour.pitch + 4 * x;
            // Beyond the last block of eight the weight is the fade's whole part.
            const bool tail = vectors && x >= width / 8 * 8;
            const int w = tail ? static_cast<int>(fade) : static_cast<int>(fade * 256 + 0.5);
            const int alphaA = (a.colour.At(atA + 3) * w + 128) >> 8;
            const int rest = 255 - alphaA;
            const int alphaB = b.colour.At(atB + 3);
            for (int i = 0; i < 3; ++i) {
                const int valueA = a.colour.At(atA + i);
                int valueB = b.colour.At(atB + i);
                if (!straight) {
                    valueB = Div255Round(valueB * alphaB);
                }
                dst.colour.Put(atDst + i, static_cast<Byte>(Div255Round(rest * valueB + alphaA * valueA)));
            }
            const int overAlpha = straight ? a.colour.At(atA + 3) : 255;
            dst.colour.Put(atDst + 3, static_cast<Byte>(Div255Round(rest * alphaB + alphaA * overAlpha)));
        }
    }
    return 0;
}

}  // namespace composite_model
