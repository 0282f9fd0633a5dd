#include "hud/TapeBoxSearchField.h"

#include <QAction>
#include <QIcon>
#include <QKeyEvent>
#include <QPainter>
#include <QPixmap>

namespace spindrel {

namespace {

QIcon magnifierIcon()
{
    constexpr int size = 16;
    constexpr qreal dpr = 2.0;
    QPixmap pixmap(static_cast<int>(size * dpr), static_cast<int>(size * dpr));
    pixmap.setDevicePixelRatio(dpr);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(150, 154, 162), 1.6, Qt::SolidLine, Qt::RoundCap));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(QPointF(7.0, 7.0), 4.2, 4.2);
    painter.drawLine(QPointF(10.2, 10.2), QPointF(13.5, 13.5));
    return QIcon(pixmap);
}

} // namespace

TapeBoxSearchField::TapeBoxSearchField(QWidget* parent) : QLineEdit(parent)
{
    setPlaceholderText(tr("Search"));
    setClearButtonEnabled(true);
    addAction(magnifierIcon(), QLineEdit::LeadingPosition);
    setAttribute(Qt::WA_MacShowFocusRect, false);
    setStyleSheet(QStringLiteral(
        "QLineEdit { background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #0e0f11, stop:1 #1c1d21);"
        " color: #e2e4e8; border: 1px solid #050506; border-bottom-color: #3a3c42; border-radius: 11px;"
        " padding: 2px 6px; selection-background-color: #40709a; }"
        "QLineEdit:focus { border: 1px solid #4f86b8; }"));
    connect(this, &QLineEdit::textChanged, this, &TapeBoxSearchField::search);
}

void TapeBoxSearchField::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape) {
        // Cleared, and passed on: the deck takes the keyboard back.
        clear();
        event->ignore();
        return;
    }
    QLineEdit::keyPressEvent(event);
}

} // namespace spindrel
