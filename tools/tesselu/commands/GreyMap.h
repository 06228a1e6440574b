#ifndef TESSELU_TOOLS_COMMANDS_GREYMAP_H
#define TESSELU_TOOLS_COMMANDS_GREYMAP_H

#include <TesselU/foundation/Types.h>

#include <cstdint>
#include <string>
#include <vector>

#include "cli/Command.h"
#include "media/Picture.h"
#include "run/OutputFile.h"

namespace tool {

class Arguments;

/// Samples of 8 or 16 bits as the library draws them, rows without gaps, all 0 at first.
struct GreyMap {
    /// `peak` stands for white, and has `significantBits` at most.
    GreyMap(FrameSize size, unsigned newBits, unsigned newSignificantBits, unsigned newPeak);

    unsigned width, height, bits, significantBits, peak;
    std::vector<std::uint8_t> samples;

    std::size_t BytesPerRow() const noexcept { return std::size_t{width} * (bits / 8); }

    /// What the records of patterns and masks have in common.
    template <class Record>
    Record NewRecord() {
        Record record = {};
        record.structSize = sizeof record;
        record.width = width;
        record.height = height;
        record.pitch = static_cast<Zan::Long32>(BytesPerRow());
        record.bitsPerSample = bits;
        record.significantBits = significantBits;
        record.peakValue = peak;
        record.pixels = samples.data();
        return record;
    }
};

/// --output, --size and --bits.
std::vector<Option> MapOptions();
/// The map that they ask for, of the whole range that the kind of file has.
GreyMap NewMap(const Arguments& arguments);

bool IsTga(const std::string& path);
/// As the name of the file says; the file is kept.
void WriteMap(OutputFile& file, GreyMap& map);

}  // namespace tool

#endif  // TESSELU_TOOLS_COMMANDS_GREYMAP_H
