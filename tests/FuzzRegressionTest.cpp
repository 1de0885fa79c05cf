#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>

#include "ExifHarness.h"
#include "Harness.h"

namespace {

// Every input the fuzzers ever found trouble with, replayed through the
// ordinary (and the sanitized) build: none may crash, hang or stray.
TEST(FuzzRegression, ReplaysEveryFinding) {
    using Exercise = void (*)(const std::string&);
    for (const auto& [folder, exercise] :
         {std::pair<const char*, Exercise>{"fuzz/regressions/reader", ExerciseWhiteCard},
          {"fuzz/regressions/equalize", ExerciseEqualize},
          {"fuzz/regressions/cli", ExerciseCommandLine},
          {"fuzz/regressions/report", ExerciseCardReport},
          {"fuzz/regressions/icc", ExerciseIccProfile},
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
