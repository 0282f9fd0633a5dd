#include "hud/TapeBoxView.h"

#include "hud/MenuMnemonics.h"
#include "hud/TapeBoxItemDelegate.h"
#include "tapes/FilteringArrayController.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>

namespace spindrel {

TapeBoxView::TapeBoxView(QWidget* parent) : QTableView(parent)
{
    qRegisterMetaType<TapePtr>();
    setItemDelegate(new TapeBoxItemDelegate(this));
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setShowGrid(false);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setMouseTracking(true);
    horizontalHeader()->hide();
    horizontalHeader()->setStretchLastSection(true);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(rowHeight);
    // Tapes drag out as files and audio files drop in; the model decides what it accepts.
    setDragEnabled(true);
    setAcceptDrops(true);
    setDropIndicatorShown(false);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDefaultDropAction(Qt::CopyAction);
    setStyleSheet(QStringLiteral(
        "QTableView { background: #17181b; border: 1px solid transparent; border-radius: 4px; }"
        // The same ring as the search field's while the list has the keyboard.
        "QTableView:focus { border-color: #4f86b8; }"
        "QScrollBar:vertical { background: #17181b; width: 8px; margin: 2px; }"
        "QScrollBar::handle:vertical { background: #4a4c52; border-radius: 2px; min-height: 24px; }"
        "QScrollBar::add-line, QScrollBar::sub-line { height: 0; }"
        "QScrollBar::add-page, QScrollBar::sub-page { background: none; }"));
}

void TapeBoxView::setLibrary(FilteringArrayController* library)
{
    mLibrary = library;
    setModel(library);
    if (!library)
        return;
    // The library's selection model is the selection: clicks change it, and the deck reads it.
    QItemSelectionModel* own = selectionModel();
    setSelectionModel(library->selectionModel());
    if (own && own->parent() == this)
        delete own;
    hideAllButTitle();
}

void TapeBoxView::hideAllButTitle()
{
    // One column: the delegate draws the letter, title, date, length and quality of each row.
    for (int column = 0; column < FilteringArrayController::ColumnCount; ++column)
        setColumnHidden(column, column != FilteringArrayController::TitleColumn);
}

void TapeBoxView::setRecording(bool recording)
{
    mRecording = recording;
    setSelectionMode(recording ? QAbstractItemView::NoSelection : QAbstractItemView::SingleSelection);
    viewport()->update();
}

void TapeBoxView::selectRow(int row)
{
    if (!mLibrary || !mLibrary->setSelectionIndex(row))
        return;
    scrollTo(mLibrary->index(row, FilteringArrayController::TitleColumn));
}

TapePtr TapeBoxView::tapeAt(const QPoint& viewportPoint) const
{
    if (!mLibrary)
        return nullptr;
    const QModelIndex index = indexAt(viewportPoint);
    return index.isValid() ? mLibrary->tapeAtRow(index.row()) : nullptr;
}

QString TapeBoxView::menuText(MenuAction action)
{
    switch (action) {
    case OpenLibraryFolder:
        return tr("Open Library Folder");
    case ShowTapeInFolder:
        return tr("Show in Folder");
    case MoveTapeToTrash:
        return tr("Move Tape to Trash");
    case EmailTape:
        return tr("Email Tape…");
    case AddTapeToMusicLibrary:
        return tr("Add Tape to Music Library");
    case SendToYouTube:
        return tr("Send to YouTube…");
    }
    return {};
}

std::unique_ptr<QMenu> TapeBoxView::contextMenuForTape(const TapePtr& tape)
{
    auto menu = std::make_unique<QMenu>(this);
    const QList<MenuAction> actions = tape ? QList<MenuAction>{ShowTapeInFolder, MoveTapeToTrash, EmailTape,
                                                               AddTapeToMusicLibrary, SendToYouTube}
                                           : QList<MenuAction>{OpenLibraryFolder};
    for (const MenuAction action : actions) {
        QAction* item = menu->addAction(menuText(action));
        item->setData(QVariant::fromValue(tape));
        connect(item, &QAction::triggered, this,
                [this, action, tape] { Q_EMIT menuActionTriggered(action, tape); });
    }
    MenuMnemonics::assign(menu.get());
    return menu;
}

TapePtr TapeBoxView::selectedTape() const
{
    return mLibrary ? mLibrary->tapeAtRow(mLibrary->selectionIndex()) : nullptr;
}

void TapeBoxView::popUpContextMenu(const TapePtr& tape, const QPoint& globalPos)
{
    QMenu* menu = contextMenuForTape(tape).release();
    // Hidden before its action is sent; deleted once that is done.
    connect(menu, &QMenu::aboutToHide, menu, &QObject::deleteLater);
    menu->popup(globalPos);
}

void TapeBoxView::popUpContextMenuAtSelection()
{
    const TapePtr tape = selectedTape();
    QPoint point(viewport()->width() / 2, 0);
    if (tape) {
        const QRect row =
            visualRect(mLibrary->index(mLibrary->selectionIndex(), FilteringArrayController::TitleColumn));
        if (row.intersects(viewport()->rect()))
            point = QPoint(row.left() + 16, row.center().y());
    }
    popUpContextMenu(tape, viewport()->mapToGlobal(point));
}

void TapeBoxView::contextMenuEvent(QContextMenuEvent* event)
{
    if (event->reason() == QContextMenuEvent::Keyboard) {
        popUpContextMenuAtSelection();
        return;
    }
    const QPoint point = viewport()->mapFrom(this, event->pos());
    popUpContextMenu(tapeAt(point), event->globalPos());
}

void TapeBoxView::keyPressEvent(QKeyEvent* event)
{
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    if (event->key() == Qt::Key_Delete && modifiers == Qt::NoModifier) {
        if (const TapePtr tape = selectedTape())
            Q_EMIT menuActionTriggered(MoveTapeToTrash, tape);
        return;
    }
    if ((event->key() == Qt::Key_F10 && modifiers == Qt::ShiftModifier) ||
        (event->key() == Qt::Key_Menu && modifiers == Qt::NoModifier)) {
        popUpContextMenuAtSelection();
        return;
    }
    QTableView::keyPressEvent(event);
}

} // namespace spindrel
