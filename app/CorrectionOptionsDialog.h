#pragma once

#include <QDialog>
#include <string>

#include "CorrectionModes.h"
#include "Dialogs.h"

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QListWidget;
class QSpinBox;
class QWidget;

// The ways the window can equalize beyond its own correction, each with the
// sentence the command line's help gives it, and, with a card open, the
// card's further shots and its dark frame. It edits a copy of the window's
// modes; Modes() gives them as the user left them.
class CorrectionOptionsDialog : public QDialog {
    Q_OBJECT
  public:
    CorrectionOptionsDialog(const CorrectionModes& modes, bool cardOpen, Dialogs& dialogs,
                            QWidget* parent = nullptr);

    CorrectionModes Modes() const;

  private:
    QWidget* OptionsPart();
    QWidget* CardPart();
    void Show(const CorrectionModes& modes);
    void AddShot();
    void ChooseDark();

    Dialogs& dialogs_;
    std::string firstShot_;
    QComboBox* channels_ = nullptr;
    QSpinBox* smooth_ = nullptr;
    QCheckBox* capped_ = nullptr;
    QDoubleSpinBox* cap_ = nullptr;
    QCheckBox* linear_ = nullptr;
    QCheckBox* darken_ = nullptr;
    QListWidget* shots_ = nullptr;
    QLabel* dark_ = nullptr;
};
