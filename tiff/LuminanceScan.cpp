#include <algorithm>

#include "Exceptions.h"
#include "GreenSamples.h"
#include "TiffFile.h"
#include "WrappingMath.h"

namespace {
constexpr double kMinimumStart = 9999999.9;  // above any 16-bit sample

struct RunningLuminance {
    double max = 0.0;
    double min = kMinimumStart;
};

// The green samples of one row, with the sample width and byte order fixed at
// compile time so that the walk is a tight loop. A sample must lie wholly
// inside the row; odd pixel sizes stop short.
template <std::size_t Width, bool Little>
class GreenRow {
  public:
    GreenRow(const std::uint8_t* data, std::size_t size, const GreenLayout& layout)
        : data_(data), size_(size), layout_(layout) {}

    template <class Visit>
    void ForEach(Visit&& visit) const {
        for (std::size_t o = layout_.first; o + Width <= size_; o += layout_.step)
            visit(o, LoadSample(data_ + o, Width, Little));
    }

    // The first offset at which the row's largest sample stands.
    std::size_t FirstOf(std::uint16_t value) const {
        std::size_t found = 0;
        bool seen = false;
        ForEach([&](std::size_t o, std::uint16_t s) {
            if (!seen && s == value) found = o, seen = true;
        });
        return found;
    }

  private:
    const std::uint8_t* data_;
    std::size_t size_;
    GreenLayout layout_;
};

// Folds one row into the running values. The row's extremes come first, in one
// branch-free pass; the place of a new maximum is looked for only when the row
// beats the running one. Comparing strictly, the first brightest sample in
// scan order keeps its place.
template <std::size_t Width, bool Little>
void ScanRow(const GreenRow<Width, Little>& row, const GreenLayout& layout, std::int64_t rowIndex,
             RunningLuminance& run, std::int64_t& px, std::int64_t& py) {
    std::uint16_t lo = 0xFFFF, hi = 0;
    bool any = false;
    row.ForEach([&](std::size_t, std::uint16_t s) {
        lo = s < lo ? s : lo;
        hi = s > hi ? s : hi;
        any = true;
    });
    if (!any) return;
    run.min = std::min(run.min, static_cast<double>(lo));
    if (hi > run.max) {
        run.max = hi;
        px = layout.Column(row.FirstOf(hi));
        py = rowIndex;
    }
}

template <std::size_t Width, bool Little>
void ScanRows(BinaryStream& stream, MemoryBlock& buffer, const GreenLayout& layout,
              std::int64_t height, Progress& bar, RunningLuminance& run, std::int64_t& px,
              std::int64_t& py) {
    const GreenRow<Width, Little> row(buffer.Data(), buffer.Size(), layout);
    for (std::int64_t r = 1; r <= height; ++r) {
        stream.Read(buffer, buffer.Size());
        ScanRow(row, layout, r - 1, run, px, py);
        bar.SetValue(static_cast<double>(r));
        bar.Refresh();
    }
}
}  // namespace

void TiffFile::FindMaxLuminanceDisk() {
    if (BytesPerRow < 0) throw IOException("The row length of the image is not valid.");
    MemoryBlock row(static_cast<std::size_t>(BytesPerRow));
    imagefile = BinaryStream::Open(Deref(fi));
    BinaryStream& stream = Deref(imagefile);
    stream.LittleEndian = LittleEndian;
    stream.SetPosition(ImageOffset);

    const GreenLayout layout = GreenLayout::For(BytesPerPixel);
    RunningLuminance run;
    Progress& bar = AnalyzeProgress();
    bar.SetMaximum(ImageHeight);
    bar.SetVisible(true);
    if (layout.width == 1)
        ScanRows<1, true>(stream, row, layout, ImageHeight, bar, run, pxmax, pymax);
    else if (stream.LittleEndian)
        ScanRows<2, true>(stream, row, layout, ImageHeight, bar, run, pxmax, pymax);
    else
        ScanRows<2, false>(stream, row, layout, ImageHeight, bar, run, pxmax, pymax);
    bar.SetVisible(false);
    MaxLuminance = run.max;
    MinLuminance = run.min;
}

void TiffFile::FindMaxLuminance() {
    const MemoryBlock& buffer = Deref(imageBuffer);
    const GreenLayout layout = GreenLayout::For(BytesPerPixel);
    const std::int64_t total = WrappingMultiply(PixelCount, BytesPerPixel);
    const std::int64_t interval = static_cast<std::int64_t>(static_cast<double>(total) / 50.0);
    std::int64_t counter = 0;
    RunningLuminance run;
    Progress& bar = AnalyzeProgress();

    for (std::int64_t o = static_cast<std::int64_t>(layout.first); o <= total;
         o += static_cast<std::int64_t>(layout.step)) {
        if (static_cast<std::size_t>(o) + layout.width > buffer.Size()) break;
        const double s = LoadSample(buffer.Data() + o, layout.width, buffer.LittleEndian);
        run.max = std::max(run.max, s);
        run.min = std::min(run.min, s);
        if (interval <= counter) {
            bar.SetValue(static_cast<double>(o) / static_cast<double>(interval));
            bar.Refresh();
            counter = 0;
        } else {
            counter += static_cast<std::int64_t>(layout.step);
        }
    }
    MaxLuminance = run.max;
    MinLuminance = run.min;
}
