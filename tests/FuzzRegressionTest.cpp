#include <gtest/gtest.h>

#include <filesystem>

#include "Harness.h"

namespace {

struct ReplayCase {
    const char* folder;
    void (*exercise)(const std::string&);
};

class FuzzRegression : public ::testing::TestWithParam<ReplayCase> {};

// Every input the fuzzers ever found trouble with, replayed through the
// ordinary (and the sanitized) build: none may crash, hang or stray.
TEST_P(FuzzRegression, ReplaysEveryFinding) {
    const std::filesystem::path folder = GetParam().folder;
    int replayed = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        SCOPED_TRACE(entry.path().string());
        EXPECT_NO_THROW(GetParam().exercise(std::filesystem::absolute(entry.path()).string()));
        ++replayed;
    }
    EXPECT_GT(replayed, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Targets, FuzzRegression,
    ::testing::Values(ReplayCase{"fuzz/regressions/reader", ExerciseWhiteCard},
                      ReplayCase{"fuzz/regressions/equalize", ExerciseEqualize},
                      ReplayCase{"fuzz/regressions/cli", ExerciseCommandLine}),
    [](const auto& info) {
        return std::string(info.index == 0 ? "WhiteCard" : info.index == 1 ? "Equalize" : "Cli");
    });

}  // namespace
