#include <algorithm>

#include "Exceptions.h"
#include "PixelLayout.h"
#include "RowReader.h"
#include "TiffFile.h"
#include "VectorClones.h"
#include "WrappingMath.h"

namespace {
constexpr double kMinimumStart = 9999999.9;  // above any 16-bit sample

struct RunningLuminance {
    double max = 0.0;
    double min = kMinimumStart;
};

// The green samples of one row, with the sample width and byte order fixed at
// compile time so that the walk is a tight loop. Green stands one sample into
// each pixel. A sample must lie wholly inside the row; odd pixel sizes stop short.
template <class Sample, bool Swap>
class GreenRow {
  public:
    GreenRow(const std::uint8_t* data, const PixelLayout& layout) : data_(data), layout_(layout) {}

    std::int64_t Column(std::size_t offset) const {
        return static_cast<std::int64_t>((offset - sizeof(Sample)) / layout_.pixelBytes);
    }

    // The first offset at which the row's largest sample stands; the walk
    // stops there, since a card brightening toward its middle gives many
    // rows a new largest sample.
    std::size_t FirstOf(std::uint16_t value) const {
        for (std::size_t o = sizeof(Sample); o + sizeof(Sample) <= layout_.rowBytes;
             o += layout_.pixelBytes)
            if (LoadSample<Sample, Swap>(data_ + o) == value) return o;
        return 0;
    }

  private:
    const std::uint8_t* data_;
    PixelLayout layout_;
};

// The smallest and largest green sample of a row; false for a row that holds
// none. Whole blocks of pixels are folded lane by lane into running extremes,
// every sample alike, with plain loads the compiler keeps in vector registers:
// picking every third sample out first costs more than the comparisons. The
// green lanes are read off at the end; the pixels after the last block, one
// by one.
template <class Sample, bool Swap>
BRISAVANE_VECTOR_CLONES bool GreenExtremes(const std::uint8_t* data, std::size_t rowBytes,
                                           std::uint16_t& lo, std::uint16_t& hi) {
    constexpr std::size_t kLanes = 96 / sizeof(Sample), kBlock = kLanes * sizeof(Sample);
    Sample low[kLanes], high[kLanes];
    for (std::size_t j = 0; j < kLanes; ++j) low[j] = static_cast<Sample>(~Sample{0}), high[j] = 0;
    std::size_t b = 0;
    for (; b + kBlock <= rowBytes; b += kBlock)
        for (std::size_t j = 0; j < kLanes; ++j) {
            const Sample s = LoadSample<Sample, Swap>(data + b + j * sizeof(Sample));
            low[j] = s < low[j] ? s : low[j];
            high[j] = s > high[j] ? s : high[j];
        }
    lo = 0xFFFF, hi = 0;
    for (std::size_t j = 1; j < kLanes; j += 3) {
        lo = low[j] < lo ? low[j] : lo;
        hi = high[j] > hi ? high[j] : hi;
    }
    bool any = b > 0;
    for (std::size_t o = b + sizeof(Sample); o + sizeof(Sample) <= rowBytes;
         o += 3 * sizeof(Sample)) {
        const std::uint16_t s = LoadSample<Sample, Swap>(data + o);
        lo = s < lo ? s : lo;
        hi = s > hi ? s : hi;
        any = true;
    }
    return any;
}

// Folds one row into the running values. The row's extremes come first; the
// place of a new maximum is looked for only when the row beats the running
// one. Comparing strictly, the first brightest sample in scan order keeps its
// place.
template <class Sample, bool Swap>
void ScanRow(const GreenRow<Sample, Swap>& row, const std::uint8_t* data, std::size_t rowBytes,
             std::int64_t rowIndex, RunningLuminance& run, std::int64_t& px, std::int64_t& py) {
    std::uint16_t lo = 0, hi = 0;
    if (!GreenExtremes<Sample, Swap>(data, rowBytes, lo, hi)) return;
    run.min = std::min(run.min, static_cast<double>(lo));
    if (hi > run.max) {
        run.max = hi;
        px = row.Column(row.FirstOf(hi));
        py = rowIndex;
    }
}

template <class Sample, bool Swap>
void ScanRows(RowReader& rows, MemoryBlock& buffer, const PixelLayout& layout, std::int64_t height,
              Progress& bar, RunningLuminance& run, std::int64_t& px, std::int64_t& py) {
    for (std::int64_t r = 1; r <= height; ++r) {
        const std::uint8_t* data = rows.Next(buffer);
        ScanRow(GreenRow<Sample, Swap>(data, layout), data, layout.rowBytes, r - 1, run, px, py);
        bar.SetValue(static_cast<double>(r));
        bar.Refresh();
    }
}
}  // namespace

void TiffFile::FindMaxLuminanceDisk() {
    if (BytesPerRow < 0) throw IOException("The row length of the image is not valid.");
    const PixelLayout layout = PixelLayout::Of(*this);
    MemoryBlock row(layout.rowBytes);
    imagefile = BinaryStream::Open(Deref(fi));
    BinaryStream& stream = Deref(imagefile);
    stream.LittleEndian = LittleEndian;
    RowReader rows(stream, ImageOffset, layout.rowBytes);

    RunningLuminance run;
    Progress& bar = AnalyzeProgress();
    bar.SetMaximum(ImageHeight);
    bar.SetVisible(true);
    if (layout.EightBit())
        ScanRows<std::uint8_t, false>(rows, row, layout, ImageHeight, bar, run, pxmax, pymax);
    else if (layout.Swapped())
        ScanRows<std::uint16_t, true>(rows, row, layout, ImageHeight, bar, run, pxmax, pymax);
    else
        ScanRows<std::uint16_t, false>(rows, row, layout, ImageHeight, bar, run, pxmax, pymax);
    bar.SetVisible(false);
    MaxLuminance = run.max;
    MinLuminance = run.min;
}

void TiffFile::FindMaxLuminance() {
    const MemoryBlock& buffer = Deref(imageBuffer);
    const PixelLayout layout = PixelLayout::For(BytesPerPixel, buffer.LittleEndian, 0);
    const std::int64_t total = WrappingMultiply(PixelCount, BytesPerPixel);
    const std::int64_t interval = static_cast<std::int64_t>(static_cast<double>(total) / 50.0);
    std::int64_t counter = 0;
    RunningLuminance run;
    Progress& bar = AnalyzeProgress();

    const auto step = static_cast<std::int64_t>(layout.pixelBytes);
    // Green stands one sample into each pixel.
    for (auto o = static_cast<std::int64_t>(layout.sampleBytes); o <= total; o += step) {
        if (static_cast<std::size_t>(o) + layout.sampleBytes > buffer.Size()) break;
        const double s = layout.Load(buffer.Data() + o - layout.sampleBytes, 1);
        run.max = std::max(run.max, s);
        run.min = std::min(run.min, s);
        if (interval <= counter) {
            bar.SetValue(static_cast<double>(o) / static_cast<double>(interval));
            bar.Refresh();
            counter = 0;
        } else {
            counter += step;
        }
    }
    MaxLuminance = run.max;
    MinLuminance = run.min;
}
