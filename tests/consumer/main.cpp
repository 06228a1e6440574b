#include <TesselU/composite/ZanCompositor.h>

#include <cstdio>

// A dissolve of two pixels through the installed library.
int main() {
    Zan::ULong32 a[2] = {0xFFFFFFFFu, 0x00000000u};
    Zan::ULong32 b[2] = {0x00000000u, 0xFFFFFFFFu};
    Zan::ULong32 mixed[2] = {};
    Zan::ZanCompositor compositor;
    const Zan::Long32 status = compositor.CrossDissolve(a, b, mixed, 2, 1, 8, 8, 8, 1.0, 0);
    std::printf("status %d: %08x %08x\n", static_cast<int>(status), static_cast<unsigned>(mixed[0]),
                static_cast<unsigned>(mixed[1]));
    return status == 0 && mixed[0] == a[0] && mixed[1] == a[1] ? 0 : 1;
}
