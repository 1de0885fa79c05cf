// Fuzz target: any bytes as the white card of a card report: the card read,
// its preview and tone map, and the report's figures, JSON, page and pictures.

#include <cstddef>
#include <cstdint>

#include "FuzzFile.h"
#include "Harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzFile file(data, size, "card.tif");
    ExerciseCardReport(file.Path());
    return 0;
}
