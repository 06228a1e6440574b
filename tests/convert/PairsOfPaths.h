#ifndef TESSELU_TESTS_CONVERT_PAIRSOFPATHS_H
#define TESSELU_TESTS_CONVERT_PAIRSOFPATHS_H

#include <TesselU/convert/ConverterFormat.h>

#include <set>
#include <utility>
#include <vector>

// Which pairs of formats each path of the converter has.

namespace convert_test {

using namespace Zan;

using PairList = std::vector<std::pair<int, std::set<int>>>;

inline bool Lists(const PairList& pairs, int source, int destination) {
    for (const auto& [from, to] : pairs) {
        if (from == source) {
            return to.count(destination) != 0;
        }
    }
    return false;
}

// Source codes, then their destinations.

inline const PairList kIntegerPath = {
    {kFmtRGB32,
     {kFmtRGB32, kFmtCbYCrA, kFmtCbYCrY, kFmtPlanar420, kFmtPlanar420Interlaced, kFmtPlanar411, kFmtRGB24,
      kFmtPlanarGrouped, kFmtRGB32Shaped, kFmtCbYCrY4Shaped, kFmtCbYCrY4}},
    {kFmtCbYCrA, {kFmtRGB32, kFmtCbYCrA, kFmtCbYCrY, kFmtRGB32StudioOpen, kFmtCbYCrY4}},
    {kFmtCbYCrY,
     {kFmtRGB32, kFmtCbYCrA, kFmtCbYCrY, kFmtRGB32StudioOpen, kFmtPlanar420, kFmtPlanar422, kFmtRGB24,
      kFmtYCbYCr, kFmtPlanarGrouped, kFmtRGB32Shaped, kFmtCbYCrY4Shaped, kFmtCbYCrY4, kFmtCbYCrYMono}},
    {kFmtRGB32NarrowClamp, {kFmtCbYCrA, kFmtRGB32NarrowClamp}},
    {kFmtRGB32Studio, {kFmtCbYCrA, kFmtRGB32Studio}},
    {kFmtRGB32StudioOpen,
     {kFmtCbYCrA, kFmtCbYCrY, kFmtRGB32StudioOpen, kFmtPlanar411, kFmtPlanarGrouped, kFmtCbYCrY4Shaped,
      kFmtCbYCrY4}},
    {kFmtPlanar420, {kFmtRGB32, kFmtRGB32StudioOpen}},
    {kFmtPlanar422, {kFmtCbYCrY}},
    {kFmtPlanar420Interlaced, {kFmtRGB32, kFmtRGB32StudioOpen}},
    {kFmtPlanar411, {kFmtRGB32, kFmtRGB32StudioOpen}},
    {kFmtRGB24, {kFmtRGB32, kFmtCbYCrY, kFmtRGB24, kFmtYCbYCr, kFmtRGB32Shaped, kFmtRGB32ShapedOpaque}},
    {kFmtYCbYCr, {kFmtRGB32, kFmtCbYCrY, kFmtRGB32StudioOpen, kFmtRGB24}},
    {kFmtPlanarGrouped, {kFmtCbYCrY}},
    {kFmtYCbCrA, {kFmtYCbCrA, kFmtCbYCrY4}},
    {kFmtRGB32Shaped, {kFmtRGB32, kFmtCbYCrY, kFmtRGB32Shaped, kFmtCbYCrY4Shaped, kFmtCbYCrY4}},
    {kFmtCbYCrAShaped, {kFmtCbYCrAShaped, kFmtCbYCrY4Shaped}},
    {kFmtCbYCrY4Shaped,
     {kFmtRGB32, kFmtCbYCrY, kFmtRGB32StudioOpen, kFmtRGB32Shaped, kFmtCbYCrAShaped, kFmtCbYCrY4Shaped,
      kFmtCbYCrY4, kFmtCbYCrY4MonoShaped}},
    {kFmtCbYCrY4,
     {kFmtRGB32, kFmtCbYCrA, kFmtCbYCrY, kFmtRGB32StudioOpen, kFmtRGB24, kFmtRGB32Shaped, kFmtCbYCrY4Shaped,
      kFmtCbYCrY4, kFmtCbYCrY4Mono}},
    {kFmtCbYCrYMono, {kFmtCbYCrYMono}},
    {kFmtCbYCrY4Mono, {kFmtCbYCrY4Mono}},
    {kFmtAlpha8, {kFmtAlpha8}},
};

inline const PairList kFloatPath = {
    {kFmtRGB32,
     {kFmtRGB32, kFmtCbYCrA, kFmtCbYCrY, kFmtPlanar420, kFmtPlanar420Interlaced, kFmtPlanar411, kFmtRGB24,
      kFmtPlanarGrouped, kFmtYCbCrA, kFmtRGB32Shaped, kFmtCbYCrY4Shaped, kFmtCbYCrY4, kFmtYCbCrAShaped}},
    {kFmtCbYCrA, {kFmtRGB32, kFmtCbYCrA, kFmtCbYCrY, kFmtRGB32StudioOpen, kFmtCbYCrY4}},
    {kFmtCbYCrY,
     {kFmtRGB32, kFmtCbYCrA, kFmtCbYCrY, kFmtRGB32StudioOpen, kFmtPlanar420, kFmtPlanar422, kFmtRGB24,
      kFmtYCbYCr, kFmtPlanarGrouped, kFmtYCbCrA, kFmtCbYCrY4, kFmtYCbCrAShaped, kFmtYCbCr24}},
    {kFmtRGB32NarrowClamp, {kFmtCbYCrA, kFmtRGB32NarrowClamp}},
    {kFmtRGB32Studio, {kFmtCbYCrA, kFmtRGB32Studio}},
    {kFmtRGB32StudioOpen,
     {kFmtCbYCrA, kFmtCbYCrY, kFmtRGB32StudioOpen, kFmtPlanar411, kFmtPlanarGrouped, kFmtCbYCrY4Shaped,
      kFmtCbYCrY4}},
    {kFmtPlanar420, {kFmtRGB32, kFmtRGB32StudioOpen}},
    {kFmtPlanar420Interlaced, {kFmtRGB32, kFmtRGB32StudioOpen}},
    {kFmtPlanar411, {kFmtRGB32, kFmtRGB32StudioOpen}},
    {kFmtRGB24, {kFmtRGB32, kFmtCbYCrY, kFmtRGB24, kFmtYCbYCr, kFmtRGB32ShapedOpaque}},
    {kFmtYCbYCr, {kFmtRGB32, kFmtCbYCrY, kFmtRGB32StudioOpen, kFmtRGB24}},
    {kFmtPlanarGrouped, {kFmtCbYCrY}},
    {kFmtYCbCrA, {kFmtYCbCrA, kFmtCbYCrY4}},
    {kFmtRGB32Shaped, {kFmtRGB32, kFmtCbYCrY, kFmtRGB32Shaped, kFmtCbYCrY4, kFmtYCbCrAShaped}},
    {kFmtCbYCrAShaped, {kFmtCbYCrAShaped, kFmtCbYCrY4Shaped}},
    {kFmtCbYCrY4Shaped,
     {kFmtRGB32, kFmtRGB32StudioOpen, kFmtYCbCrA, kFmtCbYCrAShaped, kFmtCbYCrY4, kFmtYCbCrAShaped}},
    {kFmtCbYCrY4,
     {kFmtRGB32, kFmtCbYCrA, kFmtCbYCrY, kFmtRGB32StudioOpen, kFmtRGB24, kFmtYCbCrA, kFmtRGB32Shaped,
      kFmtCbYCrY4Shaped, kFmtCbYCrY4, kFmtYCbCrAShaped}},
    {kFmtCbYCr24, {kFmtCbYCrY}},
    {kFmtYCbCr24, {kFmtCbYCrY}},
};

inline const PairList kFixedPointPath = {
    {kFmtRGB32, {kFmtRGB32, kFmtCbYCrA}}, {kFmtCbYCrA, {kFmtCbYCrA}},
    {kFmtCbYCrY, {kFmtCbYCrY}},           {kFmtRGB32NarrowClamp, {kFmtRGB32NarrowClamp}},
    {kFmtRGB32Studio, {kFmtRGB32Studio}}, {kFmtRGB32StudioOpen, {kFmtRGB32StudioOpen}}};

inline const PairList kFloatSimdPath = {{kFmtRGB32, {kFmtCbYCrA}}};

}  // namespace convert_test

#endif  // TESSELU_TESTS_CONVERT_PAIRSOFPATHS_H
