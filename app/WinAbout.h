#pragma once

#include <QLabel>
#include <QPointer>
#include <QWidget>

// The About window: name, version, what the program does and the holder's
// notice. There is at most one at a time; it is destroyed when closed, so the
// next one asked for is new and fills its version line again as it opens.
class WinAbout : public QWidget {
    Q_OBJECT
  public:
    // The open instance, or a new, not yet shown one.
    static WinAbout* Instance();

    QLabel* TxtVersion() const { return txtVersion_; }

  protected:
    void showEvent(QShowEvent* event) override;

  private:
    WinAbout();
    QLabel* AddLabel(const char* name, int top, int height, int pixelSize, bool bold,
                     const QString& text);

    QLabel* txtVersion_ = nullptr;
    bool opened_ = false;
    static QPointer<WinAbout> instance_;
};
