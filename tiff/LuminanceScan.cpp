#include <algorithm>

#include "Exceptions.h"
#include "PixelLayout.h"
#include "RowExtremes.h"
#include "RowReader.h"
#include "TiffFile.h"
#include "WrappingMath.h"

namespace {
constexpr double kMinimumStart = RowExtremes::kAboveEverySample;

struct RunningLuminance {
    double max = 0.0;
    double min = kMinimumStart;
};
}  // namespace

void TiffFile::FindMaxLuminanceDisk() {
    if (BytesPerRow < 0) throw IOException("The row length of the image is not valid.");
    const PixelLayout layout = PixelLayout::Of(*this);
    MemoryBlock row(layout.rowBytes);
    imagefile = BinaryStream::Open(Deref(fi));
    BinaryStream& stream = Deref(imagefile);
    stream.LittleEndian = LittleEndian;
    RowReader rows(stream, ImageOffset, layout.rowBytes);

    // The place of the brightest sample keeps its value when no sample is above 0.
    RowExtremes run;
    run.maxX[1] = pxmax;
    run.maxY[1] = pymax;
    Progress& bar = AnalyzeProgress();
    bar.SetMaximum(ImageHeight);
    bar.SetVisible(true);
    for (std::int64_t r = 1; r <= ImageHeight; ++r) {
        FoldRowExtremes(SampleRow::Of(rows.Next(row), layout), layout.pixels, r - 1, run, 0b010);
        bar.SetValue(static_cast<double>(r));
        bar.Refresh();
    }
    bar.SetVisible(false);
    MaxLuminance = run.max[1];
    MinLuminance = run.min[1];
    pxmax = run.maxX[1];
    pymax = run.maxY[1];
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
