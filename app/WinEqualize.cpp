#include "WinEqualize.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QDropEvent>
#include <QEvent>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMimeData>
#include <QPalette>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QSignalBlocker>
#include <QTableWidget>
#include <QUrl>

#include "Batch.h"
#include "ControlTable.h"
#include "CorrectionOptionsDialog.h"
#include "MenuBar1.h"
#include "NumberText.h"
#include "PictureCanvas.h"
#include "ReportFiles.h"
#include "ResourcePictures.h"
#include "RowPictureDelegate.h"
#include "WindowDialogs.h"
#include "WindowSettings.h"

namespace {
using enum ControlKind;
using namespace ControlFlag;

constexpr int kClientWidth = 760;
constexpr int kClientHeight = 500;
constexpr int kControlFontPixels = 10;
constexpr int kRowPictureColumn = 0;
constexpr int kTickColumn = 1;
constexpr int kNameColumn = 2;

// clang-format off
constexpr ControlSpec kControls[] = {
    {"BtnProcess",       PushButton,  nullptr,      "Process",            593, 470,  80,  20, Disabled},
    {"GrpSubject",       GroupBox,    nullptr,      "Subject Folder",     260,  10, 240, 455, Bold},
    {"BtnSubject",       PushButton,  "GrpSubject", "Choose",             267,  30,  55,  20, 0},
    {"LstSubject",       Listbox,     "GrpSubject", nullptr,              265,  80, 230, 132, 0},
    {"CanSubject",       Canvas,      "GrpSubject", nullptr,              265, 229, 230, 230, 0},
    {"TxtSubjectFolder", Label,       "GrpSubject", nullptr,              340,  30, 155,  30, Multiline},
    {"ChkSelectAll",     CheckBox,    "GrpSubject", "Select All",         265,  55, 100,  20, 0},
    {"GrpWhite",         GroupBox,    nullptr,      "White Image",         10,  10, 240, 455, Bold},
    {"BtnWhite",         PushButton,  "GrpWhite",   "Open",                17,  30,  55,  20, 0},
    {"TxtWhite",         Label,       "GrpWhite",   nullptr,               80,  30, 165,  30, Multiline},
    {"TxtMax",           Label,       "GrpWhite",   "Maximum:",            18, 138,  58,  20, 0},
    {"FldScale",         TextField,   "GrpWhite",   "100.0",              120, 183,  40,  20, RightAligned},
    {"StaticText6",      Label,       "GrpWhite",   "Correction amount:",  15, 182, 100,  20, RightAligned},
    {"CanWhite",         Canvas,      "GrpWhite",   nullptr,               15, 229, 230, 230, 0},
    {"TxtStatusWhite",   Label,       "GrpWhite",   nullptr,               18,  95, 225,  20, 0},
    {"PrgAnalyze",       ProgressBar, "GrpWhite",   nullptr,               29, 120, 200,  11, Hidden},
    {"TxtInfoWhite",     Label,       "GrpWhite",   nullptr,               18,  70, 225,  20, 0},
    {"StaticText1",      Label,       "GrpWhite",   "%",                  164, 182,  15,  20, 0},
    {"TxtMaxLoc",        Label,       "GrpWhite",   nullptr,               18, 160, 225,  20, 0},
    {"TxtMaxVal",        Label,       "GrpWhite",   nullptr,               78, 138, 100,  20, Bold},
    {"CanToneScale",     Canvas,      "GrpWhite",   nullptr,               15, 207, 230,  20, Hidden},
    {"GrpResults",       GroupBox,    nullptr,      "Results",            510,  10, 240, 455, Bold},
    {"TxtResult",        Label,       "GrpResults", nullptr,              518,  30, 227,  75, Multiline},
    {"PrgEqualize",      ProgressBar, "GrpResults", nullptr,              529, 160, 200,  11, Hidden},
    {"TxtStatusSubject", Label,       "GrpResults", nullptr,              518, 115, 225,  40, Multiline},
    {"CanResult",        Canvas,      "GrpResults", nullptr,              515, 229, 230, 230, 0},
    {"ChkShowPreviews",  CheckBox,    nullptr,      "Show previews",       10, 470, 100,  20, Ticked},
    {"ChkShowToneMap",   CheckBox,    nullptr,      "Show tone map",      130, 470, 100,  20, 0},
    {"BtnOptions",       PushButton,  "GrpWhite",   "Options\u2026",      183, 181,  58,  22, 0},
    {"TxtOptions",       Label,       nullptr,      nullptr,              240, 470, 345,  20, 0},
};
// clang-format on

void SetUpSubjectList(QTableWidget* list) {
    list->setColumnCount(3);
    list->horizontalHeader()->hide();
    list->verticalHeader()->hide();
    list->horizontalHeader()->setMinimumSectionSize(0);
    list->setColumnWidth(kRowPictureColumn, 15);
    list->setColumnWidth(kTickColumn, 20);
    list->horizontalHeader()->setStretchLastSection(true);
    list->verticalHeader()->setDefaultSectionSize(17);
    list->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list->setSelectionMode(QAbstractItemView::SingleSelection);
    list->setSelectionBehavior(QAbstractItemView::SelectRows);
    list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list->setShowGrid(false);
    list->setItemDelegateForColumn(kRowPictureColumn, new RowPictureDelegate(list));
}
}  // namespace

