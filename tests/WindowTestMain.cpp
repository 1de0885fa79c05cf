// Runs the window tests inside the program's own application object, on the
// offscreen platform unless the environment asks for another.

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include "App.h"

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    // What the window keeps between sessions goes to a folder of the tests' own.
    const QTemporaryDir settings;
    qputenv("XDG_CONFIG_HOME", settings.path().toUtf8());
    ::testing::InitGoogleTest(&argc, argv);
    App app(argc, argv);
    return RUN_ALL_TESTS();
}
