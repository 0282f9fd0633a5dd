#pragma once

#include "tapes/Tape.h"

#include <QMetaType>
#include <QTableView>
#include <memory>

class QMenu;

Q_DECLARE_METATYPE(spindrel::TapePtr)

namespace spindrel {

class FilteringArrayController;

/// The tape box: the library's tapes, newest first, one row per tape drawn like the spine of a
/// cassette case. Its selection is the library's selection model. It offers a context menu for the
/// clicked tape (Shift+F10 or the Menu key: the selected one); the deck carries out the menu's
/// actions. Delete moves the selected tape to the trash, as the menu does.
class TapeBoxView : public QTableView
{
    Q_OBJECT

public:
    enum MenuAction {
        OpenLibraryFolder,
        ShowTapeInFolder,
        MoveTapeToTrash,
        EmailTape,
        AddTapeToMusicLibrary,
        SendToYouTube,
    };
    Q_ENUM(MenuAction)

    static constexpr int rowHeight = 38;

    explicit TapeBoxView(QWidget* parent = nullptr);

    /// Shows the library's arranged tapes and selects through the library's selection model.
    void setLibrary(FilteringArrayController* library);

    /// While a recording runs the tape being recorded is marked and clicks do not change the
    /// selection.
    bool isRecording() const { return mRecording; }
    void setRecording(bool recording);

    /// The menu's text for an action ("Show in Folder", ...).
    static QString menuText(MenuAction action);
    /// The context menu for a click on `tape`, or on no tape when it is null. Choosing an item
    /// emits menuActionTriggered with that tape.
    std::unique_ptr<QMenu> contextMenuForTape(const TapePtr& tape);
    /// The tape in the row under a point of the viewport, or null.
    TapePtr tapeAt(const QPoint& viewportPoint) const;
    /// The tape in the selected row, or null.
    TapePtr selectedTape() const;

    /// Selects a row and scrolls it into view (the library's selection follows).
    void selectRow(int row);

Q_SIGNALS:
    void menuActionTriggered(spindrel::TapeBoxView::MenuAction action, const spindrel::TapePtr& tape);

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    /// Opens the menu without waiting for it; it deletes itself once closed.
    void popUpContextMenu(const TapePtr& tape, const QPoint& globalPos);
    void popUpContextMenuAtSelection();
    void hideAllButTitle();

    FilteringArrayController* mLibrary = nullptr;
    bool mRecording = false;
};

} // namespace spindrel
