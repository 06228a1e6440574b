#ifndef TESSELU_TESTS_TONE_MODEL_TABLES_H
#define TESSELU_TESTS_TONE_MODEL_TABLES_H

#include <functional>

#include "tone/model/Operand.h"

// Tables and what they do to a picture, one byte at a time.

namespace tone_model {

/// Tables of numbers of 1, 2 or 4 bytes, kept as the bytes that they have in memory.
class Tables {
public:
    Tables(std::uint32_t tables, std::uint32_t entries, std::uint32_t bits);

    void Set(std::uint32_t table, std::uint32_t entry, std::uint32_t value);
    std::uint32_t Get(std::uint32_t table, std::uint32_t entry) const;
    void SetToIdentity(std::uint32_t table);
    void SetByFunction(std::uint32_t table, const std::function<double(double)>& function, double low,
                       double high);
    /// `type` by its number.
    void SetToGamma(std::uint32_t table, int type, double low, double high);

    /// On views of pairs: the status, and the changed destination.
    int Apply(const Operand& source, Operand& destination) const;

    std::uint32_t count, entries, bits, bytes;

private:
    /// Bytes are taken from a table as they lie in memory; 0 beyond it.
    Byte ByteAt(std::uint32_t table, std::size_t index) const;

    std::vector<std::vector<Byte>> memory;
};

/// One of the curves, in doubles, powers to the nearest.
double GammaCurve(int type, double x);

/// The negative of a byte in the channels Cb, Y, Cr, alpha.
int Inverted(int channel, int value);

/// 1 to 255 as they are; what lies beyond is limited.
double LimitedLevels(double levels);
/// A byte in fewer levels; `neutral` is 128 for chroma, 16 for luma.
int Posterized(int value, int neutral, double levels);
int PosterizedInFixedPoint(int value, int neutral, double levels);

/// `levels` of Cb, Y, Cr.
int Posterize(const Operand& source, Operand& destination, const double (&levels)[3], int style);

/// Pairs with tables of two dimensions, of component and alpha. `planes` are source, its alpha, destination,
/// its alpha, of `width` columns.
void ApplyByComponentAndAlpha(const std::vector<std::vector<Byte>>& tables, const Plane& source,
                              const Plane& sourceAlpha, Plane& destination, Plane& destinationAlpha,
                              int width, int height);

/// Adds the bytes of a picture of four bytes a pixel to the counts.
int Count(const Operand& picture, std::vector<std::vector<std::uint32_t>>& counts);

}  // namespace tone_model

#endif  // TESSELU_TESTS_TONE_MODEL_TABLES_H
