#pragma once

#include <QStyledItemDelegate>

namespace spindrel {

class Tape;

/// Draws a tape box row: the tape's letter on its colour, the title, and a line with the date,
/// length and quality; the selected row is lit like a backlit label.
class TapeBoxItemDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    /// Row drawing without a view, for one tape in `rect` (what paint() does per row).
    static void paintRow(QPainter& painter, const QRectF& rect, const Tape& tape, bool selected,
                         bool alternate, bool recording);
};

} // namespace spindrel
