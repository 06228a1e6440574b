#include <TesselU/composite/ZanCompositor.h>
#include <TesselU/image/Image.h>
#include <TesselU/image/ImageView.h>

#include <memory>

#include "kernels/CasePictures.h"
#include "kernels/Operations.h"

namespace kernelcheck {

namespace {

using namespace Zan;

ULong32* Words(std::uint8_t* p) {
    return reinterpret_cast<ULong32*>(p);
}
Long32 Pitch(const Plane& plane) {
    return static_cast<Long32>(plane.pitch());
}

/// A destination of its own, or one of the sources.
Plane& Destination(Case& c, Plane& source) {
    return Pick(c.random, 0, 3) == 0 ? source : c.Add(4 * c.width, c.height, 4);
}

/// A plane of keys, noise all over or in places.
Plane& Keys(Case& c, std::size_t rowBytes, std::size_t rows, Plane::Kind kind = Plane::Kind::kMemory) {
    Plane& keys = c.Add(rowBytes, rows, 1, 0, kind);
    if (Pick(c.random, 0, 1) != 0)
        keys.PutRuns(c.random);
    return keys;
}

double Fraction(Random& random) {
    static constexpr double kSpecial[] = {0,         1,           0.5,       -0.5,       1.5,
                                          1.0 / 255, 254.0 / 255, 1.0 / 256, 255.0 / 256};
    const std::size_t n = Pick(random, 0, 2 * std::size(kSpecial));
    return n < std::size(kSpecial) ? kSpecial[n] : std::uniform_real_distribution<double>(0, 1)(random);
}

Operation Dissolve(CPUinstructionSetEnum set, unsigned path) {
    return {"CrossDissolve, path " + std::to_string(path),
            [path](Case& c) -> Operation::Run {
                Plane &a = c.Add(4 * c.width, c.height, 4), &b = c.Add(4 * c.width, c.height, 4);
                Plane& out = Destination(c, b);
                const double fade = Fraction(c.random);
                return [=, &a, &b, &out, w = Size(c.width), h = Size(c.height)] {
                    ZanCompositor compositor;
                    return compositor.CrossDissolve(Words(a.row()), Words(b.row()), Words(out.row()), w, h,
                                                    Pitch(a), Pitch(b), Pitch(out), fade, path);
                };
            },
            set};
}

Operation TwoSources(CPUinstructionSetEnum set) {
    return {"CompositeTwoSources",
            [](Case& c) -> Operation::Run {
                Plane &a = c.Add(4 * c.width, c.height, 4), &b = c.Add(4 * c.width, c.height, 4);
                Plane& out = Destination(c, a);
                return [&a, &b, &out, w = Size(c.width), h = Size(c.height)] {
                    ZanCompositor compositor;
                    return compositor.CompositeTwoSources(Words(a.row()), Words(b.row()), Words(out.row()), w,
                                                          h, Pitch(a), Pitch(b), Pitch(out), 2);
                };
            },
            set};
}

Operation Alpha(CPUinstructionSetEnum set, unsigned path) {
    return {"CompositeTwoSrcAndAlpha, path " + std::to_string(path),
            [path](Case& c) -> Operation::Run {
                Plane &a = c.Add(4 * c.width, c.height, 4), &b = c.Add(4 * c.width, c.height, 4);
                Plane& key = Keys(c, c.width, c.height);
                Plane& out = Destination(c, b);
                return [=, &a, &b, &key, &out, w = Size(c.width), h = Size(c.height)] {
                    ZanCompositor compositor;
                    return compositor.CompositeTwoSrcAndAlpha(
                        Words(a.row()), Words(b.row()), Words(key.row()), Words(out.row()), w, h, Pitch(a),
                        Pitch(b), Pitch(key), Pitch(out), path);
                };
            },
            set};
}

Operation Gradient(CPUinstructionSetEnum set, unsigned path) {
    return {"CompositeTwoSrcAndAlphaGradient, path " + std::to_string(path),
            [path](Case& c) -> Operation::Run {
                Plane &a = c.Add(4 * c.width, c.height, 4), &b = c.Add(4 * c.width, c.height, 4);
                Plane& key = Keys(c, c.width, c.height);
                Plane& out = Destination(c, a);
                // Thresholds and gains beyond the nominal range wrap in 16 bits, alike on every target.
                const double threshold = Fraction(c.random) * (Pick(c.random, 0, 4) == 0 ? -300 : 1);
                const double gain = Fraction(c.random) * (Pick(c.random, 0, 4) == 0 ? 20 : 1);
                return [=, &a, &b, &key, &out, w = Size(c.width), h = Size(c.height)] {
                    ZanCompositor compositor;
                    return compositor.CompositeTwoSrcAndAlphaGradient(
                        Words(a.row()), Words(b.row()), Words(key.row()), Words(out.row()), w, h, Pitch(a),
                        Pitch(b), Pitch(key), Pitch(out), threshold, gain, path);
                };
            },
            set};
}

Operation Differences(CPUinstructionSetEnum set, unsigned path) {
    return {"SumOfAbsDiffs, path " + std::to_string(path),
            [path](Case& c) -> Operation::Run {
                Plane &a = c.Add(4 * c.width, c.height, 4), &b = c.Add(4 * c.width, c.height, 4);
                Plane& out = c.Add(c.width, c.height);
                return [=, &a, &b, &out, w = Size(c.width), h = Size(c.height)] {
                    ZanCompositor compositor;
                    return compositor.SumOfAbsDiffs(Words(a.row()), Words(b.row()), out.row(), w, h, Pitch(a),
                                                    Pitch(b), Pitch(out), path);
                };
            },
            set,
            // The vector path needs integer SSE, and has nothing to fall back to.
            path == 2 && set == kMMX ? Operation::Proof::kRefuses : Operation::Proof::kWrites};
}

Operation SubPixel() {
    return {"XSubPixelPosition", [](Case& c) -> Operation::Run {
                Plane& in = c.Add(4 * c.width, c.height, 4);
                Plane& out = Destination(c, in);
                const double position = Fraction(c.random);
                return [=, &in, &out, w = Size(c.width), h = Size(c.height)] {
                    ZanCompositor compositor;
                    return compositor.XSubPixelPosition(Words(in.row()), Words(out.row()), w, h, Pitch(in),
                                                        Pitch(out), position, 1);
                };
            }};
}

/// Pictures A, B and the destination, which may be one of the others, and the views on them.
struct ThreeViews {
    std::shared_ptr<Image> images[3];
    ImageView a, b, out;

