#pragma once

#include <string>

#include "XmpHistory.h"

// How adding a history entry to a finished output went.
enum class RecordEnd {
    Recorded,
    PacketUnreadable,  // its XMP packet can't be read: left as it was
    NotWritten,        // the file can't take it (a directory past 4 GiB, a write fault)
};

// The note a result line gives each end.
std::string RecordNote(RecordEnd end);

// Adds the entry to the XMP packet (tag 700) of the first directory of the
// TIFF open for writing at fd, or makes a packet holding it alone. libtiff
// reads the directory and the packet; Exiv2 edits the packet. libtiff
// writing the directory itself would change it beyond the packet (one strip
// chopped into many, numbers in shorter types), so the directory is copied
// entry for entry, its bytes unchanged but tag 700's, and written at the end
// of the file after the new packet; the header then points to it, and the
// old directory and packet stay behind unreferenced. Every other tag keeps
// its bytes and the pixels stay where they are.
RecordEnd RecordHistory(int fd, const HistoryEntry& entry);

// The moment, as an entry's stEvt:when gives it: local time with its offset
// from UTC ("2024-05-01T10:00:00+02:00").
std::string HistoryTimeNow();
