// Fuzz target: any bytes as a card or subject of a card library, whose EXIF
// directory libtiff reads at an offset the file gives.

#include <cstddef>
#include <cstdint>

#include "ExifHarness.h"
#include "FuzzFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzFile file(data, size, "exif.tif");
    ExerciseCardExif(file.Path());
    return 0;
}
