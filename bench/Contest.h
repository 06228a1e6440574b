#ifndef TESSELU_BENCH_CONTEST_H
#define TESSELU_BENCH_CONTEST_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace bench {

struct Size {
    std::size_t width, height;

    std::size_t pixels() const { return width * height; }
    std::string Text() const { return std::to_string(width) + "x" + std::to_string(height); }
};

/// So few pixels that the call itself is measured; shown in ns a call.
inline constexpr Size kCallSize = {16, 2};

/// A small picture, of whose time the call is a part.
inline constexpr Size kSmallSize = {128, 96};

/// The columns of the table. Several entrants may share one; it shows the fastest of them.
enum Column : std::size_t {
    kOurs,
    kPlain,
    kLibyuv,
    kSwscale,
    kOpenCV,
    kPixman,
    kAvfilter,
    kCopy,
    kColumnCount
};

const char* ColumnName(Column column);

/// What an entrant promises of its result, held against ours before anything is timed.
enum class Promise {
    kSameBytes,    ///< equal to ours in every byte; a difference ends the program
    kApproximate,  ///< the same picture, by another formula
    kNone          ///< another job, which moves as many bytes
};

/// An implementation under comparison.
struct Entrant {
    Column column;
    std::string name;  ///< as in "operation/size/name"
    Promise promise;
    std::function<int()> run;  ///< does the work once; a status other than 0 says that it cannot

    bool isAvailable = true;
    int difference = -1;  ///< the largest from our result, in code values; -1 if not compared
};

enum class Operation : std::size_t {
    kDissolvePixels,
    kDissolvePairs,
    kCompositeTwoSources,
    kCompositeByPlane,
    kWipePixelsRaw,
    kWipePixels,
    kWipePairs,
    kWipePairsAndAlpha,
    kBorderPixels,
    kBorderPairs,
    // The same with keys that rise along the lines, as those of wipes do; keys are noise elsewhere.
    kWipeEdgePixels,
    kWipeEdgePairs,
    kBorderEdgePixels,
    kBorderEdgePairs,
    kDissolveViewPixels,
    kDissolveViewPairs,
    // A, of unshaped pixels, over B: as it is, or multiplied by its alpha first.
    kOverStraight,
    kOverShaping,
    kOverPairs,
    kSumOfAbsDiffs,
    kFill,
    kCopyPixels,
    kCopyPairs,
    // Pairs are UYVY, swapped pairs YUY2, pixels BGRA, Ycc pixels Cb Y Cr A.
    kPairsToPixels,
    kSwappedToPixels,
    k420ToPixels,
    k411ToPixels,
    kPairsAlphaToPixels,
    kYccToPixels,
    kPixelsToPairs,
    kPixelsTo420,
    kPixelsTo411,
    kPixelsToPairsAlpha,
    kPixelsToYcc,
    kPairsTo420,
    kPairsTo422,
    kPairsToSwapped,
    kSwappedToPairs,
    k422ToPairs,
    kPixelsTo24,
    k24ToPixels,
    kShape,
    kUnshape,
    kGradient,
    // Pairs, on the photograph where nothing else is said.
    kTablesPairs,
    kTablesPairsAndAlpha,
    kInvert,
    kPosterizeTables,
    kPosterizeFlp,
    kPosterizeFixed,
    kHistogramPhoto,
    kHistogramRamp,
    kHistogramNoise,
    kAdjustPairs,
    kAdjustHue,
    kAdjustPixels,
    kCorrectPairs,
    kCorrectColours,
    kColours,
    kCubePhoto,
    kCubeRamp,
    kCubeNoise,
    // Over a background, with the key as a picture of its own.
    kKeyPairs,
    kKeyPixels,
    kKeyPairsFixed,
    kKeyPixelsFixed,
    kKeyOfAlpha,
    kKeyOfLuma,
    // Over the whole of a background, which has no alpha where nothing is said.
    kOverlayShaped,
    kOverlayStraight,
    kOverlayUnion,
    kOverlayPairs,
    kOverlayPairsShaped,
    kOverlayPairsUnion,
    kOverlay24,
    kOverlay16,
    kCenter,
    kOverlayLogo,
    // By fractions of a pixel, in one direction and in both.
    kOverlayMovedAlong,
    kOverlayMoved,
    kOverlayMovedStraight,
    kBlur5,
    kBlur31,
    kBlur101,
    kBlur5Fixed,
    kBlur31Fixed,
    kDenoise119,
    kDenoise331,
    kDenoise333,
    kDenoiseSAT,
    kNoiseUniform,
    kNoiseGaussian,
    kNoiseBits,
    kCount
};

/// What we want to reach; 0: no aim.
struct Aim {
    double ratio = 0;     ///< how many times faster than the best peer
    double withAVX2 = 0;  ///< the same, when our kernels run on AVX2 at most
    double inCache = 0;   ///< the same, of pictures that fit the second-level cache
    double onSmall = 0;   ///< the same, at kSmallSize
    double onSmallWithAVX2 = 0;
    double onLargest = 1;  ///< no more than this from 3840x2160 on, where it is the memory that is measured
    double ofCopy = 0;     ///< of the speed of the copy: either will do
    double ofCopyWithAVX2 = 0;
    double nanoseconds = 0;    ///< of a call at kCallSize
    bool besidePlain = false;  ///< the plain loop is shown, but only libraries are compared with
};

/// One operation at one size, and the implementations of it.
struct Contest {
    const char* operation;  ///< in the names of benchmarks
    const char* title;      ///< in the table
    Aim aim;
    double bytesRead;     ///< a pixel
    double bytesWritten;  ///< a pixel
    double resultBytes;   ///< a pixel, at the start of the picture that all write to
    bool hasAlpha;        ///< byte 3 of a pixel is alpha, which approximate entrants need not make

    std::vector<Entrant> entrants;  ///< ours first

    void Enter(Column column, const char* name, Promise promise, std::function<int()> run) {
        entrants.push_back({column, name, promise, std::move(run)});
    }
    /// An entrant that always succeeds.
    template <class Work>
    void EnterWork(Column column, const char* name, Promise promise, Work work) {
        Enter(column, name, promise, [work] {
            work();
            return 0;
        });
    }
};

/// All operations at one size, without entrants.
class Contests {
public:
    Contests();

    Contest& operator[](Operation operation) { return all[static_cast<std::size_t>(operation)]; }
    auto begin() { return all.begin(); }
    auto end() { return all.end(); }

private:
    std::array<Contest, static_cast<std::size_t>(Operation::kCount)> all;
};

/// Runs every entrant once; notes whether it can do the work, and the difference of its result from ours.
/// Returns the name of an entrant that does not keep its promise, or nothing.
std::string Compare(Contest& contest, const Size& size, std::uint8_t* result);

}  // namespace bench

#endif  // TESSELU_BENCH_CONTEST_H
