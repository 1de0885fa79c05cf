// Fuzz target: any bytes as a subject, equalized through the batch of the
// Process button against fixed white cards, through the real file layer.

#include <cstddef>
#include <cstdint>

#include "FuzzFile.h"
#include "Harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzFile file(data, size, "subject.tif");
    ExerciseEqualize(file.Path());
    return 0;
}
