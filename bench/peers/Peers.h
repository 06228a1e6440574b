#ifndef TESSELU_BENCH_PEERS_PEERS_H
#define TESSELU_BENCH_PEERS_PEERS_H

#include <string>
#include <vector>

#include "Contest.h"
#include "Pictures.h"
#include "Processor.h"

namespace bench {

/// A library that does some of our operations.
struct Peer {
    Column column;
    std::string version;
    /// Keeps the library from instructions that a processor of the level lacks; returns what it may use.
    std::string (*limit)(Level level);
    void (*enter)(Contests& contests, const Pictures& pictures);
};

/// Those that this program was built with.
std::vector<Peer> Peers();

Peer Libyuv();
Peer Swscale();
Peer OpenCV();
Peer Pixman();
Peer Avfilter();

#ifdef TESSELU_BENCH_LIBYUV
/// As `limit`, but also without string instructions, which are counted once for every byte that they move.
void LimitLibyuvForCounting(Level level);
#endif

/// The flag by which a library knows an instruction set, and its name in the table.
struct InstructionSet {
    int flag;
    const char* name;
};

template <std::size_t N, class Has>
std::string NamesOf(const InstructionSet (&sets)[N], Has&& has) {
    std::string text;
    for (const auto& [flag, name] : sets) {
        if (has(flag)) {
            text += text.empty() ? "" : " ";
            text += name;
        }
    }
    return text;
}

/// Pixels of the photograph to planes of full size in `scratch`, and such planes to the result.
std::function<void()> LibyuvPixelsTo444(const Pictures& pictures);
std::function<void()> Libyuv444ToPixels(const Pictures& pictures);

/// The wipe in two libraries' steps: the first makes the alpha plane, the second blends by it.
std::function<void()> PixmanBlendByPlane(const Pictures& pictures, const std::uint8_t* alpha);

}  // namespace bench

#endif  // TESSELU_BENCH_PEERS_PEERS_H
