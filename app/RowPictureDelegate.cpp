#include "RowPictureDelegate.h"

#include <QPainter>

#include "PictureImage.h"

namespace {
constexpr int kPictureRole = Qt::UserRole + 1;
}

void RowPictureDelegate::SetPicture(QTableWidgetItem& cell,
                                    const std::shared_ptr<Picture>& picture) {
    cell.setData(kPictureRole, picture ? QVariant(ToQImage(*picture)) : QVariant());
}

void RowPictureDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
    QStyledItemDelegate::paint(painter, option, index);
    const QVariant picture = index.data(kPictureRole);
    if (picture.canConvert<QImage>())
        painter->drawImage(option.rect.topLeft(), picture.value<QImage>());
}
