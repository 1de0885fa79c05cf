#pragma once

#include <QImage>
#include <QWidget>
#include <functional>
#include <memory>

#include "Picture.h"

// What a paint handler draws with. Pictures are drawn at their own size,
// never scaled.
class Graphics {
  public:
    explicit Graphics(QImage& surface) : surface_(surface) {}
    void DrawPicture(const Picture& picture, int x, int y);
    // Wipes the rectangle back to the window's white background.
    void ClearRect(int x, int y, int width, int height);
    int Width() const;
    int Height() const;

  private:
    QImage& surface_;
};

// A canvas keeps what was drawn on it until something draws over it, so a
// handler that doesn't clear first leaves earlier drawings where the new one
// doesn't reach. The optional backdrop is drawn under each paint.
class PictureCanvas : public QWidget {
    Q_OBJECT
  public:
    using PaintHandler = std::function<void(Graphics&)>;

    explicit PictureCanvas(QWidget* parent = nullptr);

    void SetPaintHandler(PaintHandler handler) { paint_ = std::move(handler); }
    void SetBackdrop(std::shared_ptr<Picture> backdrop) { backdrop_ = std::move(backdrop); }
    // What the canvas shows now, at its own size.
    const QImage& Surface() const { return surface_; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    QImage surface_;
    PaintHandler paint_;
    std::shared_ptr<Picture> backdrop_;
};
