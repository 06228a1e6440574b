#ifndef TESSELU_TONE_LOOKUPTABLE3D_H
#define TESSELU_TONE_LOOKUPTABLE3D_H

#include <TesselU/foundation/Status.h>
#include <TesselU/foundation/Types.h>

#include <memory>
#include <utility>

namespace Zan {

struct ColourLattice;

/// Maps whole colours: of every 32-bit pixel the low 24 bits, blue in the lowest byte, are replaced by what
/// the table has for them, and the top byte is cleared.
///
/// A table is the identity until a derived class sets another one. It is read-only during `Do`, which may run
/// on several threads. Copies share it.
class TESSELU_API LookUpTable3D {
public:
    /// Maps the pixels of plain memory: sizes in pixels and rows, pitches in bytes from one row to the next.
    /// Sizes and pitches are read as signed, and of the pitches the low two bits are cleared. `codePath` is
    /// ignored. In place if wanted.
    ///
    /// Returns 0; -1 for a negative width or height; 1 for a null address when there is something to do. A
    /// width or height of 0 or of 0x80000000 does nothing and returns 0.
    Long32 Do(ULong32* source, ULong32* destination, ULong32 width, ULong32 height, ULong32 sourcePitch,
              ULong32 destinationPitch, unsigned int codePath) const;

protected:
    /// Null: the identity.
    void SetLattice(std::shared_ptr<const ColourLattice> newLattice) noexcept {
        lattice = std::move(newLattice);
    }
    const ColourLattice* GetLattice() const noexcept { return lattice.get(); }

private:
    std::shared_ptr<const ColourLattice> lattice;
};

}  // namespace Zan

#endif  // TESSELU_TONE_LOOKUPTABLE3D_H
