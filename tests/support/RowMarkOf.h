#pragma once

#include <QTableWidget>

#include "PictureImage.h"
#include "ResourcePictures.h"

// The mark a list row shows: the row picture is kept in the mark column's
// cell under the role the delegate draws from (RowPictureDelegate); no
// picture means no mark.
inline const char* MarkOf(const QTableWidget& list, int row) {
    const QTableWidgetItem* cell = list.item(row, 0);
    const QVariant shown = cell ? cell->data(Qt::UserRole + 1) : QVariant();
    if (!shown.isValid()) return "none";
    const QImage image = shown.value<QImage>();
    if (image == ToQImage(*ResourcePictures::Check())) return "check";
    if (image == ToQImage(*ResourcePictures::Cross())) return "cross";
    return "unknown";
}
