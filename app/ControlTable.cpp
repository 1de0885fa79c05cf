#include "ControlTable.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QHash>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTableWidget>

#include "PictureCanvas.h"

namespace {
QWidget* MakeWidget(const ControlSpec& spec) {
    const QString text = QString::fromUtf8(spec.text ? spec.text : "");
    const Qt::Alignment horizontal =
        spec.flags & ControlFlag::RightAligned ? Qt::AlignRight : Qt::AlignLeft;
    switch (spec.kind) {
        case ControlKind::PushButton:
            return new QPushButton(text);
        case ControlKind::GroupBox:
            return new QGroupBox(text);
        case ControlKind::Listbox:
            return new QTableWidget();
        case ControlKind::Canvas:
            return new PictureCanvas();
        case ControlKind::Label: {
            auto* label = new QLabel(text);
            const bool multiline = spec.flags & ControlFlag::Multiline;
            label->setWordWrap(multiline);
            label->setAlignment(horizontal | (multiline ? Qt::AlignTop : Qt::AlignVCenter));
            return label;
        }
        case ControlKind::TextField: {
            auto* field = new QLineEdit(text);
            field->setAlignment(horizontal | Qt::AlignVCenter);
            return field;
        }
        case ControlKind::CheckBox: {
            auto* box = new QCheckBox(text);
            box->setChecked(spec.flags & ControlFlag::Ticked);
            return box;
        }
        case ControlKind::ProgressBar: {
            auto* bar = new QProgressBar();
            bar->setRange(0, 100);
            bar->setValue(0);
            bar->setTextVisible(false);
            return bar;
        }
    }
    return new QWidget();
}
}  // namespace

void CreateControls(QWidget* client, std::span<const ControlSpec> table) {
    QHash<QString, QWidget*> made;
    const QFont plain = client->font();
    for (const ControlSpec& spec : table) {
        QWidget* widget = MakeWidget(spec);
        QWidget* parent = spec.group ? made.value(spec.group, client) : client;
        const QPoint origin = parent == client ? QPoint(0, 0) : parent->pos();
        widget->setParent(parent);
        widget->setObjectName(spec.name);
        widget->setGeometry(spec.left - origin.x(), spec.top - origin.y(), spec.width, spec.height);
        QFont font = plain;
        font.setBold(spec.flags & ControlFlag::Bold);
        widget->setFont(font);
        widget->setEnabled(!(spec.flags & ControlFlag::Disabled));
        widget->setVisible(!(spec.flags & ControlFlag::Hidden));
        made.insert(spec.name, widget);
    }
}
