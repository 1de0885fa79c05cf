#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

// Where on the window something is dropped.
enum class DropArea { WhiteImage, Subjects };

// What a drop does, worked out from what was dropped alone, so that the
// window's handling needs no display to be tried out.
struct DropPlan {
    enum class Kind { OpenCard, ChooseFolder, ChooseAndTick, Refuse } kind = Kind::Refuse;
    std::filesystem::path path;   // the card, or the folder to choose
    std::set<std::string> names;  // the files to tick
    std::string why;              // a refusal's words
};

// A TIFF dropped on the white image opens it as the card; a folder dropped on
// the subjects chooses it, and TIFFs of one folder choose that folder and
// tick exactly them. Anything else, and any drop while a batch runs, is
// refused in words.
DropPlan PlanDrop(DropArea area, const std::vector<std::filesystem::path>& paths,
                  bool batchRunning);
