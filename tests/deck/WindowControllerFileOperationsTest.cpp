#include "DeckTest.h"
#include "deck/DeckWindow.h"
#include "deck/SoundEffectPlayer.h"
#include "deck/TapeBoxViewController.h"
#include "foundation/Log.h"
#include "hud/MenuMnemonics.h"
#include "hud/TapeBoxView.h"
#include "tapes/MusicLibraryPlaylist.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QAbstractButton>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMenu>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

namespace spindrel::test {

namespace {

// Records what would be run instead of running it.
class RecordingLauncher : public ProcessLauncher
{
public:
    QString findProgram(const QString& program) const override
    {
        return installed ? QStringLiteral("/usr/bin/") + program : QString();
    }
    void start(const QString& program, const QStringList& arguments, Finished finished) override
    {
        runs.append(QStringList{program} + arguments);
        finished(std::nullopt);
    }

    bool installed = true;
    QList<QStringList> runs;
};

class FileOperationsTest : public DeckTest
{
protected:
    WindowController& openDeckWithFakes()
    {
        WindowController& deck = openDeck();
        deck.setProcessLauncher(mLauncher);
        deck.setMusicPlaylistPath(mPlaylistPath);
        deck.setFileBrowser(FileBrowser(
            [this](const QStringList& uris, QString* why) {
                mShownItems.append(uris);
                *why = QStringLiteral("no file manager on this bus");
                return mFileManagerAnswers;
            },
            [this](const QUrl& folder) {
                mOpenedFolders.append(folder);
                return mDesktopOpens;
            }));
        return deck;
    }

    void chooseFromContextMenu(WindowController& deck, const TapePtr& tape, TapeBoxView::MenuAction action)
    {
        TapeBoxView* box = deck.tapeBoxViewController()->tableView();
        const std::unique_ptr<QMenu> menu = box->contextMenuForTape(tape);
        for (QAction* item : menu->actions()) {
            if (MenuMnemonics::withoutMnemonic(item->text()) == TapeBoxView::menuText(action)) {
                item->trigger();
                return;
            }
        }
        ADD_FAILURE() << "no menu item " << TapeBoxView::menuText(action).toStdString();
    }

