#pragma once

#include <filesystem>
#include <string>

#include "CardFigures.h"
#include "CardSource.h"
#include "Progress.h"

// Writes the card report into folder (made when missing): report.html,
// report.json and the pictures the page shows, each under a hidden name first
// and renamed once all are written, so no half-written report is left under
// the final names. progress sees the passes over the card's rows. Empty when
// written, else the words that say why not ("Error: ...").
std::string WriteCardReport(const CardSource& card, const std::filesystem::path& folder,
                            const PrintFormat& format, double amountToApply, Progress& progress);

// The card report from the window: asks for a folder and the originals' paper
// format, writes the report of the open card at the window's correction amount
// with the analysis bar moving, and shows the page. A refusal is shown in its
// words; a cancelled question ends it quietly.
struct WindowState;
class WhiteCardHost;
void MakeCardReport(const WindowState& state, WhiteCardHost& host);
