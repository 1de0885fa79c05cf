#include "CardMeasurement.h"

#include <stdexcept>

#include "CardRows.h"

namespace {
std::vector<double> GreenMeans(const CardSums& sums) {
    std::vector<double> green;
    green.reserve(sums.cells.size());
    for (const MeanSum& cell : sums.cells) green.push_back(cell.Mean()[1]);
    return green;
}

// The card as shot and as equalized by itself, measured side by side in two
// passes over its rows: the sums, then dust measured against the smoothed
// cells of the sums.
void MeasurePasses(const CardRows& rows, const SampleGrid& grid, const CardColour& colour,
                   double lightnessLimit, CardMeasurement& m, Progress& progress) {
    progress.SetMaximum(2 * rows.Height());
    progress.SetVisible(true);
    const auto step = [&](std::int64_t done) {
        progress.SetValue(static_cast<double>(done));
        progress.Refresh();
    };
    const CellGrid cells(grid);
    CardSums shot(grid, cells, rows.Ceiling()), equalized(grid, cells, rows.Ceiling());
    rows.ForEach([&](std::int64_t y, const auto& before, const auto& after) {
        shot.AddRow(y, before);
        equalized.AddRow(y, after);
        step(y + 1);
    });
    DustFinder shotDust(grid, cells, cells.Smoothed(GreenMeans(shot)));
    DustFinder equalizedDust(grid, cells, cells.Smoothed(GreenMeans(equalized)));
    rows.ForEach([&](std::int64_t y, const auto& before, const auto& after) {
        shotDust.AddRow(y, before);
        equalizedDust.AddRow(y, after);
        step(rows.Height() + y + 1);
    });
    progress.SetVisible(false);
    shotDust.Finish();
    equalizedDust.Finish();
    m.before = ComputeFigures(shot, shotDust, colour, rows.Ceiling(), lightnessLimit);
    m.after = ComputeFigures(equalized, equalizedDust, colour, rows.Ceiling(), lightnessLimit);
}
}  // namespace

CardMeasurement MeasureCard(const CardSource& card, const PrintFormat& format, double amountToApply,
                            Progress& progress) {
    const auto grid = SampleGrid::For(card.Width(), card.Height());
    if (!grid)
        throw std::runtime_error(
            "The white card is too small for a report: fewer than 11 x 11 pixels remain "
            "inside its 5 % border.");
    if (card.ProfileUnreadable())
        throw std::runtime_error(
            "The white card's ICC profile can't be read: it lies past the end of the file.");
    const CardRows rows(card, amountToApply);
    const CardColour colour(card.Profile(), rows.Ceiling());
    CardMeasurement m;
    m.fileName = card.Record().fi->Name();
    m.width = card.Width(), m.height = card.Height(), m.bitsPerSample = card.Bits();
    m.grid = *grid;
    m.format = format;
    m.amountToApply = amountToApply;
    m.profileAssumed = colour.Assumed();
    m.profileDescription = colour.Description();
    MeasurePasses(rows, *grid, colour, format.lightnessLimit, m, progress);
    return m;
}
