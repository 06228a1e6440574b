#include "plain/Plain.h"

namespace bench::plain::TESSELU_PLAIN_BUILD {

namespace {

using U8 = std::uint8_t;
using U32 = std::uint32_t;

void TablesOfPairs(const U8* __restrict uyvy, U8* __restrict out, std::size_t pixels, const U8* cb,
                   const U8* y, const U8* cr) {
    for (std::size_t i = 0; i < 2 * pixels; i += 4) {
        out[i] = cb[uyvy[i]];
        out[i + 1] = y[uyvy[i + 1]];
        out[i + 2] = cr[uyvy[i + 2]];
        out[i + 3] = y[uyvy[i + 3]];
    }
}

void Table(const U8* __restrict in, U8* __restrict out, std::size_t bytes, const U8* table) {
    for (std::size_t i = 0; i < bytes; ++i) {
        out[i] = table[in[i]];
    }
}

void Histogram(const U8* bgra, std::size_t pixels, U32* counts) {
    for (std::size_t i = 0; i < 4 * pixels; i += 4) {
        ++counts[bgra[i]];
        ++counts[256 + bgra[i + 1]];
        ++counts[512 + bgra[i + 2]];
        ++counts[768 + bgra[i + 3]];
    }
}

}  // namespace

extern const Tone kTone;
const Tone kTone = {TablesOfPairs, Table, Histogram};

}  // namespace bench::plain::TESSELU_PLAIN_BUILD
