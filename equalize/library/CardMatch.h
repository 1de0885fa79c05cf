#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "CardExif.h"

// One white card of a card library: its file and what its EXIF says.
struct LibraryCard {
    std::string path;
    CardExif exif;
};

// The card chosen for a subject, or why none was.
struct CardChoice {
    std::optional<std::size_t> card;  // index into the cards given
    std::string failure;              // empty when a card was chosen
    bool tie = false;                 // several cards matched equally
};

// Chooses the white card of a subject from the cards of one folder (folder is
// only named in the failure texts, as the caller gives it).
//
// The rules, in this order:
//  1. a card of another width or height, or another bits per sample, is
//     dropped;
//  2. so is one without an EXIF directory, and one whose Make, Model or lens
//     differs: the LensModel, or where the subject has none, the LensMake and
//     all four LensSpecification values (0, unknown, never matches). Strings
//     are compared as ReadCardExif trims them, case-sensitive; a field missing
//     on either side never matches;
//  3. so is one whose FocalLength is more than 1 % of its own away from the
//     subject's, or whose FNumber is more than 1/6 stop from the subject's
//     (|2 log2(N subject / N card)| > 1/6); both edges belong to the match;
//  4. of the cards left, the one whose DateTimeOriginal (as local time,
//     whatever the zone) is nearest the subject's is chosen; a card without a
//     time loses to any card with one. Cards equally near are a tie, and a tie
//     is a failure: no card is guessed.
//
// The failure texts, with FOLDER as given and SUBJECT the subject's camera
// model, lens, focal length and aperture ("Camera X, Macro 100mm, 100 mm,
// f/8"; a missing one reads "unknown camera", "unknown lens", "unknown focal
// length", "unknown aperture"; a lens without LensModel reads as its LensMake
// and LensSpecification, "Lenscorp 24-70 mm f/2.8"):
//   the subject has no EXIF to match a card by
//   no card in FOLDER matches SUBJECT (COUNTS)
//     COUNTS: each reason a card was dropped for, in the order of the rules,
//     as "1 card of another size" or "2 cards ...", separated by ", ", with
//     the reasons "of another size", "of another depth", "without EXIF",
//     "of another camera", "of another lens", "of another focal length",
//     "of another aperture"; "no cards" when there were none
//   N cards in FOLDER match SUBJECT equally: NAME, NAME (WHY)
//     NAME: the tied cards' file names, in the order given; WHY one of
//     "shot at the same time", "shot as long before the subject as after it",
//     "none of them has a time", "the subject has no time"
CardChoice ChooseCard(const CardExif& subject, const std::vector<LibraryCard>& cards,
                      const std::string& folder);

// Whether the EXIF has every field the rules match on.
bool Matchable(const CardExif& exif);

// One line on a card for a listing of the library, starting with its file name:
//   f8.tif: Camera X, Macro 100mm, 100 mm, f/8, shot 2024:05:01 10:00:00 (6000 x 4000, 16-bit)
//   f8.tif: ..., shot at an unknown time (6000 x 4000, 16-bit)
//   f8.tif: can't be matched: it has no EXIF
//   f8.tif: can't be matched: its EXIF has no camera make, lens, focal length, aperture
// (naming what is missing of the camera make, camera model, lens, focal length
// and aperture).
std::string DescribeCard(const LibraryCard& card);