WinEqualize::WinEqualize(MenuBar1* menuBar, Dialogs* dialogs)
    : dialogs_(dialogs),
      pump_(new WindowEventPump(this)),
      subjects_(state_, *this),
      menuBar_(menuBar) {
    if (!dialogs_) {
        ownDialogs_ = std::make_unique<WindowDialogs>(this);
        dialogs_ = ownDialogs_.get();
    }
    setObjectName("WinEqualize");
    setWindowTitle("Brisavane 3");
    setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                   Qt::WindowCloseButtonHint | Qt::WindowMinimizeButtonHint);
    if (menuBar) setMenuBar(menuBar);

    auto* client = new QWidget(this);
    client->setObjectName("client");
    client->setFixedSize(kClientWidth, kClientHeight);
    QPalette white = client->palette();
    white.setColor(QPalette::Window, Qt::white);
    client->setPalette(white);
    client->setAutoFillBackground(true);
    // Captions must fit the fixed sizes of their controls.
    QFont compact = client->font();
    compact.setPixelSize(kControlFontPixels);
    client->setFont(compact);
    setCentralWidget(client);
    layout()->setSizeConstraint(QLayout::SetFixedSize);

    CreateControls(client, kControls);
    FindControls();
    SetUpSubjectList(LstSubject);
    FldScale->setValidator(
        new QRegularExpressionValidator(QRegularExpression(R"(\d{0,3}(\.\d?)?)"), FldScale));
    CanToneScale->SetBackdrop(ResourcePictures::tone_scale());
    analyzeProgress_ = ProgressBarProgress(PrgAnalyze);
    equalizeProgress_ = ProgressBarProgress(PrgEqualize);
    WireHandlers();
    WireMenu(menuBar);
    FldScale_Open();
    state_.modes = window_settings::Options();
    ShowOptions();
    if (const auto position = window_settings::Position()) move(*position);
}

WinEqualize::~WinEqualize() = default;

void WinEqualize::FindControls() {
    const auto find = [this](auto*& member, const char* name) {
        member = findChild<std::remove_reference_t<decltype(*member)>*>(name);
        Q_ASSERT(member);
    };
    find(BtnProcess, "BtnProcess");
    find(BtnSubject, "BtnSubject");
    find(LstSubject, "LstSubject");
    find(CanSubject, "CanSubject");
    find(TxtSubjectFolder, "TxtSubjectFolder");
    find(ChkSelectAll, "ChkSelectAll");
    find(BtnWhite, "BtnWhite");
    find(TxtWhite, "TxtWhite");
    find(FldScale, "FldScale");
    find(CanWhite, "CanWhite");
    find(TxtStatusWhite, "TxtStatusWhite");
    find(PrgAnalyze, "PrgAnalyze");
    find(TxtInfoWhite, "TxtInfoWhite");
    find(TxtMaxLoc, "TxtMaxLoc");
    find(TxtMaxVal, "TxtMaxVal");
    find(CanToneScale, "CanToneScale");
    find(TxtResult, "TxtResult");
    find(PrgEqualize, "PrgEqualize");
    find(TxtStatusSubject, "TxtStatusSubject");
    find(CanResult, "CanResult");
    find(ChkShowPreviews, "ChkShowPreviews");
    find(ChkShowToneMap, "ChkShowToneMap");
    find(BtnOptions, "BtnOptions");
    find(TxtOptions, "TxtOptions");
}

template <class Handler>
void WinEqualize::Guarded(Handler&& handler) {
    try {
        handler();
    } catch (const std::exception& e) {
        dialogs_->MsgBox(std::string("Error: ") + e.what());
    }
}

