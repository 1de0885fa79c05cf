#include "RowCorrection.h"

#include <cstring>

#include "Correction.h"
#include "VectorClones.h"
#include "VectorRowLoops.h"

namespace {
// The hot loop of the program: a straight walk over the row with no calls that
// stay calls, no branches on the layout or byte order and no allocation, so
// the compiler can keep it in vector registers. Gain and CorrectedSample are
// the formula's own inline functions, so the results are the per-pixel ones.
template <class Sample, bool SubjectSwap, bool WhiteSwap>
BRISAVANE_VECTOR_CLONES void CorrectPixels(double targetLevel, double ceiling,
                                           const std::uint8_t* __restrict subject,
                                           const std::uint8_t* __restrict white,
                                           std::uint8_t* __restrict out, std::size_t pixels) {
    constexpr std::size_t w = sizeof(Sample);
    for (std::size_t p = 0; p < pixels; ++p) {
        const std::size_t i = p * 3 * w;
        const double gain = Gain(targetLevel, LoadSample<Sample, WhiteSwap>(white + i + w));
        const double red = LoadSample<Sample, SubjectSwap>(subject + i);
        const double green = LoadSample<Sample, SubjectSwap>(subject + i + w);
        const double blue = LoadSample<Sample, SubjectSwap>(subject + i + 2 * w);
        StoreSample<Sample, SubjectSwap>(out + i, CorrectedSample(gain, red, ceiling));
        StoreSample<Sample, SubjectSwap>(out + i + w, CorrectedSample(gain, green, ceiling));
        StoreSample<Sample, SubjectSwap>(out + i + 2 * w, CorrectedSample(gain, blue, ceiling));
    }
}

using PixelLoop = void (*)(double, double, const std::uint8_t*, const std::uint8_t*, std::uint8_t*,
                           std::size_t);

PixelLoop ChooseLoop(bool eightBit, bool subjectSwap, bool whiteSwap) {
    if (eightBit) return CorrectPixels<std::uint8_t, false, false>;
    if (subjectSwap)
        return whiteSwap ? CorrectPixels<std::uint16_t, true, true>
                         : CorrectPixels<std::uint16_t, true, false>;
    return whiteSwap ? CorrectPixels<std::uint16_t, false, true>
                     : CorrectPixels<std::uint16_t, false, false>;
}
}  // namespace

void CorrectRow(const PixelLayout& subject, bool whiteLittleEndian, double targetLevel,
                const std::uint8_t* subjectRow, const std::uint8_t* whiteRow, std::uint8_t* out) {
    const std::size_t pixels = subject.pixels;
    const bool whiteSwapped = subject.InOrder(whiteLittleEndian).Swapped();
    const std::size_t done =
        !VectorRowLoopsAvailable() ? 0
        : subject.EightBit() ? CorrectEightBitBlocks(targetLevel, subjectRow, whiteRow, out, pixels)
                             : CorrectSixteenBitBlocks(targetLevel, subject.Swapped(), whiteSwapped,
                                                       subjectRow, whiteRow, out, pixels);
    const std::size_t skip = done * subject.pixelBytes;
    const PixelLoop loop = ChooseLoop(subject.EightBit(), subject.Swapped(), whiteSwapped);
    loop(targetLevel, subject.Ceiling(), subjectRow + skip, whiteRow + skip, out + skip,
         pixels - done);
    const std::size_t whole = pixels * subject.pixelBytes;
    if (whole < subject.rowBytes)
        std::memcpy(out + whole, subjectRow + whole, subject.rowBytes - whole);
}

namespace {
// Stride and Colours, when not 0, fix the pixel's shape at compile time, so
// that the walk is a straight loop the compiler keeps in vector registers; 0
// takes them from the arguments, for the shapes few files have.
template <class Sample, std::size_t Stride, std::size_t Colours>
BRISAVANE_VECTOR_CLONES void CorrectHost(double targetLevel,
                                         const std::uint16_t* __restrict whiteGreen,
                                         std::uint8_t* __restrict samples, std::size_t pixels,
                                         std::size_t stride, std::size_t colours) {
    constexpr double ceiling = sizeof(Sample) == 1 ? 255.0 : 65535.0;
    constexpr std::size_t w = sizeof(Sample);
    if constexpr (Stride != 0) {
        stride = Stride;
        colours = Colours;
    }
    for (std::size_t p = 0; p < pixels; ++p) {
        const double gain = Gain(targetLevel, whiteGreen[p]);
        std::uint8_t* pixel = samples + p * stride * w;
        for (std::size_t c = 0; c < colours; ++c) {
            const double sample = LoadSample<Sample, false>(pixel + c * w);
            StoreSample<Sample, false>(pixel + c * w, CorrectedSample(gain, sample, ceiling));
        }
    }
}

using HostLoop = void (*)(double, const std::uint16_t*, std::uint8_t*, std::size_t, std::size_t,
                          std::size_t);

template <class Sample>
HostLoop ChooseHostLoop(std::size_t stride, std::size_t colours) {
    if (stride == 3 && colours == 3) return CorrectHost<Sample, 3, 3>;  // RGB
    if (stride == 4 && colours == 3) return CorrectHost<Sample, 4, 3>;  // RGB and alpha
    if (stride == 1 && colours == 1) return CorrectHost<Sample, 1, 1>;  // a colour plane
    return CorrectHost<Sample, 0, 0>;
}
}  // namespace

void CorrectHostSamples(double targetLevel, const std::uint16_t* whiteGreen, std::uint8_t* samples,
                        std::size_t pixels, std::size_t sampleBytes, std::size_t stride,
                        std::size_t colours) {
    const HostLoop loop = sampleBytes == 1 ? ChooseHostLoop<std::uint8_t>(stride, colours)
                                           : ChooseHostLoop<std::uint16_t>(stride, colours);
    loop(targetLevel, whiteGreen, samples, pixels, stride, colours);
}
