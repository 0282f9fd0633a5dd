#include "deck/DeckPreferences.h"
#include "deck/DeckWindow.h"
#include "deck/TapeBoxViewController.h"
#include "deck/WindowController.h"
#include "hud/DrawerButton.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QGuiApplication>
#include <QScreen>

namespace spindrel {

QString WindowController::frameAutosaveKey()
{
    return QStringLiteral("NSWindow Frame SpindrelWindow");
}

QString WindowController::maximizedAutosaveKey()
{
    return QStringLiteral("SpindrelWindowMaximized");
}

QString WindowController::tapesDisclosedAutosaveKey()
{
    return QStringLiteral("SpindrelWindowTapesDisclosed");
}

QString WindowController::lastTapeAutosaveKey()
{
    return QStringLiteral("LastLoadedTape");
}

void WindowController::restoreWindowFrame()
{
    if (mPreferences.defaultsValue(tapesDisclosedAutosaveKey()).toBool()) {
        mTapesDisclosed = true;
        Q_EMIT tapesDisclosedChanged(true);
        mWindow->drawerButton()->setDisclosed(true);
        mWindow->setDrawerOpen(true);
    }
    const int width = mTapesDisclosed ? openWidth : closedWidth;
    mWindow->resize(width, mWindow->sizeHint().height());

    // The frame's place and the window's size; earlier versions kept only the place.
    const QVariant saved = mPreferences.defaultsValue(frameAutosaveKey());
    QRect frame;
    if (saved.typeId() == QMetaType::QRect)
        frame = saved.toRect();
    else if (saved.typeId() == QMetaType::QPoint)
        frame = QRect(saved.toPoint(), mWindow->size());
    if (frame.isValid())
        frame.setWidth(std::max(frame.width(), width));

    // A place on no screen (one unplugged since) is given up for the middle of the primary screen.
    QScreen* screen = frame.isValid() ? QGuiApplication::screenAt(frame.center()) : nullptr;
    if (screen) {
        mWindow->move(frame.topLeft());
        mWindow->resize(frame.size());
    } else {
        screen = mWindow->screen() ? mWindow->screen() : QGuiApplication::primaryScreen();
        if (frame.isValid())
            mWindow->resize(frame.size());
        if (screen) {
            QRect centred = mWindow->frameGeometry();
            centred.moveCenter(screen->availableGeometry().center());
            mWindow->move(centred.topLeft());
        }
    }
    if (screen)
        mWindow->fitInto(screen->availableGeometry());
    if (mPreferences.defaultsValue(maximizedAutosaveKey()).toBool())
        mWindow->setWindowState(mWindow->windowState() | Qt::WindowMaximized);
}

void WindowController::saveWindowFrame()
{
    const bool maximized = mWindow->isMaximized() || mWindow->isFullScreen();
    // A maximised window keeps the place and size it comes back to.
    const QRect client = maximized ? mWindow->normalGeometry() : mWindow->geometry();
    const QPoint frameOffset = mWindow->geometry().topLeft() - mWindow->pos();
    mPreferences.setDefaultsValue(frameAutosaveKey(), QRect(client.topLeft() - frameOffset, client.size()));
    mPreferences.setDefaultsValue(maximizedAutosaveKey(), maximized);
    mPreferences.setDefaultsValue(tapesDisclosedAutosaveKey(), mTapesDisclosed);
    const QString loaded = mSelectedTape ? mSelectedTape->filename() : QString();
    mPreferences.setDefaultsValue(lastTapeAutosaveKey(), loaded);
}

bool WindowController::selectTapeWithFilename(const QString& filename)
{
    const QList<TapePtr>& tapes = mTapeArrayController->arrangedObjects();
    for (int row = 0; row < tapes.size(); ++row) {
        if (tapes[row]->filename() == filename) {
            mTapeBox->selectRow(row);
            return true;
        }
    }
    return false;
}

void WindowController::restoreLastTape()
{
    const QString filename = mPreferences.defaultsValue(lastTapeAutosaveKey()).toString();
    if (filename.isEmpty() || selectTapeWithFilename(filename))
        return;
    // A library still filling lists it later; a tape chosen before that (by the user) wins.
    const TapePtr chosenByDeck = mSelectedTape;
    const auto giveUp = [this] {
        for (const QMetaObject::Connection& watch : std::as_const(mLastTapeWatches))
            disconnect(watch);
        mLastTapeWatches.clear();
    };
    const auto retry = [this, filename, giveUp] {
        if (selectTapeWithFilename(filename))
            giveUp();
    };
    mLastTapeWatches = {
        connect(this, &WindowController::selectedTapeChanged, this,
                [this, chosenByDeck, giveUp] {
                    // What the library picks as it fills is no choice of the user's.
                    if (mSelectedTape != chosenByDeck && !mTapeArrayController->isApplyingScan())
                        giveUp();
                }),
        // The list is arranged afresh (a reset) as tapes come, or rows are inserted; the choice
        // waits until the library has finished its turn.
        connect(mTapeArrayController.get(), &QAbstractItemModel::modelReset, this, retry,
                Qt::QueuedConnection),
        connect(mTapeArrayController.get(), &QAbstractItemModel::rowsInserted, this, retry,
                Qt::QueuedConnection),
    };
}

} // namespace spindrel