    RecordingLauncher mLauncher;
    QString mPlaylistPath = mFolder.filePath(QStringLiteral("Music/Playlists/Spindrel.m3u8"));
    QList<QStringList> mShownItems;
    QList<QUrl> mOpenedFolders;
    bool mFileManagerAnswers = true;
    bool mDesktopOpens = true;
};

TEST_F(FileOperationsTest, ContextMenuItemsWorkOnTheClickedTapeAndTheMainMenuOnTheLoadedOne)
{
    const QString older = addTape(QStringLiteral("Older"), QDateTime(QDate(2012, 3, 1), QTime(10, 0)), 3.0);
    const QString newer = addTape(QStringLiteral("Newer"), QDateTime(QDate(2012, 3, 2), QTime(10, 0)));
    WindowController& deck = openDeckWithFakes();
    ASSERT_EQ(deck.selectedTape()->filename(), newer);
    const TapePtr clicked = deck.library().arrangedObjects().at(1);
    ASSERT_EQ(clicked->filename(), older);

    chooseFromContextMenu(deck, clicked, TapeBoxView::ShowTapeInFolder);
    EXPECT_EQ(mShownItems, QList<QStringList>{{QUrl::fromLocalFile(older).toString(QUrl::FullyEncoded)}});

    chooseFromContextMenu(deck, clicked, TapeBoxView::EmailTape);
    ASSERT_EQ(mLauncher.runs.size(), 1);
    const QStringList mail = mLauncher.runs.first();
    EXPECT_EQ(mail.first(), QStringLiteral("/usr/bin/xdg-email"));
    EXPECT_EQ(mail.at(mail.indexOf(QStringLiteral("--attach")) + 1), older);

    // The duration is the tape's, in whole seconds.
    chooseFromContextMenu(deck, clicked, TapeBoxView::AddTapeToMusicLibrary);
    EXPECT_EQ(MusicLibraryPlaylist(mPlaylistPath).entries(), QStringList{older});
    QFile playlist(mPlaylistPath);
    ASSERT_TRUE(playlist.open(QIODevice::ReadOnly));
    EXPECT_TRUE(playlist.readAll().contains("#EXTINF:3,Older\n"));

    // Without a sender (the main menu) the loaded tape is the one.
    deck.sendToMusicLibrary();
    EXPECT_EQ(MusicLibraryPlaylist(mPlaylistPath).entries(), (QStringList{older, newer}));
    deck.showInFolder();
    EXPECT_EQ(mShownItems.last(), QStringList{QUrl::fromLocalFile(newer).toString(QUrl::FullyEncoded)});
    EXPECT_TRUE(deck.deckMessage().isEmpty()) << deck.deckMessage();
}

TEST_F(FileOperationsTest, RevealFallsBackToTheFolderAndTheDeckSaysWhenNothingCanShowOrMailIt)
{
    const QString tape = addTape(QStringLiteral("Kept"), QDateTime(QDate(2012, 3, 1), QTime(10, 0)));
    WindowController& deck = openDeckWithFakes();

    deck.openLibraryFolder();
    EXPECT_EQ(mShownItems,
              QList<QStringList>{{QUrl::fromLocalFile(mLibraryPath).toString(QUrl::FullyEncoded)}});

    mFileManagerAnswers = false;
    deck.showInFolder();
    EXPECT_EQ(mOpenedFolders, QList<QUrl>{QUrl::fromLocalFile(mLibraryPath)});
    EXPECT_TRUE(deck.deckMessage().isEmpty());

    mDesktopOpens = false;
    deck.showInFolder();
    EXPECT_TRUE(deck.deckMessage().contains(
        QStringLiteral("No file manager could show “%1”").arg(QFileInfo(tape).fileName())))
        << deck.deckMessage();
    EXPECT_TRUE(QFileInfo::exists(tape));

    mLauncher.installed = false;
    deck.emailTape();
    EXPECT_TRUE(deck.deckMessage().contains(QStringLiteral("No mail program"))) << deck.deckMessage();
    EXPECT_TRUE(mLauncher.runs.isEmpty());
}

TEST_F(FileOperationsTest, ExportAsksBeforeReplacingAnExistingFile)
{
    const QString tape = addTape(QStringLiteral("Kept"), QDateTime(QDate(2012, 3, 1), QTime(10, 0)));
    WindowController& deck = openDeckWithFakes();
    const QString destination = mFolder.filePath(QStringLiteral("elsewhere.m4a"));
    QFile existing(destination);
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    existing.write("someone else's file");
    existing.close();
    auto contents = [&] {
        QFile file(destination);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };

    // Without consent nothing is replaced, and the deck says why once the copy ends.
    const auto copied = [&] { return waitFor([&] { return deck.copies().isIdle(); }, 60000); };
    deck.exportTapeToFile(deck.selectedTape(), destination);
    ASSERT_TRUE(copied());
    EXPECT_EQ(contents(), QByteArray("someone else's file"));
    EXPECT_TRUE(deck.deckMessage().contains(QStringLiteral("already there"))) << deck.deckMessage();

    auto answer = [&](bool replace) {
        deck.exportTapeToChosenFile(deck.selectedTape(), destination);
        auto* question = deck.window()->findChild<QMessageBox*>(QStringLiteral("SpindrelReplaceQuestion"));
        ASSERT_NE(question, nullptr);
        EXPECT_EQ(contents(), QByteArray("someone else's file")); // nothing happens while it asks
        for (QAbstractButton* button : question->buttons()) {
            if ((question->buttonRole(button) == QMessageBox::DestructiveRole) == replace) {
                button->click();
                break;
            }
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    };
    answer(false);
    EXPECT_TRUE(deck.copies().isIdle());
    EXPECT_EQ(contents(), QByteArray("someone else's file"));
    answer(true);
    ASSERT_TRUE(copied());
    QFile original(tape);
    ASSERT_TRUE(original.open(QIODevice::ReadOnly));
    EXPECT_EQ(contents(), original.readAll());

    // A file that does not exist yet is written without a question.
    const QString fresh = mFolder.filePath(QStringLiteral("fresh.m4a"));
    deck.exportTapeToChosenFile(deck.selectedTape(), fresh);
    ASSERT_TRUE(copied());
    EXPECT_EQ(QFileInfo(fresh).size(), QFileInfo(tape).size());
}

TEST_F(FileOperationsTest, LargeImportsLeaveTheDeckRunningShowNoPartialFileAndFinishBeforeQuitting)
{
    WindowController& deck = openDeckWithFakes();
    QTemporaryDir elsewhere;
    constexpr qint64 size = 200 * 1024 * 1024;
    const auto bigFile = [&](const QString& name) {
        QFile file(elsewhere.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(size)); // sparse: quick to make and read
        return QUrl::fromLocalFile(file.fileName());
    };
    const QString first = mLibraryPath + QStringLiteral("/First.m4a");
    const QString second = mLibraryPath + QStringLiteral("/Second.m4a");
    const auto temporaries = [&] {
        return QDir(mLibraryPath)
            .entryList({QStringLiteral(".*.spindrel-copy-*")}, QDir::Files | QDir::Hidden);
    };

    // The deck's event loop keeps turning while a copy runs, and never finds part of the file.
    int ticksWhileCopying = 0;
    bool partSeen = false;
    QTimer timer;
    timer.setInterval(20);
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (!QFileInfo::exists(first))
            ++ticksWhileCopying;
        for (const QString& path : {first, second})
            partSeen = partSeen || (QFileInfo::exists(path) && QFileInfo(path).size() != size);
    });
    timer.start();
    deck.importTapesIntoLibrary({bigFile(QStringLiteral("First.m4a"))});
    EXPECT_EQ(deck.tapeBoxViewController()->status(), QStringLiteral("Importing tapes… 1 of 1"));
    ASSERT_TRUE(waitFor([&] { return deck.copies().isIdle(); }, 180000));
    EXPECT_GE(ticksWhileCopying, 1);
    EXPECT_EQ(QFileInfo(first).size(), size);
    const auto listed = [&](const QString& path) {
        for (const TapePtr& tape : deck.library().content()) {
            if (tape->filename() == path)
                return true;
        }
        return false;
    };
    EXPECT_TRUE(waitFor([&] { return listed(first); }, 60000)) << "the watch lists it";

