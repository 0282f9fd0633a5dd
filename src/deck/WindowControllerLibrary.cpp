#include "deck/DeckPreferences.h"
#include "deck/DeckWindow.h"
#include "deck/FileBrowser.h"
#include "deck/SoundEffectPlayer.h"
#include "deck/TapeBoxViewController.h"
#include "deck/WindowController.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QAction>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPropertyAnimation>
#include <QStandardPaths>

namespace spindrel {

namespace {
const QString kMPEG4AudioFilter = QStringLiteral("MPEG-4 audio (*.m4a *.m4b *.mp4)");
constexpr int kDrawerAnimationMs = 1000;
} // namespace

void WindowController::buildTapeBox()
{
    mTapeBox = new TapeBoxViewController(*mTapeArrayController);
    mWindow->setDrawer(mTapeBox);
    connect(mTapeBox, &TapeBoxViewController::searchRequested, this, &WindowController::search);
    connect(mTapeBox, &TapeBoxViewController::contextMenuRequested, this,
            &WindowController::showTapeContextMenu);
}

void WindowController::discloseTapes()
{
    const QRect start = mWindow->geometry();
    QRect end = start;
    // Widths are in device-independent pixels, so the window's scale is already applied.
    end.setWidth(openWidth);
    if (mTapesDisclosed) {
        end.setWidth(openWidth - TapeBoxViewController::drawerWidth);
        mTapesDisclosed = false;
    } else {
        mTapesDisclosed = true;
    }
    playSoundEffect(mTapesDisclosed ? 4 : 5);

    QPropertyAnimation animation(mWindow, "geometry");
    animation.setDuration(kDrawerAnimationMs);
    animation.setStartValue(start);
    animation.setEndValue(end);
    QEventLoop blocking;
    connect(&animation, &QPropertyAnimation::finished, &blocking, &QEventLoop::quit);
    animation.start();
    blocking.exec(QEventLoop::ExcludeUserInputEvents);
    mWindow->setGeometry(end);
}

void WindowController::search()
{
    mTapeArrayController->setFilterString(mTapeBox->searchField()->text());
    mTapeArrayController->rearrangeObjects();
    mTapeBox->selectRow(0);
}

void WindowController::performFindPanelAction()
{
    if (!mTapesDisclosed)
        discloseTapes();
    mTapeBox->searchField()->setFocus(Qt::ShortcutFocusReason);
}

void WindowController::libraryImportRequested(const QList<QUrl>& urls)
{
    importTapesIntoLibrary(urls);
}

void WindowController::importTapes()
{
    const QList<QUrl> urls =
        QFileDialog::getOpenFileUrls(mWindow, tr("Import Tapes"), QUrl(), kMPEG4AudioFilter);
    if (!urls.isEmpty())
        importTapesIntoLibrary(urls);
}

void WindowController::importTapesIntoLibrary(const QList<QUrl>& urls)
{
    const QList<Error> errors = mTapeArrayController->importTapesIntoLibrary(urls);
    for (const Error& error : errors)
        presentError(error.localizedDescription());
    // The folder watch picks the copies up; without one running, merge now.
    if (!mTapeArrayController->isMonitoring())
        mTapeArrayController->checkRecordingDirectory();
}

void WindowController::exportTape(QObject* sender)
{
    const TapePtr tape = tapeToOperateOn(sender);
    if (!tape)
        return;
    auto* panel = new QFileDialog(mWindow, tr("Export Tape"), QFileInfo(tape->filename()).fileName(),
                                  kMPEG4AudioFilter);
    panel->setAcceptMode(QFileDialog::AcceptSave);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    connect(panel, &QFileDialog::fileSelected, this,
            [this, tape](const QString& destination) { exportTapeToFile(tape, destination); });
    panel->open();
}

bool WindowController::exportTapeToFile(const TapePtr& tape, const QString& destination)
{
    QFile file(tape->filename());
    if (QFileInfo::exists(destination) && QFileInfo(destination) != QFileInfo(tape->filename()))
        QFile::remove(destination); // the save panel asked before replacing
    if (file.copy(destination))
        return true;
    presentError(tr("“%1” couldn’t be exported to “%2”: %3")
                     .arg(QFileInfo(tape->filename()).fileName(), destination, file.errorString()));
    return false;
}

void WindowController::revealInFinder(QObject* sender)
{
    if (const TapePtr tape = tapeToOperateOn(sender))
        FileBrowser::revealFile(tape->filename());
}

void WindowController::revealLibraryInFinder()
{
    FileBrowser::revealFile(mPreferences.tapeLibraryPath());
}

void WindowController::moveTapeToTrash(QObject* sender)
{
    const TapePtr tape = tapeToOperateOn(sender);
    if (!tape)
        return;
    playSoundEffect(8);
    // Without the user's data folder Qt looks for a trash beside the file and may make one in
    // the working folder; the home trash must be there to be found.
    QDir().mkpath(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
    mTapeArrayController->moveTapeToTrash(tape);
}

TapePtr WindowController::tapeForRawPointer(const Tape* tape) const
{
    if (!tape)
        return nullptr;
    for (const TapePtr& candidate : mTapeArrayController->content()) {
        if (candidate.get() == tape)
            return candidate;
    }
    return tape == mSelectedTape.get() ? mSelectedTape : nullptr;
}

TapePtr WindowController::tapeToOperateOn(QObject* sender) const
{
    if (const auto* tape = qobject_cast<const Tape*>(sender))
        return tapeForRawPointer(tape);
    if (const auto* action = qobject_cast<const QAction*>(sender)) {
        if (auto* tape = action->data().value<Tape*>())
            return tapeForRawPointer(tape);
    }
    return mSelectedTape;
}

bool WindowController::validateAction(const QString& action) const
{
    if (action == QLatin1String("revealInFinder") || action == QLatin1String("moveTapeToTrash") ||
        action == QLatin1String("exportTape")) {
        const bool recording = mAudioFileRecorder && mAudioFileRecorder->isFileRecording();
        return mSelectedTape && !mSelectedTape->filename().isEmpty() && !recording;
    }
    return true;
}

void WindowController::showTapeContextMenu(const TapePtr& tape, const QPoint& globalPosition)
{
    auto* menu = new QMenu(mWindow);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (!tape) {
        menu->addAction(tr("Reveal Library in Finder"), this, &WindowController::revealLibraryInFinder);
    } else {
        auto add = [&](const QString& title, const QString& action,
                       void (WindowController::*slot)(QObject*)) {
            QAction* item = menu->addAction(title);
            item->setData(QVariant::fromValue(tape.get()));
            item->setEnabled(validateAction(action));
            connect(item, &QAction::triggered, this, [this, item, slot] { (this->*slot)(item); });
        };
        add(tr("Reveal Tape in Finder"), QStringLiteral("revealInFinder"), &WindowController::revealInFinder);
        add(tr("Move Tape to Trash"), QStringLiteral("moveTapeToTrash"), &WindowController::moveTapeToTrash);
        // Mail, the music library and the video service are not connected yet.
        for (const QString& later : {tr("Email Tape…"), tr("Copy Tape to iTunes"), tr("Send to YouTube…")})
            menu->addAction(later)->setEnabled(false);
    }
    menu->popup(globalPosition);
}

void WindowController::presentError(const QString& message)
{
    auto* alert = new QMessageBox(QMessageBox::Warning, tr("Spindrel"), message, QMessageBox::Ok, mWindow);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setObjectName(QStringLiteral("SpindrelErrorAlert"));
    alert->open();
}

} // namespace spindrel
