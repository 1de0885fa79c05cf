#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "AnalyzeCommand.h"
#include "EqualizeCommand.h"
#include "Harness.h"

namespace {
std::string Bytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

bool HiddenCopyLeft(const std::filesystem::path& folder) {
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().filename().string().starts_with(".")) return true;
    return false;
}
}  // namespace

void ExerciseCommandLine(const std::string& path) {
    namespace fs = std::filesystem;
    const std::string before = Bytes(path);
    const fs::path output =
        fs::temp_directory_path() / ("brisavane-fuzz-cli-" + std::to_string(::getpid()));
    const fs::path white = fs::path(BRISAVANE_FUZZ_DIR) / "white";
    for (const char* card : {"8bit_le.tif", "16bit_be.tif"}) {
        fs::remove_all(output);
        fs::create_directories(output);
        std::ostringstream out, err;
        RunEqualize({"--white", (white / card).string(), "--output", output.string(), path}, out,
                    err, nullptr);
        if (Bytes(path) != before || HiddenCopyLeft(output)) std::abort();
    }
    std::ostringstream out, err;
    RunEqualize({"--white", path, "--output", output.string(), path}, out, err, nullptr);
    RunAnalyze({path}, out, err);
    if (Bytes(path) != before || HiddenCopyLeft(output)) std::abort();
    fs::remove_all(output);
}
