#pragma once

#include <QStyledItemDelegate>
#include <QTableWidgetItem>
#include <memory>

#include "Picture.h"

// Draws a list cell's row picture at its own size in the cell's top left
// corner, where a plain icon would be shrunk to fit the narrow column.
class RowPictureDelegate : public QStyledItemDelegate {
    Q_OBJECT
  public:
    using QStyledItemDelegate::QStyledItemDelegate;

    // Puts the picture into the cell; nil takes it away.
    static void SetPicture(QTableWidgetItem& cell, const std::shared_ptr<Picture>& picture);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
};
