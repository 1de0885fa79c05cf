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
}  // namespace

void TiffFile::FindMaxLuminanceDisk() {
    if (BytesPerRow < 0) throw IOException("The row length of the image is not valid.");
    MemoryBlock row(static_cast<std::size_t>(BytesPerRow));
    imagefile = BinaryStream::Open(Deref(fi));
    BinaryStream& stream = Deref(imagefile);
    stream.LittleEndian = LittleEndian;
    stream.SetPosition(ImageOffset);

    const GreenLayout layout = GreenLayout::For(BytesPerPixel);
    const bool little = stream.LittleEndian;
    const std::uint8_t* data = row.Data();
    const std::size_t size = row.Size();
    RunningLuminance run;

    Progress& bar = AnalyzeProgress();
    bar.SetMaximum(ImageHeight);
    bar.SetVisible(true);
    for (std::int64_t r = 1; r <= ImageHeight; ++r) {
        stream.Read(row, size);
        // A sample must lie wholly inside the row; odd pixel sizes stop short.
        for (std::size_t o = layout.first; o + layout.width <= size; o += layout.step) {
            const double s = LoadSample(data + o, layout.width, little);
            run.min = std::min(run.min, s);
            if (s > run.max) {
                run.max = s;
                pxmax = layout.Column(o);
                pymax = r - 1;
            }
        }
        bar.SetValue(static_cast<double>(r));
        bar.Refresh();
    }
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
