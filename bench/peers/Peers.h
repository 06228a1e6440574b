#ifndef TESSELU_BENCH_PEERS_PEERS_H
#define TESSELU_BENCH_PEERS_PEERS_H

#include <string>
#include <vector>

#include "Contest.h"
#include "Pictures.h"

namespace bench {

/// A library that does some of our operations.
struct Peer {
    Column column;
    std::string version;
    void (*enter)(Contests& contests, const Pictures& pictures);
};

/// Those that were there when this program was built.
std::vector<Peer> Peers();

Peer Libyuv();
Peer Swscale();
Peer OpenCV();
Peer Pixman();

/// The wipe in two libraries' steps: the first makes the alpha plane, the second blends by it.
std::function<void()> PixmanBlendByPlane(const Pictures& pictures, const std::uint8_t* alpha);

}  // namespace bench

#endif  // TESSELU_BENCH_PEERS_PEERS_H
