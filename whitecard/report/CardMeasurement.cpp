#include "CardMeasurement.h"

#include <stdexcept>

#include "CardRows.h"

namespace {
std::vector<std::uint8_t> ProfileBytes(TiffFile& card) {
    if (card.ProfileLength == 0) return {};
    if (!card.ReadProfile())
        throw std::runtime_error(
            "The white card's ICC profile can't be read: it lies past the end of the file.");
    const MemoryBlock& bytes = *card.profileBuffer;
    return {bytes.Data(), bytes.Data() + bytes.Size()};
}

std::vector<double> GreenMeans(const CardSums& sums) {
    std::vector<double> green;
    green.reserve(sums.cells.size());
    for (const MeanSum& cell : sums.cells) green.push_back(cell.Mean()[1]);
    return green;
}

// The two passes over the card's rows, each row through filter first: the
// sums, then dust measured against the smoothed cells of the sums.
CardFigures MeasurePasses(const CardRows& rows, const RowFilter& filter, const SampleGrid& grid,
                          const CardColour& colour, double lightnessLimit) {
    const CellGrid cells(grid);
    CardSums sums(grid, cells, rows.Ceiling());
    rows.ForEach(filter, [&](std::int64_t y, const auto& pixels) { sums.AddRow(y, pixels); });
    DustFinder dust(grid, cells, cells.Smoothed(GreenMeans(sums)));
    rows.ForEach(filter, [&](std::int64_t y, const auto& pixels) { dust.AddRow(y, pixels); });
    dust.Finish();
    return ComputeFigures(sums, dust, colour, rows.Ceiling(), lightnessLimit);
}
}  // namespace

CardMeasurement MeasureCard(TiffFile& card, const PrintFormat& format, double amountToApply) {
    const auto grid = SampleGrid::For(card.ImageWidth, card.ImageHeight);
    if (!grid)
        throw std::runtime_error(
            "The white card is too small for a report: fewer than 11 x 11 pixels remain "
            "inside its 5 % border.");
    const CardRows rows(card);
    const CardColour colour(ProfileBytes(card), rows.Ceiling());
    CardMeasurement m;
    m.fileName = card.fi->Name();
    m.width = card.ImageWidth, m.height = card.ImageHeight, m.bitsPerSample = card.BitsPerSample;
    m.grid = *grid;
    m.format = format;
    m.amountToApply = amountToApply;
    m.profileAssumed = colour.Assumed();
    m.profileDescription = colour.Description();
    m.before = MeasurePasses(rows, nullptr, *grid, colour, format.lightnessLimit);
    m.after = MeasurePasses(rows, SelfEqualizing(card, amountToApply), *grid, colour,
                            format.lightnessLimit);
    return m;
}
