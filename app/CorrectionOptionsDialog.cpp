#include "CorrectionOptionsDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include "FolderItem.h"
#include "TiffFile.h"

namespace {
// A control on the left with its sentence beside it, in a smaller, grey
// type: side by side the whole dialog fits on a small laptop screen.
void AddRow(QGridLayout* grid, QWidget* control, const char* sentence) {
    const int row = grid->rowCount();
    grid->addWidget(control, row, 0, Qt::AlignTop);
    auto* words = new QLabel(sentence);
    words->setWordWrap(true);
    words->setStyleSheet("color: #555");
    grid->addWidget(words, row, 1, Qt::AlignTop);
}

QPushButton* Button(const char* name, const char* caption) {
    auto* button = new QPushButton(caption);
    button->setObjectName(name);
    return button;
}

// A file or list of files with the two buttons that change it beneath.
QWidget* WithButtons(QWidget* files, QPushButton* change, QPushButton* undo) {
    auto* part = new QWidget;
    part->setMinimumWidth(300);
    auto* layout = new QGridLayout(part);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(files, 0, 0, 1, 3);
    layout->addWidget(change, 1, 0);
    layout->addWidget(undo, 1, 1);
    layout->setColumnStretch(2, 1);
    return part;
}

template <class Widget>
Widget* Named(Widget* widget, const char* name) {
    widget->setObjectName(name);
    return widget;
}
}  // namespace

CorrectionOptionsDialog::CorrectionOptionsDialog(const CorrectionModes& modes, bool cardOpen,
                                                 Dialogs& dialogs, QWidget* parent)
    : QDialog(parent), dialogs_(dialogs), firstShot_(modes.cards.empty() ? "" : modes.cards[0]) {
    setObjectName("CorrectionOptions");
    setWindowTitle("Correction Options");
    // Wide enough for the sentences, and tall enough for them once wrapped.
    setMinimumWidth(760);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(OptionsPart());
    QWidget* card = CardPart();
    card->setEnabled(cardOpen);
    layout->addWidget(card);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    QPushButton* reset = Button("BtnReset", "Reset to defaults");
    buttons->addButton(reset, QDialogButtonBox::ResetRole);
    connect(reset, &QPushButton::clicked, this, [this] {
        CorrectionModes defaults;
        if (!firstShot_.empty()) defaults.cards = {firstShot_};
        Show(defaults);
    });
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    Show(modes);
    // The wrapped sentences need the height their width gives them, which
    // only a size taken from the final width accounts for.
    adjustSize();
}

QWidget* CorrectionOptionsDialog::OptionsPart() {
    auto* box = new QGroupBox("Options");
    auto* layout = new QGridLayout(box);
    layout->setColumnStretch(1, 1);
    channels_ = Named(new QComboBox, "Channels");
    channels_->addItems({"green for all three channels", "each channel its own"});
    AddRow(layout, channels_, mode_sentences::kChannels);
    smooth_ = Named(new QSpinBox, "Smooth");
    smooth_->setRange(0, 10000);
    smooth_->setSuffix(" px");
    smooth_->setSpecialValueText("no smoothing");
    AddRow(layout, smooth_, mode_sentences::kSmooth);
    auto* cap = new QWidget;
    auto* capRow = new QHBoxLayout(cap);
    capRow->setContentsMargins(0, 0, 0, 0);
    capped_ = Named(new QCheckBox("Hold every gain at"), "Capped");
    cap_ = Named(new QDoubleSpinBox, "MaxGain");
    cap_->setRange(1.0, 1000.0);
    cap_->setDecimals(2);
    capRow->addWidget(capped_);
    capRow->addWidget(cap_);
    capRow->addStretch();
    connect(capped_, &QCheckBox::toggled, cap_, &QWidget::setEnabled);
    AddRow(layout, cap, mode_sentences::kMaxGain);
    linear_ = Named(new QCheckBox("Linear light"), "Linear");
    AddRow(layout, linear_, mode_sentences::kLinear);
    darken_ = Named(new QCheckBox("Darkening"), "Darken");
    AddRow(layout, darken_, mode_sentences::kDarken);
    return box;
}

// The card's files belong to the card, not to the options: never kept between
// sessions, and cleared by every Open.
QWidget* CorrectionOptionsDialog::CardPart() {
    auto* box = new QGroupBox("The white card's further shots and dark frame");
    box->setObjectName("CardFiles");
    auto* layout = new QGridLayout(box);
    layout->setColumnStretch(1, 1);
    shots_ = Named(new QListWidget, "Shots");
    shots_->setMaximumHeight(70);
    QPushButton* add = Button("BtnAddShot", "Add Shot...");
    QPushButton* remove = Button("BtnRemoveShot", "Remove");
    connect(add, &QPushButton::clicked, this, &CorrectionOptionsDialog::AddShot);
    connect(remove, &QPushButton::clicked, this, [this] { delete shots_->currentItem(); });
    AddRow(layout, WithButtons(shots_, add, remove), mode_sentences::kShots);
    dark_ = Named(new QLabel, "DarkFrame");
    dark_->setWordWrap(true);
    QPushButton* choose = Button("BtnChooseDark", "Choose Dark Frame...");
    QPushButton* clear = Button("BtnClearDark", "Clear");
    connect(choose, &QPushButton::clicked, this, &CorrectionOptionsDialog::ChooseDark);
    connect(clear, &QPushButton::clicked, dark_, &QLabel::clear);
    AddRow(layout, WithButtons(dark_, choose, clear), mode_sentences::kDark);
    return box;
}

void CorrectionOptionsDialog::Show(const CorrectionModes& modes) {
    channels_->setCurrentIndex(modes.channels == GainChannels::Rgb ? 1 : 0);
    smooth_->setValue(static_cast<int>(modes.smoothRadius));
    capped_->setChecked(modes.maxGain.has_value());
    cap_->setEnabled(modes.maxGain.has_value());
    cap_->setValue(modes.maxGain.value_or(4.0));
    linear_->setChecked(modes.linear);
    darken_->setChecked(modes.darken);
    shots_->clear();
    for (std::size_t k = 1; k < modes.cards.size(); ++k)
        shots_->addItem(QString::fromStdString(modes.cards[k]));
    dark_->setText(QString::fromStdString(modes.dark));
}

void CorrectionOptionsDialog::AddShot() {
    if (const auto file = dialogs_.GetOpenFolderItem(kImageTiffType))
        shots_->addItem(QString::fromStdString(file->NativePath()));
}

void CorrectionOptionsDialog::ChooseDark() {
    if (const auto file = dialogs_.GetOpenFolderItem(kImageTiffType))
        dark_->setText(QString::fromStdString(file->NativePath()));
}

CorrectionModes CorrectionOptionsDialog::Modes() const {
    CorrectionModes modes;
    modes.channels = channels_->currentIndex() == 1 ? GainChannels::Rgb : GainChannels::Green;
    modes.smoothRadius = static_cast<std::uint32_t>(smooth_->value());
    if (capped_->isChecked()) modes.maxGain = cap_->value();
    modes.linear = linear_->isChecked();
    modes.darken = darken_->isChecked();
    if (!firstShot_.empty()) modes.cards = {firstShot_};
    for (int k = 0; k < shots_->count(); ++k)
        modes.cards.push_back(shots_->item(k)->text().toStdString());
    modes.dark = dark_->text().toStdString();
    return modes;
}
