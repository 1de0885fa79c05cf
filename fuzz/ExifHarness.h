#pragma once

#include <string>
#include <vector>

#include "CardMatch.h"

// What fuzz_exif does with one input file, shared with the regression test:
// reads its EXIF as a card library does, then describes it as a card and
// matches it against itself, so that whatever strings and numbers libtiff
// lets through also pass the rules and the texts.
inline void ExerciseCardExif(const std::string& path) {
    std::string why;
    const std::optional<CardExif> exif = ReadCardExif(path, why);
    if (!exif) return;
    const std::vector<LibraryCard> cards{{path, *exif}, {path, *exif}};
    DescribeCard(cards.front());
    ChooseCard(*exif, cards, "fuzz/");
}
