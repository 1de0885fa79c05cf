// Fuzz target: any bytes as a white card, through the real file layer.

#include <cstddef>
#include <cstdint>

#include "FuzzFile.h"
#include "Harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzFile file(data, size);
    ExerciseWhiteCard(file.Path());
    return 0;
}
