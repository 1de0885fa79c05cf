#include <gtest/gtest.h>

#include <filesystem>

#include "ExifHarness.h"
#include "Harness.h"

namespace {

// Every input the fuzzers ever found trouble with, replayed through the
// ordinary (and the sanitized) build: none may crash, hang or stray.
TEST(FuzzRegression, ReplaysEveryFinding) {
    for (const auto& [folder, exercise] : {std::pair<const char*, void (*)(const std::string&)>{
                                               "fuzz/regressions/reader", ExerciseWhiteCard},
                                           {"fuzz/regressions/equalize", ExerciseEqualize},
                                           {"fuzz/regressions/cli", ExerciseCommandLine},
                                           {"fuzz/regressions/exif", ExerciseCardExif}}) {
        int replayed = 0;
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            SCOPED_TRACE(entry.path().string());
            EXPECT_NO_THROW(exercise(std::filesystem::absolute(entry.path()).string()));
            ++replayed;
        }
        EXPECT_GT(replayed, 0) << folder;
    }
}

}  // namespace
