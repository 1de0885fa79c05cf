#pragma once

#include <optional>
#include <string>

// The record an equalized copy keeps of what was done to it: one entry of the
// XMP media management history (xmpMM:History), a ResourceEvent saying
//   stEvt:action         "flat-field corrected"
//   stEvt:when           when, as given
//   stEvt:softwareAgent  "Brisavane " and the version given
//   stEvt:parameters     parameters, as given (see HistoryParameters)
struct HistoryEntry {
    std::string when;  // ISO 8601 date-time, "2024-05-01T10:00:00+02:00"
    std::string version;
    std::string parameters;
};

// The subject's XMP packet (the bytes of TIFF tag 700 as text) with the entry
// appended after any history entries it holds, every other property kept as
// Exiv2 reads it. An empty packet gives a new one holding the entry alone.
// nullopt for a packet Exiv2 can't parse, or one whose xmpMM:History isn't a
// list of events to append to: the caller then leaves the packet as it was.
// Safe to call from several threads at once (they take turns with Exiv2).
// Exiv2 keeps each namespace it meets for the life of the process, a few
// hundred bytes apiece; a call costs nothing more that lasts.
std::optional<std::string> AddHistoryEntry(const std::string& packet, const HistoryEntry& entry);

// The parameters of an entry, in one format:
//   card=NAME; sha256=HEX; amount=PERCENT%; options=OPTIONS
// NAME is the card's file name with a backslash put before every ';' and '\'
// in it; HEX its SHA-256 in 64 lowercase hex digits (FileSha256); PERCENT the
// correction amount in the shortest form that reads back exactly ("100",
// "87.5"); OPTIONS the correction options as typed ("--channels rgb
// --max-gain 4", nothing when none), unescaped, as they run to the end. E.g.
//   card=f8_100mm.tif; sha256=9f86d0...0a08; amount=100%; options=--channels rgb
std::string HistoryParameters(const std::string& cardName, const std::string& cardSha256,
                              double amountPercent, const std::string& options);
