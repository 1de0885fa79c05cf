#include "PictureCanvas.h"

#include <QPainter>
#include <QPalette>

#include "PictureImage.h"

// The picture replaces what lies under it, transparent pixels included, so a
// wiped picture wipes its own area of the canvas and nothing beyond it.
void Graphics::DrawPicture(const Picture& picture, int x, int y) {
    QPainter painter(&surface_);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.drawImage(x, y, ToQImage(picture));
}

void Graphics::ClearRect(int x, int y, int width, int height) {
    QPainter painter(&surface_);
    painter.fillRect(x, y, width, height, Qt::white);
}

int Graphics::Width() const {
    return surface_.width();
}
int Graphics::Height() const {
    return surface_.height();
}

// The canvas stands on the window's white, which shows where a picture is
// transparent.
PictureCanvas::PictureCanvas(QWidget* parent) : QWidget(parent) {
    QPalette white = palette();
    white.setColor(QPalette::Window, Qt::white);
    setPalette(white);
    setAutoFillBackground(true);
    surface_ = QImage(1, 1, QImage::Format_ARGB32);
    surface_.fill(Qt::white);
}

void PictureCanvas::resizeEvent(QResizeEvent* event) {
    QImage grown(size(), QImage::Format_ARGB32);
    grown.fill(Qt::white);
    QPainter(&grown).drawImage(0, 0, surface_);
    surface_ = grown;
    QWidget::resizeEvent(event);
}

void PictureCanvas::paintEvent(QPaintEvent*) {
    Graphics graphics(surface_);
    if (backdrop_) graphics.DrawPicture(*backdrop_, 0, 0);
    if (paint_) paint_(graphics);
    QPainter(this).drawImage(0, 0, surface_);
}
