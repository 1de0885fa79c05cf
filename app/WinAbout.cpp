#include "WinAbout.h"

#include <QPalette>

#include "App.h"

QPointer<WinAbout> WinAbout::instance_;

WinAbout* WinAbout::Instance() {
    if (!instance_) instance_ = new WinAbout();
    return instance_;
}

WinAbout::WinAbout() : QWidget(nullptr, Qt::Window) {
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName("WinAbout");
    setWindowTitle(QString());
    setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                   Qt::WindowCloseButtonHint | Qt::WindowMinimizeButtonHint);
    setFixedSize(400, 240);
    QPalette background = palette();
    background.setColor(QPalette::Window, Qt::white);
    setPalette(background);
    setAutoFillBackground(true);

    // In tab order: the title, the notice, the version, the purpose.
    AddLabel("StaticText1", 14, 33, 24, true,
             QString::fromUtf8("Brisavane\u2122 ") + QString::number(App::MajorVersion));
    AddLabel("StaticText2", 200, 20, 13, false, QString::fromStdString(App::Copyright()));
    txtVersion_ = AddLabel("TxtVersion", 60, 20, 11, false, QString());
    AddLabel("StaticText4", 140, 20, 14, false, "Equalize lens and light falloff in TIFF images.");
}

QLabel* WinAbout::AddLabel(const char* name, int top, int height, int pixelSize, bool bold,
                           const QString& text) {
    auto* label = new QLabel(text, this);
    label->setObjectName(name);
    label->setGeometry(20, top, 360, height);
    label->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
    QFont font = label->font();
    font.setPixelSize(pixelSize);
    font.setBold(bold);
    label->setFont(font);
    return label;
}

// Filled as the window opens, once for each new window.
void WinAbout::showEvent(QShowEvent* event) {
    if (!opened_) {
        opened_ = true;
        txtVersion_->setText("Version " + QString::fromStdString(App::Version()));
    }
    QWidget::showEvent(event);
}