void WinEqualize::WireHandlers() {
    connect(BtnProcess, &QPushButton::clicked, this,
            [this] { Guarded([this] { BtnProcess_Action(); }); });
    connect(BtnSubject, &QPushButton::clicked, this,
            [this] { Guarded([this] { BtnSubject_Action(); }); });
    connect(LstSubject, &QTableWidget::itemChanged, this,
            [this](QTableWidgetItem* item) { LstSubject_CellAction(item->row(), item->column()); });
    connect(LstSubject, &QTableWidget::itemSelectionChanged, this, [this] { LstSubject_Change(); });
    CanSubject->SetPaintHandler([this](Graphics& g) { CanSubject_Paint(g); });
    connect(ChkSelectAll, &QCheckBox::clicked, this, [this] { ChkSelectAll_Action(); });
    connect(BtnWhite, &QPushButton::clicked, this,
            [this] { Guarded([this] { BtnWhite_Action(); }); });
    FldScale->installEventFilter(this);
    CanWhite->SetPaintHandler([this](Graphics& g) { CanWhite_Paint(g); });
    CanResult->SetPaintHandler([this](Graphics& g) { CanResult_Paint(g); });
    connect(ChkShowPreviews, &QCheckBox::clicked, this, [this] { ChkShowPreviews_Action(); });
    connect(ChkShowToneMap, &QCheckBox::clicked, this, [this] { ChkShowToneMap_Action(); });
    connect(BtnOptions, &QPushButton::clicked, this,
            [this] { Guarded([this] { BtnOptions_Action(); }); });
    for (QWidget* area : {findChild<QWidget*>("GrpWhite"), findChild<QWidget*>("GrpSubject")}) {
        area->setAcceptDrops(true);
        area->installEventFilter(this);
    }
}

void WinEqualize::WireMenu(MenuBar1* menuBar) {
    if (!menuBar) return;
    connect(menuBar->Item("CorrectionOptions"), &QAction::triggered, this,
            [this] { Guarded([this] { BtnOptions_Action(); }); });
    connect(menuBar->Item("CardReport"), &QAction::triggered, this,
            [this] { Guarded([this] { CardReport_Action(); }); });
    connect(menuBar->Item("OpenCardFolder"), &QAction::triggered, this, [this] {
        Guarded([this] {
            OpenCardFolder(state_, *this);
            ShowOptions();
        });
    });
}

bool WinEqualize::eventFilter(QObject* watched, QEvent* event) {
    if (watched == FldScale && event->type() == QEvent::KeyRelease) FldScale_KeyUp();
    if (DropEvent(watched, event)) return true;
    return QMainWindow::eventFilter(watched, event);
}

void WinEqualize::closeEvent(QCloseEvent* event) {
    window_settings::KeepPosition(pos());
    QMainWindow::closeEvent(event);
}

// Files from the desktop, dropped on the white image or on the subjects.
bool WinEqualize::DropEvent(QObject* watched, QEvent* event) {
    const bool white = watched->objectName() == "GrpWhite";
    if (!white && watched->objectName() != "GrpSubject") return false;
    if (event->type() == QEvent::DragEnter) {
        auto* enter = static_cast<QDragEnterEvent*>(event);
        if (enter->mimeData()->hasUrls()) enter->acceptProposedAction();
        return true;
    }
    if (event->type() != QEvent::Drop) return false;
    auto* drop = static_cast<QDropEvent*>(event);
    std::vector<std::filesystem::path> paths;
    for (const QUrl& url : drop->mimeData()->urls())
        if (url.isLocalFile()) paths.emplace_back(url.toLocalFile().toStdString());
    drop->acceptProposedAction();
    Guarded([&] { Drop(white ? DropArea::WhiteImage : DropArea::Subjects, paths); });
    return true;
}

// ---- Process ----

// Escape counts as a request to stop only while the batch runs.
void WinEqualize::BtnProcess_Action() {
    struct Running {
        WinEqualize& window;
        explicit Running(WinEqualize& w) : window(w) {
            window.Pump().Begin();
            window.processing_ = true;
        }
        ~Running() {
            window.Pump().End();
            window.processing_ = false;
        }
    } running(*this);
    Batch(state_, *this).BtnProcess_Action();
}

// ---- Beyond the window's own job ----

void WinEqualize::BtnOptions_Action() {
    CorrectionOptionsDialog dialog(state_.modes, state_.card && state_.WhiteOpened, *dialogs_,
                                   this);
    if (dialog.exec() != QDialog::Accepted) return;
    const CorrectionModes modes = dialog.Modes();
    if (TakeModes(state_, *this, modes)) window_settings::KeepOptions(modes.Options());
    ShowOptions();
}

void WinEqualize::CardReport_Action() {
    MakeCardReport(state_, *this);
}

