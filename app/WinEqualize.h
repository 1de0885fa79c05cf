#pragma once

#include <QMainWindow>
#include <filesystem>
#include <memory>
#include <vector>

#include "BatchHost.h"
#include "Drops.h"
#include "ProgressBarProgress.h"
#include "SubjectList.h"
#include "WhiteCardWorkflow.h"
#include "WindowEventPump.h"
#include "WindowState.h"

class Graphics;
class MenuBar1;
class PictureCanvas;
class QCheckBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QTableWidget;

// The program's one working window: the white card on the left, the subject
// folder in the middle, the results on the right. It holds the whole working
// state and answers the controls' events; the logic of the larger handlers
// lives apart from the widgets and reaches them through the host interfaces.
class WinEqualize : public QMainWindow,
                    public WhiteCardHost,
                    public SubjectListHost,
                    public BatchHost {
    Q_OBJECT
  public:
    // With no dialogs given the window asks through the desktop's own.
    explicit WinEqualize(MenuBar1* menuBar = nullptr, Dialogs* dialogs = nullptr);
    ~WinEqualize() override;

    WindowState& State() { return state_; }
    WindowEventPump& Pump() { return *pump_; }

    // Handlers, in their order.
    void BtnProcess_Action();
    void BtnSubject_Action();
    void LstSubject_CellAction(int row, int column);
    void LstSubject_Change();
    void CanSubject_Paint(Graphics& g);
    void ChkSelectAll_Action();
    void BtnWhite_Action();
    void FldScale_Open();
    void FldScale_KeyUp();
    void CanWhite_Paint(Graphics& g);
    void CanResult_Paint(Graphics& g);
    void ChkShowPreviews_Action();
    void ChkShowToneMap_Action();
    // Beyond the window's own job: the correction options (the small button
    // and the Correction menu), the card report, and files dropped on it.
    void BtnOptions_Action();
    void CardReport_Action();
    void Drop(DropArea area, const std::vector<std::filesystem::path>& paths);

    // WhiteCardHost
    void SetLabel(WhiteLabel label, const std::string& text) override;
    void RefreshLabel(WhiteLabel label) override;
    void SetScaleText(const std::string& text) override;
    void DeleteAllRows() override;
    void RefreshCanvases() override;
    void RefreshWhiteCanvas() override;
    void SetProcessEnabled(bool enabled) override;
    CanvasSize WhiteCanvas() override;
    TiffServices WhiteServices() override;

    // SubjectListHost
    void SetTicked(std::int64_t row, bool ticked) override;
    void AddRow(const std::string& name) override;
    void SetFolderText(const std::string& text) override;
    void SetResultText(const std::string& text) override;
    void SetSelectAllCaption(const std::string& caption) override;

    // BatchHost
    std::int64_t ListCount() override;
    bool Ticked(std::int64_t row) override;
    std::string FileName(std::int64_t row) override;
    void SetRowPicture(std::int64_t row, RowMark mark) override;
    void DisableProcess() override;
    void SetSubjectStatus(const std::string& text) override;
    Progress& EqualizeProgress() override { return equalizeProgress_; }
    bool ShowPreviews() override;
    CanvasSize SubjectCanvas() override;
    CanvasSize ResultCanvas() override;
    void RefreshResult() override;

    // Both hosts
    Dialogs& UserDialogs() override { return *dialogs_; }
    EventPump& Events() override { return *pump_; }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

  private:
    void FindControls();
    void WireHandlers();
    void WireMenu(MenuBar1* menuBar);
    bool DropEvent(QObject* watched, QEvent* event);
    // The label that says which options are on, and the menu items a card enables.
    void ShowOptions();
    QLabel* LabelFor(WhiteLabel label) const;
    // Runs a handler; an exception no handler caught is shown, never let loose
    // in the event loop.
    template <class Handler>
    void Guarded(Handler&& handler);

    WindowState state_;
    std::unique_ptr<Dialogs> ownDialogs_;
    Dialogs* dialogs_;
    WindowEventPump* pump_;
    SubjectList subjects_;
    MenuBar1* menuBar_;
    bool processing_ = false;  // a batch runs

    QPushButton* BtnProcess = nullptr;
    QPushButton* BtnSubject = nullptr;
    QTableWidget* LstSubject = nullptr;
    PictureCanvas* CanSubject = nullptr;
    QLabel* TxtSubjectFolder = nullptr;
    QCheckBox* ChkSelectAll = nullptr;
    QPushButton* BtnWhite = nullptr;
    QLabel* TxtWhite = nullptr;
    QLineEdit* FldScale = nullptr;
    PictureCanvas* CanWhite = nullptr;
    QLabel* TxtStatusWhite = nullptr;
    QProgressBar* PrgAnalyze = nullptr;
    QLabel* TxtInfoWhite = nullptr;
    QLabel* TxtMaxLoc = nullptr;
    QLabel* TxtMaxVal = nullptr;
    PictureCanvas* CanToneScale = nullptr;
    QLabel* TxtResult = nullptr;
    QProgressBar* PrgEqualize = nullptr;
    QLabel* TxtStatusSubject = nullptr;
    PictureCanvas* CanResult = nullptr;
    QCheckBox* ChkShowPreviews = nullptr;
    QCheckBox* ChkShowToneMap = nullptr;
    QPushButton* BtnOptions = nullptr;
    QLabel* TxtOptions = nullptr;

    ProgressBarProgress analyzeProgress_{nullptr};
    ProgressBarProgress equalizeProgress_{nullptr};
};
