#pragma once

#include <cstddef>
#include <string>

#include "LibtiffFile.h"
#include "SubjectJob.h"

// Equalizes a subject that the one-strip engine can't stream (strips, tiles,
// planes, compression, extra samples, BigTIFF) through libtiff: the same
// name rule, the same hidden copy renamed when complete, and the same pixels
// as the engine would write. subject is the file opened for reading, already
// found usable.
SubjectResult EqualizeThroughLibtiff(const std::string& path, const LibtiffFile& subject,
                                     const JobSettings& settings, std::size_t jobNumber);