void WinEqualize::Drop(DropArea area, const std::vector<std::filesystem::path>& paths) {
    const DropPlan plan = PlanDrop(area, paths, processing_);
    switch (plan.kind) {
        case DropPlan::Kind::OpenCard:
            OpenWhiteCard(state_, *this, GetFolderItem(plan.path.string()));
            ShowOptions();
            return;
        case DropPlan::Kind::ChooseFolder:
            subjects_.ChooseFolder(GetFolderItem(plan.path.string()));
            return;
        case DropPlan::Kind::ChooseAndTick:
            subjects_.ChooseFolder(GetFolderItem(plan.path.string()));
            subjects_.TickOnly(plan.names);
            return;
        case DropPlan::Kind::Refuse:
            (area == DropArea::WhiteImage ? TxtStatusWhite : TxtStatusSubject)
                ->setText(QString::fromStdString(plan.why));
            return;
    }
}

void WinEqualize::ShowOptions() {
    const std::string options = state_.modes.Described();
    TxtOptions->setText(options.empty() ? QString()
                                        : QString::fromStdString("Options: " + options));
    if (menuBar_) menuBar_->Item("CardReport")->setEnabled(state_.WhiteOpened && state_.card);
}

// ---- The subject list ----

void WinEqualize::BtnSubject_Action() {
    subjects_.ChooseFolder();
}

void WinEqualize::LstSubject_CellAction(int, int) {
    subjects_.TickChanged();
}

void WinEqualize::LstSubject_Change() {
    const QList<QTableWidgetItem*> selected = LstSubject->selectedItems();
    subjects_.RowSelected(selected.isEmpty() ? -1 : selected.front()->row());
}

void WinEqualize::ChkSelectAll_Action() {
    subjects_.SelectAll(ChkSelectAll->isChecked());
}

// ---- SubjectListHost ----

void WinEqualize::SetTicked(std::int64_t row, bool ticked) {
    if (row < 0 || row >= LstSubject->rowCount()) return;
    const QSignalBlocker quiet(LstSubject);  // not the user's change
    if (QTableWidgetItem* tick = LstSubject->item(static_cast<int>(row), kTickColumn))
        tick->setCheckState(ticked ? Qt::Checked : Qt::Unchecked);
}

