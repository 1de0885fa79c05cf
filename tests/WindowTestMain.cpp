// Runs the window tests inside the program's own application object, on the
// offscreen platform unless the environment asks for another.

#include <gtest/gtest.h>

#include "App.h"

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    ::testing::InitGoogleTest(&argc, argv);
    App app(argc, argv);
    return RUN_ALL_TESTS();
}
