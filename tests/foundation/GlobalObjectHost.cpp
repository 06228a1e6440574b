// A host whose global objects use the library in their constructors, before `main`. However it is linked,
// they must get the answers that `main` gets.
#include <TesselU/TesselU.h>

#include <cstdio>

namespace {

struct Answers {
    Zan::Long32 status = -1;
    unsigned char difference = 0;
    Zan::ULong32 pitch = 0;
    Zan::ULong32 processors = 0;
    Zan::CPUinstructionSetEnum set = Zan::kScalarOnly;
};

Answers Ask() {
    Answers answers;
    alignas(64) Zan::ULong32 a[8] = {0x00302010U};
    alignas(64) Zan::ULong32 b[8] = {0x00302515U};
    alignas(64) unsigned char differences[8] = {};
    answers.status = Zan::ZanCompositor().SumOfAbsDiffs(a, b, differences, 8, 1, 32, 32, 8, 2);
    answers.difference = differences[0];
    const Zan::Image image({96, 4, Zan::kAlphaOnly, Zan::kProgressive, Zan::kNoFields, Zan::kTopLeft, 1.0F},
                           64);
    answers.pitch = image.GetPitch(0);
    answers.processors = Zan::Image::CPUinstructionSet.GetNumberOfTotalProcessors();
    answers.set = Zan::Image::CPUinstructionSet.WhichInstructionSetIsSupported();
    return answers;
}

struct Global {
    Answers answers = Ask();
};

// The earliest that a host can ask for, which may be ahead of the library's own initialiser.
#if defined(__ELF__) || defined(__MINGW32__)
__attribute__((init_priority(101)))
#endif
const Global first;
const Global ordinary;

int Check(const char* when, const Answers& answers) {
    const bool sse2 = answers.set == Zan::kSSE2;
    // Channel by channel |10h - 15h| + |20h - 25h| + |30h - 30h|.
    const bool right = answers.set == Zan::CPUcapabilities().WhichInstructionSetIsSupported() &&
                       answers.status == 0 && answers.difference == 10 &&
                       answers.pitch == (sse2 ? 128U : 96U) &&
                       answers.processors == Zan::CPUcapabilities().GetNumberOfTotalProcessors();
    std::printf("%s: SumOfAbsDiffs %d, difference %u, pitch %u, %u processors, instruction set %d: %s\n",
                when, static_cast<int>(answers.status), answers.difference,
                static_cast<unsigned>(answers.pitch), static_cast<unsigned>(answers.processors),
                static_cast<int>(answers.set), right ? "right" : "WRONG");
    return right ? 0 : 1;
}

}  // namespace

int main() {
    return Check("earliest object", first.answers) + Check("global object", ordinary.answers) +
           Check("main", Ask());
}
