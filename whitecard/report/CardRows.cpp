#include "CardRows.h"

#include "Correction.h"
#include "Exceptions.h"

void CardRows::ForEach(const RowFilter& filter, const Visit& visit) const {
    const auto stream = BinaryStream::Open(Deref(card_.fi));
    Deref(stream).LittleEndian = card_.LittleEndian;
    stream->SetPosition(card_.ImageOffset);
    const bool eightBit = card_.BytesPerPixel == 3;
    const std::size_t step = ChannelBytes(eightBit);
    MemoryBlock row(static_cast<std::size_t>(card_.BytesPerRow));
    std::vector<Channels> pixels(static_cast<std::size_t>(card_.ImageWidth));
    for (std::int64_t y = 0; y < card_.ImageHeight; ++y) {
        if (stream->Read(row, row.Size()) != row.Size())
            throw IOException("The white card file ends before its last pixel row.");
        if (filter) filter(row.Data(), row.Size());
        for (std::size_t x = 0; x < pixels.size() && (x + 1) * step <= row.Size(); ++x)
            pixels[x] = RgbChannels(row.Data() + x * step, eightBit, card_.LittleEndian);
        visit(y, pixels);
    }
}

RowFilter SelfEqualizing(const TiffFile& card, double amountToApply) {
    const SampleFormat format = SampleFormat::For(card.BytesPerPixel);
    const double target = TargetLevel(card.MaxLuminance, card.MinLuminance, amountToApply);
    const bool little = card.LittleEndian;
    return [format, target, little](std::uint8_t* row, std::size_t size) {
        for (std::size_t i = 0; i + format.step <= size; i += format.step)
            CorrectPixel(format, target, row + i, little, row + i, little, row + i);
    };
}
