#include "hud/TapeNotesEditor.h"

#include "hud/DeckPainting.h"

#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace spindrel {

TapeNotesEditor::TapeNotesEditor(QWidget* parent)
    : QFrame(parent), mText(new QPlainTextEdit(this)), mDone(new QPushButton(tr("Done"), this))
{
    setAttribute(Qt::WA_TranslucentBackground);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(14, 10, 14, 12);
    layout->setSpacing(6);
    auto* heading = new QLabel(tr("Notes"), this);
    heading->setFont(DeckPainting::labelFont(11.0));
    heading->setStyleSheet(QStringLiteral("color: #6a6152;"));
    layout->addWidget(heading);
    layout->addWidget(mText, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(mDone);
    layout->addLayout(buttons);

    mText->setFrameShape(QFrame::NoFrame);
    QFont font = DeckPainting::labelFont(13.0, QFont::Normal);
    font.setItalic(true);
    mText->setFont(font);
    mText->setStyleSheet(QStringLiteral("QPlainTextEdit { background: transparent; color: #4e473c; }"));
    mDone->setDefault(true);
    mDone->setStyleSheet(QStringLiteral(
        "QPushButton { color: #f4efe2; background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #6d6657, "
        "stop:1 #4b453a); border: 1px solid #2f2b24; border-radius: 4px; padding: 3px 16px; font-weight: "
        "bold; }"
        "QPushButton:pressed { background: #3d382f; }"
        "QPushButton:focus { border-color: #4f86b8; }"));
    connect(mDone, &QPushButton::clicked, this, &TapeNotesEditor::doneEditing);
}

QString TapeNotesEditor::text() const
{
    return mText->toPlainText();
}

void TapeNotesEditor::setText(const QString& text)
{
    mText->setPlainText(text);
}

void TapeNotesEditor::focusText()
{
    mText->setFocus(Qt::OtherFocusReason);
    mText->moveCursor(QTextCursor::End);
}

void TapeNotesEditor::keyPressEvent(QKeyEvent* event)
{
    if (((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) &&
         event->modifiers() & Qt::ControlModifier) ||
        event->key() == Qt::Key_Escape) {
        Q_EMIT doneEditing();
        return;
    }
    QFrame::keyPressEvent(event);
}

void TapeNotesEditor::paintEvent(QPaintEvent*)
{
    // A sheet of the label's paper, lifted off the cassette by a soft shadow.
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF card = QRectF(rect()).adjusted(3.0, 2.0, -3.0, -5.0);
    for (int i = 4; i >= 1; --i) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0, 0, 0, 18));
        painter.drawRoundedRect(card.adjusted(-i * 0.5, i * 0.6, i * 0.5, i * 0.9), 6.0 + i, 6.0 + i);
    }
    QLinearGradient paper(card.topLeft(), card.bottomLeft());
    paper.setColorAt(0.0, QColor(252, 249, 240));
    paper.setColorAt(1.0, QColor(236, 230, 214));
    painter.setBrush(paper);
    painter.setPen(QPen(QColor(120, 110, 92, 120), 1.0));
    painter.drawRoundedRect(card, 6.0, 6.0);
}

} // namespace spindrel
