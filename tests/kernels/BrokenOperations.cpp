// Kernels that are wrong in the ways in which kernels go wrong. The comparison must find every one.

#include "kernels/Operations.h"
#include "simd/Targets.h"

namespace kernelcheck {

namespace {

bool OnVectors() {
    return Zan::simd::CurrentTarget() != Zan::simd::kPortable;
}

/// Inverts the bytes of a plane, rightly; then `fault` spoils it.
template <class Fault>
Operation Inverting(const char* name, Fault fault) {
    return {name, [fault](Case& c) -> Operation::Run {
                Plane &in = c.Add(c.width, c.height), &out = c.Add(c.width, c.height);
                return [fault, &in, &out, w = c.width, h = c.height]() -> Zan::Long32 {
                    for (std::size_t y = 0; y < h; ++y) {
                        for (std::size_t x = 0; x < w; ++x) {
                            out.row(y)[x] = static_cast<std::uint8_t>(~in.row(y)[x]);
                        }
                    }
                    return OnVectors() && w > 0 && h > 0 ? fault(in, out, w, h) : 0;
                };
            }};
}

}  // namespace

std::vector<Operation> BrokenOperations() {
    using Zan::Long32;
    return {
        Inverting("off by one in the last column",
                  [](Plane&, Plane& out, std::size_t w, std::size_t) -> Long32 {
                      out.row()[w - 1] = static_cast<std::uint8_t>(out.row()[w - 1] + 1);
                      return 0;
                  }),
        Inverting("a byte before the first row",
                  [](Plane&, Plane& out, std::size_t, std::size_t) -> Long32 {
                      if (out.Offset(out.row()) != 0) {
                          out.row()[-1] = static_cast<std::uint8_t>(~out.row()[-1]);
                      }
                      return 0;
                  }),
        Inverting("a byte in the padding between rows",
                  [](Plane&, Plane& out, std::size_t w, std::size_t h) -> Long32 {
                      if (h > 1 && out.pitch() > static_cast<std::ptrdiff_t>(w)) {
                          out.row()[w] = static_cast<std::uint8_t>(~out.row()[w]);
                      }
                      return 0;
                  }),
        Inverting("the last row forgotten",
                  [](Plane& in, Plane& out, std::size_t w, std::size_t h) -> Long32 {
                      for (std::size_t x = 0; x < w; ++x) {
                          out.row(h - 1)[x] = in.row(h - 1)[x];
                      }
                      return 0;
                  }),
        Inverting("a source written to",
                  [](Plane& in, Plane&, std::size_t, std::size_t) -> Long32 {
                      in.row()[0] = static_cast<std::uint8_t>(~in.row()[0]);
                      return 0;
                  }),
        Inverting("another status", [](Plane&, Plane&, std::size_t, std::size_t) -> Long32 { return 100; }),
        Inverting("off by one in pictures so wide that rows are aligned",
                  [](Plane&, Plane& out, std::size_t w, std::size_t) -> Long32 {
                      if (w > 1001) {
                          out.row()[w / 2] = static_cast<std::uint8_t>(out.row()[w / 2] + 1);
                      }
                      return 0;
                  }),
        Inverting("off by one at an address that is no multiple of 16",
                  [](Plane&, Plane& out, std::size_t w, std::size_t) -> Long32 {
                      if (w > 201 && reinterpret_cast<std::uintptr_t>(out.row()) % 16 != 0) {
                          out.row()[0] = static_cast<std::uint8_t>(out.row()[0] + 1);
                      }
                      return 0;
                  }),
        {"refused in every case",
         [](Case& c) -> Operation::Run {
             c.Add(c.width, c.height);
             return [] { return Long32{100}; };
         }},
        {"nothing done in any case",
         [](Case& c) -> Operation::Run {
             c.Add(c.width, c.height);
             return [] { return Long32{0}; };
         }},
    };
}

}  // namespace kernelcheck
