#include "kernels/Arena.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace kernelcheck {

GuardedPages::GuardedPages(std::size_t size) : bytes(size) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t inner = (bytes + page - 1) / page * page;
    mapped = inner + 2 * page;
    void* all = mmap(nullptr, mapped, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (all == MAP_FAILED)
        throw std::bad_alloc();
    mapping = static_cast<std::uint8_t*>(all);
    memory = mapping + page;
    bytes = inner;
    if (inner != 0 && mprotect(memory, inner, PROT_READ | PROT_WRITE) != 0)
        throw std::bad_alloc();
}

GuardedPages::~GuardedPages() {
    munmap(mapping, mapped);
}

Plane::Plane(Random& random, std::size_t rowBytes, std::size_t rows, std::size_t alignment, std::size_t reach,
             Kind planeKind)
    : bytes(rowBytes), lines(rows), allowed(std::max(rowBytes, reach)) {
    // A third each: rows without padding, a little, a lot.
    const std::size_t kind = Pick(random, 0, 2);
    std::size_t distance = rowBytes + (kind == 0   ? 0
                                       : kind == 1 ? Pick(random, 1, 9)
                                                   : Pick(random, 10, 300));
    distance = (distance + alignment - 1) / alignment * alignment;
    // Plain memory ends with the last row; that of an image holds whole lines.
    const bool image = planeKind == Kind::kImage;
    const std::size_t used = rows == 0 ? 0 : image ? rows * distance : (rows - 1) * distance + allowed;
    const std::size_t offset = Pick(random, 0, 64 / alignment) * alignment;
    pages = std::make_shared<GuardedPages>(used + offset + alignment);

    // Against the page behind, or somewhere behind the page before.
    std::size_t start = offset;
    if (Pick(random, 0, 1) != 0)
        start = (pages->size() - used) / alignment * alignment;
    const bool upward = !image && Pick(random, 0, 2) == 0;
    step = upward ? -static_cast<std::ptrdiff_t>(distance) : static_cast<std::ptrdiff_t>(distance);
    first = pages->begin() + start + (upward && rows > 0 ? (rows - 1) * distance : 0);

    noise.resize(pages->size());
    for (std::size_t i = 0; i + 4 <= noise.size(); i += 4) {
        const std::uint32_t word = static_cast<std::uint32_t>(random());
        std::memcpy(&noise[i], &word, 4);
    }
    // Saturated samples are where the arithmetic goes wrong.
    for (std::size_t n = 0; n < noise.size() / 8; ++n)
        noise[Pick(random, 0, noise.size() - 1)] = Pick(random, 0, 1) != 0 ? 255 : 0;
    Reset();
}

void Plane::PutRuns(Random& random) {
    for (std::size_t i = 0; i < noise.size();) {
        const std::size_t run = std::min(Pick(random, 1, 300), noise.size() - i);
        const std::size_t kind = Pick(random, 0, 3);
        if (kind < 2) {
            std::fill_n(noise.begin() + static_cast<std::ptrdiff_t>(i), run,
                        static_cast<std::uint8_t>(kind == 0 ? 0 : 255));
        }
        i += run;
    }
    Reset();
}

void Plane::Reset() const {
    if (!noise.empty())
        std::memcpy(pages->begin(), noise.data(), noise.size());
}

std::vector<std::uint8_t> Plane::Contents() const {
    return {pages->begin(), pages->begin() + pages->size()};
}

bool Plane::OnlyRowsChanged(std::size_t* at) const {
    std::vector<bool> mayChange(noise.size());
    for (std::size_t y = 0; y < lines; ++y) {
        const std::size_t start = Offset(row(y));
        for (std::size_t i = start; i < start + allowed && i < mayChange.size(); ++i)
            mayChange[i] = true;
    }
    for (std::size_t i = 0; i < noise.size(); ++i) {
        if (!mayChange[i] && pages->begin()[i] != noise[i]) {
            *at = i;
            return false;
        }
    }
    return true;
}

}  // namespace kernelcheck
