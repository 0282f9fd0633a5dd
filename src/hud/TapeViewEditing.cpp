// Mouse handling of the cassette: editing in place, the letter's colours, the share button and
// dragging the tape's file.
#include "hud/TapeNotesEditor.h"
#include "hud/TapeView.h"
#include "tapes/CassetteDrawing.h"
#include "tapes/CassetteGeometry.h"

#include <QApplication>
#include <QDrag>
#include <QGraphicsDropShadowEffect>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QMouseEvent>
#include <QPixmap>

namespace spindrel {

namespace {

/// The title editor: a borderless field over the label; Escape abandons the edit.
class TitleEditField : public QLineEdit
{
public:
    using QLineEdit::QLineEdit;
    std::function<void()> onCancel;

protected:
    void keyPressEvent(QKeyEvent* event) override
    {
        if (event->key() == Qt::Key_Escape && onCancel) {
            onCancel();
            return;
        }
        QLineEdit::keyPressEvent(event);
    }
};

} // namespace

bool TapeView::isEditingTitle() const
{
    return mEditField != nullptr;
}

QLineEdit* TapeView::titleEditor() const
{
    return mEditField;
}

bool TapeView::isEditingNotes() const
{
    return mNotesEditor != nullptr;
}

TapeNotesEditor* TapeView::notesEditor() const
{
    return mNotesEditor;
}

bool TapeView::canEditLabel() const
{
    return mTape && !isMoving() && mTapeOffset == 0.0;
}

void TapeView::editTitle()
{
    if (mEditField)
        return;
    auto* field = new TitleEditField(this);
    mEditField = field;
    field->setFrame(false);
    field->setText(mTitle);
    field->setAttribute(Qt::WA_MacShowFocusRect, false);
    const QColor ink = mTapeLetter.colorScheme()->titleColor();
    field->setStyleSheet(QStringLiteral("QLineEdit { background: rgb(250, 247, 238); color: %1; "
                                        "selection-background-color: %1; selection-color: white; }")
                             .arg(ink.name()));
    auto* shadow = new QGraphicsDropShadowEffect(field);
    shadow->setBlurRadius(3.0);
    shadow->setOffset(0.0, 1.0);
    shadow->setColor(QColor(0, 0, 0, 70));
    field->setGraphicsEffect(shadow);
    field->onCancel = [this] { endTitleEditing(false); };
    connect(field, &QLineEdit::editingFinished, this, [this] { endTitleEditing(true); });
    placeEditors();
    field->show();
    field->selectAll();
    field->setFocus(Qt::MouseFocusReason);
}

void TapeView::endTitleEditing(bool commit)
{
    // Hiding the field ends its editing again; that second call must find nothing to do.
    if (!mEditField || mEndingTitleEdit)
        return;
    mEndingTitleEdit = true;
    QLineEdit* field = mEditField;
    const QString text = field->text();
    const bool hadKeyboard = window()->focusWidget() == field;
    mEditField = nullptr;
    // Handed on before the field hides, or Qt gives the keyboard to the next widget in the chain.
    if (hadKeyboard)
        Q_EMIT editingEnded();
    field->hide();
    field->deleteLater();
    mEndingTitleEdit = false;
    if (!commit || text == mTitle)
        return;
    if (mTape)
        mTape->setTitle(text);
    else
        setTitle(text);
}

void TapeView::displayNotesEditor()
{
    if (mNotesEditor)
        return;
    mNotesEditor = new TapeNotesEditor(this);
    mNotesEditor->setText(mNotes);
    connect(mNotesEditor, &TapeNotesEditor::doneEditing, this, &TapeView::doneEditingNotes);
    placeEditors();
    mNotesEditor->show();
    mNotesEditor->raise();
    mNotesEditor->focusText();
}

void TapeView::doneEditingNotes()
{
    if (!mNotesEditor)
        return;
    TapeNotesEditor* editor = mNotesEditor;
    const QString text = editor->text();
    const bool hadKeyboard = editor->isAncestorOf(window()->focusWidget());
    mNotesEditor = nullptr;
    if (hadKeyboard)
        Q_EMIT editingEnded();
    editor->hide();
    editor->deleteLater();
    if (text == mNotes)
        return;
    if (mTape)
        mTape->setNotes(text);
    else
        setNotes(text);
}

void TapeView::closeEditors()
{
    endTitleEditing(true);
    doneEditingNotes();
}

void TapeView::placeEditors()
{
    const double scale = cassetteScale();
    if (mEditField) {
        mEditField->setFont(
            CassetteDrawing::font(std::max(1, static_cast<int>(std::lround(24 * scale))), QFont::Bold));
        mEditField->setGeometry(mapFromCassette(CassetteGeometry::titleRect()).toAlignedRect());
    }
    if (mNotesEditor) {
        // Over the label, with room to write several lines.
        const QRectF label = CassetteGeometry::labelRect();
        mNotesEditor->setGeometry(mapFromCassette(label.adjusted(8.0, 8.0, -8.0, 40.0)).toAlignedRect());
    }
}

void TapeView::advanceColorScheme()
{
    const TapeLetter next = mTapeLetter.tapeLetterWithNextColorScheme();
    if (mTape)
        mTape->setTapeLetter(next); // comes back through the binding
    else
        setTapeLetter(next);
}

void TapeView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    mPressPoint = event->position();
    mCommandPress = event->modifiers() & Qt::ControlModifier;
    if (mCommandPress || !canEditLabel())
        return;

