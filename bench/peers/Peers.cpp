#include "peers/Peers.h"

namespace bench {

std::vector<Peer> Peers() {
    return {
#ifdef TESSELU_BENCH_LIBYUV
        Libyuv(),
#endif
#ifdef TESSELU_BENCH_SWSCALE
        Swscale(),
#endif
#ifdef TESSELU_BENCH_OPENCV
        OpenCV(),
#endif
#ifdef TESSELU_BENCH_PIXMAN
        Pixman(),
#endif
#ifdef TESSELU_BENCH_AVFILTER
        Avfilter(),
#endif
    };
}

}  // namespace bench
