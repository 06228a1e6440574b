// What OpenCV has for points of three floats.

#include <opencv2/core.hpp>

#include "vectors/Work.h"

namespace bench::vectors {

namespace {

cv::Mat Points(const float* memory, std::size_t n) {
    return {1, static_cast<int>(n), CV_32FC3, const_cast<float*>(memory)};
}

// In single precision, as `transform` is on floats.
void Linear(const Work& w) {
    cv::Mat out = Points(w.out, w.n);
    const cv::Mat whole(4, 4, CV_64F, const_cast<double*>(w.matrix));
    cv::transform(Points(w.a, w.n), out, whole(cv::Rect(0, 0, 3, 3)));
}

void Projective(const Work& w) {
    cv::Mat out = Points(w.out, w.n);
    cv::perspectiveTransform(Points(w.a, w.n), out, cv::Mat(4, 4, CV_64F, const_cast<double*>(w.matrix)));
}

}  // namespace

std::vector<Entry> OpenCVEntries() {
    return {{kSingleLinear, "OpenCV", Linear}, {kProjective, "OpenCV", Projective}};
}

}  // namespace bench::vectors
