#pragma once

#include <QList>
#include <QObject>
#include <functional>

class QAction;

namespace spindrel {

class WindowController;

/// The deck's commands as actions, for the menu bar and its keys. The ones that work on the
/// selected tape are enabled only while the deck allows them, following its signals, so a
/// shortcut can never do what the menu would refuse.
class DeckActions : public QObject
{
    Q_OBJECT

public:
    explicit DeckActions(WindowController& deck);

    QAction* importTapes() const { return mImportTapes; }
    QAction* exportTape() const { return mExportTape; }
    QAction* showInFolder() const { return mShowInFolder; }
    QAction* moveTapeToTrash() const { return mMoveTapeToTrash; }
    QAction* emailTape() const { return mEmailTape; }
    QAction* addToMusicLibrary() const { return mAddToMusicLibrary; }
    QAction* openLibraryFolder() const { return mOpenLibraryFolder; }
    /// "Show Tapes" or "Hide Tapes", as the drawer is.
    QAction* showTapes() const { return mShowTapes; }
    QAction* editTitle() const { return mEditTitle; }
    QAction* editNotes() const { return mEditNotes; }
    QAction* find() const { return mFind; }
    /// Record, Play, Stop, Pause, Fast Forward and Rewind, then Previous Tape and Next Tape.
    const QList<QAction*>& transport() const { return mTransport; }
    /// The actions that work on the selected tape.
    QList<QAction*> tapeActions() const;

private:
    QAction* add(const QString& text, void (WindowController::*operation)());
    /// `operation` works on the selected tape: it passes no sender.
    QAction* addForTape(const QString& text, std::function<void()> operation);
    void updateTapeActions();
    void updateShowTapes();

    WindowController& mDeck;
    QAction* mImportTapes = nullptr;
    QAction* mExportTape = nullptr;
    QAction* mShowInFolder = nullptr;
    QAction* mMoveTapeToTrash = nullptr;
    QAction* mEmailTape = nullptr;
    QAction* mAddToMusicLibrary = nullptr;
    QAction* mOpenLibraryFolder = nullptr;
    QAction* mShowTapes = nullptr;
    QAction* mEditTitle = nullptr;
    QAction* mEditNotes = nullptr;
    QAction* mFind = nullptr;
    QList<QAction*> mTransport;
};

} // namespace spindrel
