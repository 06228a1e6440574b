#ifndef TESSELU_TOOLS_SCORE_KEYING_H
#define TESSELU_TOOLS_SCORE_KEYING_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Scenes.h"
#include "commands/BackingEstimate.h"

namespace score {

/// Mean absolute errors in code values of 0 to 255.
struct Errors {
    double alpha = 0;      ///< of the matte over the frame
    double partial = 0;    ///< of the matte where the true one is neither black nor white
    double composite = 0;  ///< of red, green and blue of the composite over the true background

    Errors& operator+=(const Errors& other);
    Errors operator/(double count) const;
    /// What a search makes small.
    double Sum() const { return alpha + composite; }
};

/// A matte and a composite, as somebody made them of a frame.
struct Made {
    Samples alpha;
    std::array<Samples, 3> composite;
};
Errors Compare(const Frame& frame, const Made& made);

/// Ours.
enum class Sampling { kPixels, kPairs };
Made KeyByOurs(const Frame& frame, Sampling sampling, const tool::BackingEstimate& settings,
               double saturationMinimum = 0.0);
/// From a frame alone, as the program does by itself. Throws `tool::Failure` if there is no backing in it.
tool::BackingEstimate Automatic(const Frame& frame, Sampling sampling);

/// FFmpeg's `chromakey` and `despill`; what follows, to red, green and blue and over the background, is done
/// in floating point.
struct FilterSettings {
    double similarity = 0.01, blend = 0.0;                           // chromakey
    double mix = 0.5, expand = 0.0, scale = -1.0, brightness = 0.0;  // despill
};
Made KeyByFilters(const Frame& frame, Sampling sampling, Plate plate, const FilterSettings& settings);

/// Somebody whose settings are searched: numbers of 0 to 1.
struct Contestant {
    std::vector<double> start;
    std::function<Errors(const Frame&, const std::vector<double>&)> score;
};
Contestant Ours(const Scene& scene, Sampling sampling);
Contestant Filters(const Scene& scene, Sampling sampling);

/// The best of `trials` settings on a frame: the start, then places spread evenly, then places around the
/// best so far. The same for everybody.
std::vector<double> Search(const Contestant& contestant, const Frame& frame, unsigned trials);

}  // namespace score

#endif  // TESSELU_TOOLS_SCORE_KEYING_H
