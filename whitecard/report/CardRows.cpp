#include "CardRows.h"

#include "Correction.h"
#include "Exceptions.h"
#include "RowCorrection.h"
#include "RowReader.h"

void CardRows::ForEach(const RowFilter& filter, const Visit& visit) const {
    const auto stream = BinaryStream::Open(Deref(card_.fi));
    const PixelLayout layout = PixelLayout::Of(card_);
    RowReader rows(Deref(stream), card_.ImageOffset, static_cast<std::size_t>(card_.BytesPerRow));
    std::vector<std::uint8_t> row(rows.RowBytes());
    std::vector<Channels> pixels(layout.pixels);
    for (std::int64_t y = 0; y < card_.ImageHeight; ++y) {
        if (rows.Read(row.data()) != row.size())
            throw IOException("The white card file ends before its last pixel row.");
        if (filter) filter(row);
        for (std::size_t x = 0; x < pixels.size(); ++x)
            pixels[x] = RgbChannels(layout, row.data() + x * layout.pixelBytes);
        visit(y, pixels);
    }
}

RowFilter SelfEqualizing(const TiffFile& card, double amountToApply) {
    const PixelLayout layout = PixelLayout::Of(card);
    const double target = TargetLevel(card.MaxLuminance, card.MinLuminance, amountToApply);
    return [layout, target](std::vector<std::uint8_t>& row) {
        // The card is both the subject and the white card here: the gains come
        // from a copy, so no pixel is measured after it was corrected.
        const std::vector<std::uint8_t> white = row;
        CorrectRow(layout, layout.littleEndian, target, white.data(), white.data(), row.data());
    };
}