void WinEqualize::AddRow(const std::string& name) {
    const QSignalBlocker quiet(LstSubject);
    const int row = LstSubject->rowCount();
    LstSubject->insertRow(row);
    auto* mark = new QTableWidgetItem();
    mark->setFlags(Qt::ItemIsSelectable | Qt::ItemIsEnabled);
    auto* tick = new QTableWidgetItem();
    tick->setFlags(Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
    tick->setCheckState(Qt::Unchecked);
    auto* file = new QTableWidgetItem(QString::fromStdString(name));
    file->setFlags(Qt::ItemIsSelectable | Qt::ItemIsEnabled);
    LstSubject->setItem(row, kRowPictureColumn, mark);
    LstSubject->setItem(row, kTickColumn, tick);
    LstSubject->setItem(row, kNameColumn, file);
}

void WinEqualize::SetFolderText(const std::string& text) {
    TxtSubjectFolder->setText(QString::fromStdString(text));
}

void WinEqualize::SetResultText(const std::string& text) {
    TxtResult->setText(QString::fromStdString(text));
}

void WinEqualize::SetSelectAllCaption(const std::string& caption) {
    ChkSelectAll->setText(QString::fromStdString(caption));
    ChkSelectAll->repaint();
}

// ---- The white card ----

void WinEqualize::BtnWhite_Action() {
    OpenWhiteCard(state_, *this);
    ShowOptions();
}

void WinEqualize::FldScale_Open() {
    FldScale->setText(QString::fromStdString(FormatFixed(100 * state_.AmountToApply, 1)));
}

// The Process rule isn't a live binding: it is applied here and by the list's
// and the white card's handlers, and between those the button keeps its state.
void WinEqualize::FldScale_KeyUp() {
    state_.AmountToApply = CDbl(FldScale->text().toStdString()) / 100.0;
    state_.EqualizationCompleted = false;
    SetProcessEnabled(state_.ProcessAllowed());
}

void WinEqualize::ChkShowPreviews_Action() {
    ChkShowToneMap->setVisible(ChkShowPreviews->isChecked());
}

void WinEqualize::ChkShowToneMap_Action() {
    const bool ticked = ChkShowToneMap->isChecked();
    CanToneScale->setVisible(ticked);
    if (ticked ? state_.ptone != nullptr : state_.pwhite != nullptr) CanWhite->repaint();
    pump_->DoEvents();
}

// ---- The canvases: pictures at their own size, never scaled ----

void WinEqualize::CanSubject_Paint(Graphics& g) {
    if (state_.psubject) g.DrawPicture(*state_.psubject, 0, 0);
}

void WinEqualize::CanWhite_Paint(Graphics& g) {
    if (!state_.pwhite) return;
    g.DrawPicture(*state_.pwhite, 0, 0);
    if (ChkShowToneMap->isChecked() && state_.ptone) g.DrawPicture(*state_.ptone, 0, 0);
}

// Wiped first, so a smaller result leaves nothing of a larger one.
void WinEqualize::CanResult_Paint(Graphics& g) {
    if (!state_.presult) return;
    g.ClearRect(0, 0, g.Width(), g.Height());
    g.DrawPicture(*state_.presult, 0, 0);
}

// ---- WhiteCardHost ----

QLabel* WinEqualize::LabelFor(WhiteLabel label) const {
    switch (label) {
        case WhiteLabel::TxtWhite:
            return TxtWhite;
        case WhiteLabel::TxtInfoWhite:
            return TxtInfoWhite;
        case WhiteLabel::TxtStatusWhite:
            return TxtStatusWhite;
        case WhiteLabel::TxtResult:
            return TxtResult;
        case WhiteLabel::TxtMaxVal:
            return TxtMaxVal;
        case WhiteLabel::TxtMaxLoc:
            return TxtMaxLoc;
    }
    return TxtStatusWhite;
}

void WinEqualize::SetLabel(WhiteLabel label, const std::string& text) {
    LabelFor(label)->setText(QString::fromStdString(text));
}

void WinEqualize::RefreshLabel(WhiteLabel label) {
    LabelFor(label)->repaint();
}

void WinEqualize::SetScaleText(const std::string& text) {
    FldScale->setText(QString::fromStdString(text));
    FldScale->repaint();
}

void WinEqualize::DeleteAllRows() {
    const QSignalBlocker quiet(LstSubject);
    LstSubject->setRowCount(0);
}

void WinEqualize::RefreshCanvases() {
    CanWhite->repaint();
    CanSubject->repaint();
    CanResult->repaint();
}

void WinEqualize::RefreshWhiteCanvas() {
    CanWhite->repaint();
}

void WinEqualize::SetProcessEnabled(bool enabled) {
    BtnProcess->setEnabled(enabled);
}

bool WinEqualize::ShowPreviews() {
    return ChkShowPreviews->isChecked();
}

CanvasSize WinEqualize::WhiteCanvas() {
    return {CanWhite->width(), CanWhite->height()};
}

TiffServices WinEqualize::WhiteServices() {
    return TiffServices{&analyzeProgress_, &equalizeProgress_, dialogs_};
}

// ---- BatchHost ----

std::int64_t WinEqualize::ListCount() {
    return LstSubject->rowCount();
}

bool WinEqualize::Ticked(std::int64_t row) {
    if (row < 0 || row >= LstSubject->rowCount()) return false;
    const QTableWidgetItem* tick = LstSubject->item(static_cast<int>(row), kTickColumn);
    return tick && tick->checkState() == Qt::Checked;
}

std::string WinEqualize::FileName(std::int64_t row) {
    if (row < 0 || row >= LstSubject->rowCount()) return "";
    const QTableWidgetItem* file = LstSubject->item(static_cast<int>(row), kNameColumn);
    return file ? file->text().toStdString() : "";
}

void WinEqualize::SetRowPicture(std::int64_t row, RowMark mark) {
    if (row < 0 || row >= LstSubject->rowCount()) return;
    QTableWidgetItem* cell = LstSubject->item(static_cast<int>(row), kRowPictureColumn);
    if (!cell) return;
    const QSignalBlocker quiet(LstSubject);
    RowPictureDelegate::SetPicture(
        *cell, mark == RowMark::Check ? ResourcePictures::Check() : ResourcePictures::Cross());
}

void WinEqualize::DisableProcess() {
    BtnProcess->setEnabled(false);
    BtnProcess->repaint();
}

void WinEqualize::SetSubjectStatus(const std::string& text) {
    TxtStatusSubject->setText(QString::fromStdString(text));
    TxtStatusSubject->repaint();
}

CanvasSize WinEqualize::SubjectCanvas() {
    return {CanSubject->width(), CanSubject->height()};
}

CanvasSize WinEqualize::ResultCanvas() {
    return {CanResult->width(), CanResult->height()};
}

void WinEqualize::RefreshResult() {
    CanResult->repaint();
}
