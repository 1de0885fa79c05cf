#pragma once

#include <cstddef>
#include <string>

#include "ChunkRewrite.h"
#include "LibtiffFile.h"
#include "SubjectJob.h"

// Equalizes a subject that the one-strip engine can't stream (strips, tiles,
// planes, compression, extra samples, BigTIFF) through libtiff: the same
// name rule, the same hidden copy renamed when complete, and the same pixels
// as the engine would write. subject is the file opened for reading, already
// found usable.
// modes, when not nil, corrects the strips or tiles instead of the window's rule.
SubjectResult EqualizeThroughLibtiff(const std::string& path, const LibtiffFile& subject,
                                     const JobSettings& settings, std::size_t jobNumber,
                                     ChunkCorrector* modes = nullptr);

// The window's words for a subject whose size differs from the white card's,
// and ours for a depth that does; empty when both agree.
std::string SubjectMismatch(const TiffFile& white, const LibtiffFile& subject);
