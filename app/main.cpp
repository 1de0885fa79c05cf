// Brisavane: equalizes lens and light falloff in TIFF images with a white card.

#include <QTimer>

#include "App.h"
#include "FileTypes.h"
#include "WinEqualize.h"

int main(int argc, char** argv) {
    // Sharp on high-density displays: take the screen's exact scale factor.
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(
        Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    FileTypes::Instance();
    App app(argc, argv);
    app.AddMenuHandler("AppleAboutBrisavane", [&app] { return app.AppleAboutBrisavane_Action(); });
    QTimer::singleShot(0, &app, [&app] {
        app.DefaultWindow()->show();
        app.Event_Open();
    });
    return app.exec();
}
