// Fuzz target: any bytes as a subject and as a white card of brisavane-cli,
// which reads what libtiff can read: strips, tiles, planes, compressions.

#include <cstddef>
#include <cstdint>

#include "FuzzFile.h"
#include "Harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const FuzzFile file(data, size, "subject.tif");
    ExerciseCommandLine(file.Path());
    return 0;
}