    ThreeViews(Case& c, AggregateChannelSamplingEnum sampling, ColorSpaceEnum space)
        : images{PictureOf(c, sampling, space), PictureOf(c, sampling, space), nullptr} {
        const std::size_t place = Pick(c.random, 0, 7);
        images[2] = place < 2 ? images[place] : PictureOf(c, sampling, space);
        a = ViewOf(images[0], c);
        b = ViewOf(images[1], c);
        out = ViewOf(images[2], c);
    }
    ThreeViews(std::shared_ptr<Image> first, std::shared_ptr<Image> second, std::shared_ptr<Image> third,
               const Case& c)
        : images{std::move(first), std::move(second), std::move(third)},
          a(ViewOf(images[0], c)),
          b(ViewOf(images[1], c)),
          out(ViewOf(images[2], c)) {}
};

const char* NameOf(AggregateChannelSamplingEnum sampling) {
    static constexpr const char* kNames[] = {"k4444", "k444", "k422", "k4224"};
    return kNames[sampling];
}

Operation DissolveViews(CPUinstructionSetEnum set, AggregateChannelSamplingEnum sampling,
                        ProcessingStyleEnum style) {
    return {std::string("CrossDissolve of views, ") + NameOf(sampling) + ", style " + std::to_string(style),
            [=](Case& c) -> Operation::Run {
                // Sources of 4:2:2 with alpha may have none.
                const auto source = [&] {
                    return sampling == k4224 && Pick(c.random, 0, 2) == 0 ? k422 : sampling;
                };
                const ColorSpaceEnum space = sampling == k4444 ? kRGB : kYCrCb;
                auto first = PictureOf(c, source(), space), second = PictureOf(c, source(), space);
                const ThreeViews views(first, second, PictureOf(c, sampling, space), c);
                const double fade = Fraction(c.random);
                return [=] {
                    ThreeViews v = views;
                    ZanCompositor compositor;
                    return compositor.CrossDissolve(v.a, v.b, v.out, fade, style);
                };
            },
            set};
}

Operation TwoSourcesOfViews(ProcessingStyleEnum style) {
    return {"CompositeTwoSources of views, style " + std::to_string(style), [=](Case& c) -> Operation::Run {
                const ThreeViews views(c, k4444, kRGB);
                return [=] {
                    ThreeViews v = views;
                    ZanCompositor compositor;
                    return compositor.CompositeTwoSources(v.a, v.b, v.out, style);
                };
            }};
}

Operation AlphaOfViews(ProcessingStyleEnum style) {
    return {"CompositeTwoSrcAndAlpha of views, style " + std::to_string(style),
            [=](Case& c) -> Operation::Run {
                const ThreeViews views(c, k4444, kRGB);
                auto key = ImageOn({&Keys(c, c.width, c.height, Plane::Kind::kImage)}, kAlphaOnly, k4444,
                                   c.width, c.height);
                return [=, region = views.a.GetRegionOfInterest()] {
                    ImageView keys(key.get(), region, kFrame);
                    ThreeViews v = views;
                    ZanCompositor compositor;
                    return compositor.CompositeTwoSrcAndAlpha(v.a, v.b, keys, v.out, style);
                };
            }};
}

Operation Over() {
    return {"AoverB", [](Case& c) -> Operation::Run {
                auto a = PictureOf(c, k4224, kYCrCb), b = PictureOf(c, k4224, kYCrCb, kShaped2);
                const ThreeViews views(
                    a, b, Pick(c.random, 0, 3) == 0 ? b : PictureOf(c, k4224, kYCrCb, kShaped2), c);
                return [=] {
                    ThreeViews v = views;
                    ZanCompositor compositor;
                    return compositor.AoverB(v.a, v.b, v.out, kBestAvailable);
                };
            }};
}

Operation OverFaded(bool opaqueB, ProcessingStyleEnum style) {
    return {std::string("CompositeUnshapedAoverBwithFadeOfA, ") + (opaqueB ? "straight" : "premultiplying") +
                ", style " + std::to_string(style),
            [=](Case& c) -> Operation::Run {
                auto a = PictureOf(c, k4444, kRGB), b = PictureOf(c, k4444, kRGB);
                b->SetAlphaChannelDescription(opaqueB ? kAlphaOpaque : kAlphaVarying);
                const ThreeViews views(a, b, PictureOf(c, k4444, kRGB, kShaped), c);
                const double fade = Fraction(c.random);
                return [=] {
                    ThreeViews v = views;
                    ZanCompositor compositor;
                    return compositor.CompositeUnshapedAoverBwithFadeOfA(v.a, v.b, v.out, fade, style);
                };
            }};
}

Operation Border(AggregateChannelSamplingEnum sampling, std::size_t keyBytes) {
    return {std::string("wipe with border, ") + NameOf(sampling) + ", key of " + std::to_string(keyBytes),
            [=](Case& c) -> Operation::Run {
                const ColorSpaceEnum space = sampling == k4444 ? kRGB : kYCrCb;
                const auto source = [&] {
                    return sampling == k4224 && Pick(c.random, 0, 2) == 0 ? k422 : sampling;
                };
                auto first = PictureOf(c, source(), space), second = PictureOf(c, source(), space);
                const ThreeViews views(first, second,
                                       Pick(c.random, 0, 3) == 0 ? first : PictureOf(c, sampling, space), c);
                // Keys of two bytes are read from every second row.
                const std::size_t rows = c.height * keyBytes;
                const ImageDescriptor format(Size(EvenWidth(c)), Size(rows), kAlphaOnly, k4444, kBGRA,
                                             kPacked, kProgressive, kNoFields, kTopLeft,
                                             keyBytes == 2 ? k16Bits : k8Bits, 1.0F, kUnshaped);
                const Plane& plane = Keys(c, keyBytes * EvenWidth(c), rows, Plane::Kind::kImage);
                auto key =
                    std::make_shared<Image>(plane.row(), static_cast<ULong32>(plane.pitch()), format, 1U, 1U);
                const double position = Fraction(c.random);
                const double widths[3] = {Fraction(c.random) * 100, Fraction(c.random) * 100,
                                          Fraction(c.random) * 100};
                const auto colour = static_cast<ULong32>(c.random());
                return [=, region = views.a.GetRegionOfInterest()] {
                    ImageView keys(key.get(), region, kFrame);
                    ThreeViews v = views;
                    ZanCompositor compositor;
                    return compositor.CompositeTwoSrcAndAlphaGradientWithBorder(
                        v.a, v.b, keys, v.out, position, widths[0], widths[1], widths[2], colour,
                        kBestAvailable);
                };
            }};
}

Operation Converting() {
    return {"CompositeTwoSrcCSCAndAlphaGradient", [](Case& c) -> Operation::Run {
                const std::size_t even = EvenWidth(c);
                Plane &a = c.Add(2 * even, c.height, 4), &b = c.Add(2 * even, c.height, 4);
                Plane &key = Keys(c, c.width, c.height), &out = c.Add(4 * c.width, c.height, 4);
                const double threshold = Fraction(c.random) * (Pick(c.random, 0, 4) == 0 ? -300 : 1);
                const double gain = Fraction(c.random) * (Pick(c.random, 0, 4) == 0 ? 20 : 1);
                return [=, &a, &b, &key, &out, w = Size(c.width), h = Size(c.height)] {
                    ZanCompositor compositor;
                    return compositor.CompositeTwoSrcCSCAndAlphaGradient(
                        Words(a.row()), Words(b.row()), Words(key.row()), Words(out.row()), w, h, Pitch(a),
                        Pitch(b), Pitch(key), Pitch(out), threshold, gain, 2);
                };
            }};
}

Operation WordFill(CPUinstructionSetEnum set) {
    return {"Fill of words",
            [](Case& c) -> Operation::Run {
                // The alignment step may run over the end of a short row.
                Plane& out = c.Add(4 * c.width, c.height, 4, 16, Plane::Kind::kImage);
                auto image = ImageOn({&out}, kRGB, k4444, c.width, c.height);
                const auto colour = static_cast<ULong32>(c.random());
                const ULong32 mask =
                    Pick(c.random, 0, 2) == 0 ? static_cast<ULong32>(c.random()) : 0xFFFFFFFFU;
                return [=] {
                    ImageView view(image.get());
                    ZanCompositor compositor;
                    return compositor.Fill(view, colour, mask, kBestAvailable);
                };
            },
            set};
}

/// A view of odd width, which writes every second word.
Operation PairFill() {
    return {"Fill of pairs", [](Case& c) -> Operation::Run {
                // Rows reach twice as far as their pixels.
                const std::size_t even = (c.width + 2) / 2 * 2;
                Plane& out = c.Add(4 * even, c.height, 4, 0, Plane::Kind::kImage);
                auto image = ImageOn({&out}, kYCrCb, k422, 2 * even, c.height);
                const auto colour = static_cast<ULong32>(c.random());
                return [=, w = static_cast<Long32>(c.width | 1), h = static_cast<Long32>(c.height)] {
                    ImageView view(image.get(), Rectangle(0, 0, w, h), kFrame);
                    ZanCompositor compositor;
                    return compositor.Fill(view, colour, 0xFFFFFFFFU, kBestAvailable);
                };
            }};
}

Operation AlphaFill() {
    return {"FillAlpha", [](Case& c) -> Operation::Run {
                const std::size_t even = (c.width + 1) / 2 * 2;
                Plane& colour = c.Add(2 * even, c.height, 4, 0, Plane::Kind::kImage);
                Plane& alpha = c.Add(even, c.height, 1, 16, Plane::Kind::kImage);
                auto image = ImageOn({&colour, &alpha}, kYCrCb, k4224, even, c.height);
                const auto value = static_cast<ULong32>(c.random());
                return [=] {
                    ImageView view(image.get());
                    ZanCompositor compositor;
                    return compositor.FillAlpha(view, value, kBestAvailable);
                };
            }};
}

Operation ByteFill(CPUinstructionSetEnum set) {
    return {"Fill of bytes",
            [](Case& c) -> Operation::Run {
                Plane& out = c.Add(c.width, c.height, 1, 16, Plane::Kind::kImage);
                auto image = ImageOn({&out}, kAlphaOnly, k4444, c.width, c.height);
                const auto colour = static_cast<ULong32>(c.random());
                const ULong32 mask = Pick(c.random, 0, 2) == 0 ? static_cast<ULong32>(c.random()) : 255U;
                return [=] {
                    ImageView view(image.get());
                    ZanCompositor compositor;
                    return compositor.Fill(view, colour, mask, kBestAvailable);
                };
            },
            set};
}

Operation ReadPass(bool two) {
    return {two ? "ReadOnlyTwoSources" : "ReadOnlySingleSource",
            [two](Case& c) -> Operation::Run {
                Plane &a = c.Add(4 * c.width, c.height, 4, 0, Plane::Kind::kImage),
                      &b = c.Add(4 * c.width, c.height, 4, 0, Plane::Kind::kImage);
                auto first = ImageOn({&a}, kRGB, k4444, c.width, c.height);
                auto second = ImageOn({&b}, kRGB, k4444, c.width, c.height);
                return [=] {
                    ImageView viewA(first.get()), viewB(second.get());
                    ZanCompositor compositor;
                    ULong32 result = 0;
                    if (two)
                        compositor.ReadOnlyTwoSources(viewA, viewB, result, kBestAvailable);
                    else
                        compositor.ReadOnlySingleSource(viewA, result, kBestAvailable);
                    return static_cast<Long32>(result);
                };
            },
            kSSE2, Operation::Proof::kReads};
}

Operation OrPass() {
    return {"ReadTwoSourcesWriteDst", [](Case& c) -> Operation::Run {
                Plane &a = c.Add(4 * c.width, c.height, 4, 0, Plane::Kind::kImage),
                      &b = c.Add(4 * c.width, c.height, 4, 0, Plane::Kind::kImage);
                Plane& out = c.Add(4 * c.width, c.height, 4, 0, Plane::Kind::kImage);
                std::shared_ptr<Image> images[3];
                for (int i = 0; Plane * plane : {&a, &b, &out})
                    images[i++] = ImageOn({plane}, kRGB, k4444, c.width, c.height);
                return [=] {
                    ImageView viewA(images[0].get()), viewB(images[1].get()), viewOut(images[2].get());
                    ZanCompositor compositor;
                    return compositor.ReadTwoSourcesWriteDst(viewA, viewB, viewOut, kBestAvailable);
                };
            }};
}

Operation Wipe(ProcessingStyleEnum style, AggregateChannelSamplingEnum sampling) {
    static constexpr const char* kSamplings[] = {"k4444", "k444", "k422", "k4224"};
    return {"soft wipe, " + std::string(kSamplings[sampling]) + ", style " + std::to_string(style),
            [=](Case& c) -> Operation::Run {
                // Images of 4:2:2 have an even width; a view need not.
                const bool pairs = sampling != k4444;
                const std::size_t even = pairs ? (c.width + 1) / 2 * 2 : c.width;
                std::shared_ptr<Image> images[3];
                for (auto& image : images) {
                    std::vector<Plane*> planes = {
                        &c.Add(pairs ? 2 * even : 4 * even, c.height, 4, 0, Plane::Kind::kImage)};
                    if (sampling == k4224)
                        planes.push_back(&c.Add(even, c.height, 1, 0, Plane::Kind::kImage));
                    image = ImageOn(planes, pairs ? kYCrCb : kRGB, sampling, even, c.height);
                }
                Plane& keyPlane = Keys(c, even, c.height, Plane::Kind::kImage);
                auto key = ImageOn({&keyPlane}, kAlphaOnly, k4444, even, c.height);
                const double position = Fraction(c.random), softness = Fraction(c.random) * 300;
                return [=, w = static_cast<Long32>(c.width), h = static_cast<Long32>(c.height)] {
                    const Rectangle region(0, 0, w, h);
                    ImageView a(images[0].get(), region, kFrame), b(images[1].get(), region, kFrame);
                    ImageView out(images[2].get(), region, kFrame), keys(key.get(), region, kFrame);
                    ZanCompositor compositor;
                    return compositor.CompositeTwoSrcAndAlphaGradient(a, b, keys, out, position, softness,
                                                                      style);
                };
            }};
}

}  // namespace

std::vector<Operation> CompositeOperations() {
    std::vector<Operation> all;
    for (const CPUinstructionSetEnum set : {kMMX, kSSE_MMX, kSSE2}) {
        for (const unsigned path : {0U, 1U, 2U})
            all.push_back(Dissolve(set, path));
        all.push_back(TwoSources(set));
        for (const unsigned path : {1U, 2U}) {
            all.push_back(Alpha(set, path));
            all.push_back(Gradient(set, path));
            all.push_back(Differences(set, path));
        }
        all.push_back(WordFill(set));
        all.push_back(ByteFill(set));
    }
    all.push_back(SubPixel());
    all.push_back(PairFill());
    all.push_back(AlphaFill());
    all.push_back(ReadPass(false));
    all.push_back(ReadPass(true));
    all.push_back(OrPass());
    for (const AggregateChannelSamplingEnum sampling : {k4444, k422, k4224})
        for (const ProcessingStyleEnum style : {kFlp, kBestAvailable})
            all.push_back(Wipe(style, sampling));
    for (const AggregateChannelSamplingEnum sampling : {k4444, k422, k4224}) {
        for (const ProcessingStyleEnum style : {kFlp, kFP, kBestAvailable})
            all.push_back(DissolveViews(kSSE2, sampling, style));
        for (const CPUinstructionSetEnum set : {kMMX, kSSE_MMX})
            all.push_back(DissolveViews(set, sampling, kBestAvailable));
        all.push_back(Border(sampling, 1));
        all.push_back(Border(sampling, 2));
    }
    for (const ProcessingStyleEnum style : {kFP, kBestAvailable}) {
        all.push_back(TwoSourcesOfViews(style));
        all.push_back(AlphaOfViews(style));
        all.push_back(OverFaded(false, style));
        all.push_back(OverFaded(true, style));
    }
    all.push_back(Over());
    all.push_back(Converting());
    return all;
}

}  // namespace kernelcheck
