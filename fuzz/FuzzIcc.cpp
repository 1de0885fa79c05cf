// Fuzz target: any bytes as an embedded ICC profile, read for the tone curves
// of --linear and for the card report's colours.

#include <cstddef>
#include <cstdint>

#include "FuzzFile.h"
#include "Harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzFile file(data, size, "profile.icc");
    ExerciseIccProfile(file.Path());
    return 0;
}
