#include <gtest/gtest.h>

#include <filesystem>

#include "Harness.h"

namespace {

// Every input the fuzzers ever found trouble with, replayed through the
// ordinary (and the sanitized) build: none may crash, hang or stray.
TEST(FuzzRegression, WhiteCardInputs) {
    const std::filesystem::path folder = "fuzz/regressions/reader";
    int replayed = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        SCOPED_TRACE(entry.path().string());
        EXPECT_NO_THROW(ExerciseWhiteCard(std::filesystem::absolute(entry.path()).string()));
        ++replayed;
    }
    EXPECT_GT(replayed, 0);
}

}  // namespace
