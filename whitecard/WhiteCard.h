#pragma once

#include <string>

#include "TiffFile.h"
#include "TiffOpening.h"

// Whether an opened candidate can serve as the white card. The tests run in
// the window's order: the strip test comes before any look at the reader's
// verdict, so a file the reader refused with unequal height and rows per strip
// is reported as not being one strip.
enum class WhiteCardVerdict { Accepted, NotOneStrip, NotOpened, Incomplete };

WhiteCardVerdict JudgeWhiteCard(const TiffFile& candidate, TiffOpening opening);

// The message for a verdict: the strip and extent texts, or the reader's words.
std::string RefusalText(WhiteCardVerdict verdict, const TiffFile& candidate);

// The figures shown for an accepted white card.
std::string InfoText(const TiffFile& white);    // "6000 x 4000 pixels  16 bits/channel"
std::string MaxValText(const TiffFile& white);  // "61680 (240)" for 16-bit, "240" for 8-bit
std::string MaxLocText(const TiffFile& white);  // "  x: 12  y: 34"

// The headless road to an analysed white card: open, judge, scan (unless
// scan is false, for a run that takes its figures from a scan of its own).
// nil with the message in error when the file can't serve, which includes a
// card of no pixels at all (the window shows such a card's empty figures).
std::shared_ptr<TiffFile> LoadWhiteCard(const std::string& path, std::string& error,
                                        TiffServices services = {}, bool scan = true);
