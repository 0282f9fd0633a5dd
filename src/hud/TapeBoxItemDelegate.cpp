#include "hud/TapeBoxItemDelegate.h"

#include "hud/DeckPainting.h"
#include "hud/TapeBoxView.h"
#include "tapes/DurationFormatter.h"
#include "tapes/FilteringArrayController.h"
#include "tapes/Tape.h"

#include <QFontMetricsF>
#include <QLocale>
#include <QPainter>
#include <QPainterPath>

namespace spindrel {

void TapeBoxItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                const QModelIndex& index) const
{
    const auto* tape = index.data(FilteringArrayController::TapeRole).value<Tape*>();
    if (!tape) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    const bool selected = option.state & QStyle::State_Selected;
    const auto* view = qobject_cast<const TapeBoxView*>(option.widget);
    const bool recording = view && view->isRecording() && selected;
    // The row spans the whole viewport even though only one column shows.
    QRectF rect = option.rect;
    if (option.widget)
        rect.setWidth(
            std::max(rect.width(), static_cast<qreal>(view ? view->viewport()->width() : rect.width())));
    paintRow(*painter, rect, *tape, selected, index.row() % 2 == 1, recording);
}

QSize TapeBoxItemDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    QSize size = QStyledItemDelegate::sizeHint(option, index);
    size.setHeight(TapeBoxView::rowHeight);
    return size;
}

void TapeBoxItemDelegate::paintRow(QPainter& painter, const QRectF& rect, const Tape& tape, bool selected,
                                   bool alternate, bool recording)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipRect(rect);

    // Ground: alternating dark rows, or a lit steel-blue band for the selection.
    if (selected) {
        QLinearGradient lit(rect.topLeft(), rect.bottomLeft());
        lit.setColorAt(0.0, QColor(64, 110, 150));
        lit.setColorAt(1.0, QColor(40, 76, 110));
        painter.fillRect(rect, lit);
        painter.setPen(QPen(QColor(255, 255, 255, 50), 1.0));
        painter.drawLine(QPointF(rect.left(), rect.top() + 0.5), QPointF(rect.right(), rect.top() + 0.5));
    } else {
        painter.fillRect(rect, alternate ? QColor(29, 30, 34) : QColor(23, 24, 27));
    }
    painter.setPen(QPen(QColor(0, 0, 0, 120), 1.0));
    painter.drawLine(QPointF(rect.left(), rect.bottom() - 0.5), QPointF(rect.right(), rect.bottom() - 0.5));

    // The letter on its colour, like the label's corner.
    const auto& scheme = tape.tapeLetter().colorScheme();
    const QRectF chip(rect.left() + 8.0, rect.top() + 6.0, rect.height() - 12.0, rect.height() - 12.0);
    QPainterPath chipPath;
    chipPath.addRoundedRect(chip, 4.0, 4.0);
    QLinearGradient chipShade(chip.topLeft(), chip.bottomLeft());
    chipShade.setColorAt(0.0, scheme->backgroundColor().lighter(120));
    chipShade.setColorAt(1.0, scheme->backgroundColor().darker(115));
    painter.fillPath(chipPath.translated(0, 1.0), QColor(0, 0, 0, 90));
    painter.fillPath(chipPath, chipShade);
    painter.setPen(scheme->letterColor());
    painter.setFont(DeckPainting::labelFont(chip.height() * 0.7));
    painter.drawText(chip.translated(0, 0.5), Qt::AlignCenter, tape.tapeLetter().letter());

    // Title, then date, length and quality in a smaller line.
    const qreal textLeft = chip.right() + 9.0;
    const QRectF titleRect(textLeft, rect.top() + 4.0, rect.right() - textLeft - 8.0, 17.0);
    const QFont titleFont = DeckPainting::labelFont(13.0);
    const QString title =
        QFontMetricsF(titleFont).elidedText(tape.title(), Qt::ElideRight, titleRect.width());
    painter.setFont(titleFont);
    painter.setPen(selected ? QColor(255, 255, 255) : QColor(226, 228, 232));
    painter.drawText(titleRect, Qt::AlignLeft | Qt::AlignVCenter, title);

    // Quality as a small outlined badge at the end of the detail line; a red mark while recording.
    const QRectF detailLine(textLeft, titleRect.bottom() + 1.0, titleRect.width(), 13.0);
    const QString badge = recording ? QStringLiteral("REC") : tape.quality();
    qreal badgeWidth = 0.0;
    if (!badge.isEmpty()) {
        const QFont badgeFont = DeckPainting::labelFont(9.0);
        badgeWidth = QFontMetricsF(badgeFont).horizontalAdvance(badge) + 8.0;
        const QRectF badgeRect(detailLine.right() - badgeWidth, detailLine.top() + 0.5, badgeWidth, 12.0);
        const QColor ink =
            recording ? QColor(255, 96, 72) : (selected ? QColor(220, 234, 246) : QColor(150, 154, 162));
        painter.setPen(QPen(ink, 1.0));
        painter.setBrush(recording ? QColor(255, 96, 72, 40) : QColor(0, 0, 0, 0));
        painter.drawRoundedRect(badgeRect.adjusted(0.5, 0.5, -0.5, -0.5), 2.0, 2.0);
        painter.setFont(badgeFont);
        painter.drawText(badgeRect, Qt::AlignCenter, badge);
    }

    const QDateTime date = tape.date().toLocalTime();
    const QString details = QLocale().toString(date.date(), QLocale::ShortFormat) + QStringLiteral("  ·  ") +
                            DurationFormatter::durationToString(static_cast<int32_t>(tape.duration()));
    const QRectF detailRect = detailLine.adjusted(0, 0, -badgeWidth - 6.0, 0);
    const QFont detailFont = DeckPainting::labelFont(10.5, QFont::Normal);
    painter.setFont(detailFont);
    painter.setPen(selected ? QColor(206, 222, 238) : QColor(138, 142, 150));
    painter.drawText(detailRect, Qt::AlignLeft | Qt::AlignVCenter,
                     QFontMetricsF(detailFont).elidedText(details, Qt::ElideRight, detailRect.width()));
    painter.restore();
}

} // namespace spindrel