    // Closing during a copy waits for it: the deck is done once the file is whole.
    deck.importTapesIntoLibrary({bigFile(QStringLiteral("Second.m4a"))});
    QSignalSpy closed(&deck, &WindowController::windowDidClose);
    closeDeck();
    ASSERT_TRUE(closed.count() == 1 || closed.wait(180000));
    timer.stop();
    EXPECT_FALSE(partSeen);
    EXPECT_EQ(QFileInfo(second).size(), size);
    EXPECT_EQ(temporaries(), QStringList());
}

TEST_F(FileOperationsTest, TheQuitDialogStopsTheCopiesAndLeavesEachFileWholeOrAbsent)
{
    WindowController& deck = openDeckWithFakes();
    QTemporaryDir elsewhere;
    constexpr qint64 size = 200 * 1024 * 1024;
    const QStringList names{QStringLiteral("One.m4a"), QStringLiteral("Two.m4a"),
                            QStringLiteral("Three.m4a")};
    QList<QUrl> urls;
    for (const QString& name : names) {
        QFile file(elsewhere.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(size)); // sparse
        urls.append(QUrl::fromLocalFile(file.fileName()));
    }
    QStringList logged;
    const LogSink previousSink = setLogSink([&](const QString& line) { logged << line; });
    deck.importTapesIntoLibrary(urls);
    QSignalSpy closed(&deck, &WindowController::windowDidClose);
    closeDeck();

    // 400 MB cannot be copied before the dialog answers: the third copy has not begun.
    auto* dialog = topLevelWidget<QProgressDialog>(QStringLiteral("SavingTapesDialog"));
    ASSERT_NE(dialog, nullptr);
    auto* stop = dialog->findChild<QPushButton*>();
    ASSERT_NE(stop, nullptr);
    EXPECT_EQ(stop->text(), QStringLiteral("Stop Copying"));
    stop->click();
    ASSERT_TRUE(closed.count() == 1 || closed.wait(180000));
    setLogSink(previousSink);

    EXPECT_FALSE(QFileInfo::exists(mLibraryPath + QStringLiteral("/Three.m4a")));
    for (const QString& name : names) {
        const QFileInfo copy(mLibraryPath + QLatin1Char('/') + name);
        EXPECT_TRUE(!copy.exists() || copy.size() == size) << name.toStdString();
    }
    EXPECT_EQ(
        QDir(mLibraryPath).entryList(QDir::Files | QDir::Hidden).filter(QStringLiteral("spindrel-copy")),
        QStringList());
    EXPECT_TRUE(logged.join(u'\n').contains(QStringLiteral("the import was cancelled")))
        << logged.join(u'\n').toStdString();
}

TEST_F(FileOperationsTest, ATapeWhoseFileVanishedGivesAMessageAndLosesNothingElse)
{
    const QString older = addTape(QStringLiteral("Older"), QDateTime(QDate(2012, 3, 1), QTime(10, 0)));
    addTape(QStringLiteral("Newer"), QDateTime(QDate(2012, 3, 2), QTime(10, 0)));
    WindowController& deck = openDeckWithFakes();
    deck.library().pauseMonitoringRecordingDirectory(); // the watch would drop it before we could ask
    const TapePtr clicked = deck.library().arrangedObjects().at(1);
    ASSERT_TRUE(QFile::remove(older));

    for (const auto action :
         {TapeBoxView::ShowTapeInFolder, TapeBoxView::EmailTape, TapeBoxView::AddTapeToMusicLibrary}) {
        deck.showDeckMessage(QString());
        chooseFromContextMenu(deck, clicked, action);
        EXPECT_TRUE(deck.deckMessage().contains(QFileInfo(older).fileName())) << int(action);
        EXPECT_TRUE(deck.deckMessage().contains(QStringLiteral("no longer exists"))) << deck.deckMessage();
    }
    EXPECT_TRUE(mShownItems.isEmpty());
    EXPECT_TRUE(mLauncher.runs.isEmpty());
    EXPECT_FALSE(QFileInfo::exists(mPlaylistPath));

    chooseFromContextMenu(deck, clicked, TapeBoxView::MoveTapeToTrash);
    EXPECT_EQ(deck.library().content().size(), 1);
    EXPECT_TRUE(deck.deckMessage().contains(QStringLiteral("no longer exists")));
    EXPECT_EQ(deck.soundEffect(SoundEffect::TossTape2)->startCount(), 1);
}

} // namespace

} // namespace spindrel::test