    const QPointF point = mapToCassette(event->position());
    if (shareButtonRect().contains(point)) {
        mSharePressed = true;
        update();
        // Sent from the event loop, after the press has been drawn.
        QMetaObject::invokeMethod(
            this, [this] { Q_EMIT shareButtonPressed(); }, Qt::QueuedConnection);
    } else if (CassetteGeometry::titleRect().contains(point)) {
        editTitle();
    } else if (CassetteGeometry::notesRect().contains(point)) {
        displayNotesEditor();
    } else if (CassetteGeometry::letterRect().contains(point)) {
        advanceColorScheme();
    }
}

void TapeView::mouseDoubleClickEvent(QMouseEvent*)
{
    // The first click of the pair did the work; the second does nothing.
}

void TapeView::mouseMoveEvent(QMouseEvent* event)
{
    if (!(event->buttons() & Qt::LeftButton)) {
        updateHoverCursor(event->position());
        return;
    }
    if (mCommandPress && mTape && event->modifiers() & Qt::ControlModifier &&
        (event->position() - mPressPoint).manhattanLength() >= QApplication::startDragDistance()) {
        mCommandPress = false;
        startFileDrag();
    }
}

void TapeView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    if (mCommandPress && mTape && event->modifiers() & Qt::ControlModifier)
        Q_EMIT revealTapeRequested();
    mCommandPress = false;
    if (mSharePressed) {
        mSharePressed = false;
        update();
    }
}

void TapeView::startFileDrag()
{
    std::unique_ptr<QMimeData> mimeData = mTape->mimeData();
    if (!mimeData)
        return;
    auto* drag = new QDrag(this);
    drag->setMimeData(mimeData.release());
    const QImage image = dragImage();
    drag->setPixmap(QPixmap::fromImage(image));
    const QSizeF half = QSizeF(image.size()) / image.devicePixelRatio() / 2.0;
    drag->setHotSpot(QPoint(qRound(half.width()), qRound(half.height())));
    drag->exec(Qt::CopyAction | Qt::MoveAction, Qt::CopyAction);
}

void TapeView::updateHoverCursor(const QPointF& viewPoint)
{
    if (!mTape || isMoving() || mTapeOffset != 0.0) {
        unsetCursor();
        return;
    }
    const QPointF point = mapToCassette(viewPoint);
    if (CassetteGeometry::titleRect().contains(point) || CassetteGeometry::notesRect().contains(point))
        setCursor(Qt::IBeamCursor);
    else if (CassetteGeometry::letterRect().contains(point) || shareButtonRect().contains(point))
        setCursor(Qt::PointingHandCursor);
    else
        unsetCursor();
}

} // namespace spindrel
