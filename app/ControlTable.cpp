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
QWidget* MakeWidget(const ControlSpec& control) {
    const QString text = QString::fromUtf8(control.text ? control.text : "");
    const Qt::Alignment horizontal =
        control.flags & ControlFlag::RightAligned ? Qt::AlignRight : Qt::AlignLeft;
    switch (control.kind) {
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
            const bool multiline = control.flags & ControlFlag::Multiline;
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
            box->setChecked(control.flags & ControlFlag::Ticked);
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
    for (const ControlSpec& control : table) {
        QWidget* widget = MakeWidget(control);
        QWidget* parent = control.group ? made.value(control.group, client) : client;
        const QPoint origin = parent == client ? QPoint(0, 0) : parent->pos();
        widget->setParent(parent);
        widget->setObjectName(control.name);
        widget->setGeometry(control.left - origin.x(), control.top - origin.y(), control.width,
                            control.height);
        QFont font = plain;
        font.setBold(control.flags & ControlFlag::Bold);
        widget->setFont(font);
        widget->setEnabled(!(control.flags & ControlFlag::Disabled));
        widget->setVisible(!(control.flags & ControlFlag::Hidden));
        made.insert(control.name, widget);
    }
}
