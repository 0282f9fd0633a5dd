#include "DeckTest.h"
#include "MP4Tags/MP4Tags.h"
#include "PrivateSessionBus.h"
#include "deck/DeckWindow.h"
#include "deck/MprisService.h"
#include "deck/TapeBoxViewController.h"
#include "tapes/TapeLetterTag.h"
#include "tapes/TapeLibraryArrayController.h"
#include "tapes/TapeTestFiles.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QPushButton>
#include <iostream>

using namespace spindrel;
using namespace spindrel::test;

namespace {

using LibraryFolderTest = DeckTest;

QFileDialog* openFolderDialog()
{
    auto* dialog = topLevelWidget<QFileDialog>(QStringLiteral("LibraryFolderDialog"));
    return dialog && dialog->isVisible() ? dialog : nullptr;
}

TEST_F(LibraryFolderTest, AFolderThatGoesAwayIsNamedInABannerAndItsTapesReturnWithIt)
{
    addTape(QStringLiteral("Kept"), QDateTime(QDate(2014, 5, 1), QTime(9, 0)));
    WindowController& deck = openDeck();
    ASSERT_TRUE(
        waitFor([&] { return deck.libraryFolderWatch().state() == LibraryFolderWatch::State::Available; }));
    ASSERT_EQ(deck.library().content().size(), 1);
    EXPECT_TRUE(deck.deckMessage().isEmpty());

    // The folder is moved away while the deck runs, as an unplugged disk or a file manager would.
    const QString away = mLibraryPath + QStringLiteral(" away");
    QElapsedTimer sinceFault;
    sinceFault.start();
    ASSERT_TRUE(QDir().rename(mLibraryPath, away));
    ASSERT_TRUE(waitFor([&] { return !deck.deckMessage().isEmpty(); }, 20000));
    std::cout << "[ measure  ] library folder moved away to its banner: " << sinceFault.elapsed() << " ms"
              << std::endl;
    EXPECT_TRUE(deck.deckMessage().contains(mLibraryPath)) << deck.deckMessage();
    ASSERT_NE(deck.window()->messageAction(), nullptr);
    EXPECT_EQ(deck.window()->messageAction()->text(), QStringLiteral("Choose Folder…"));
    EXPECT_TRUE(waitFor([&] { return deck.library().content().isEmpty(); }));
    EXPECT_EQ(deck.selectedTape(), nullptr);

    // It comes back: the banner goes and the tape is listed again, with nothing done by the user.
    ASSERT_TRUE(QDir().rename(away, mLibraryPath));
    ASSERT_TRUE(waitFor([&] { return deck.deckMessage().isEmpty(); }, 20000));
    ASSERT_TRUE(waitFor([&] { return deck.library().content().size() == 1; }));
    EXPECT_EQ(deck.library().content().first()->title(), QStringLiteral("Kept"));
}

TEST_F(LibraryFolderTest, TwoThousandFilesOfOtherProgramsAreReadAndLetteredWhileTheDeckAnswers)
{
    constexpr int kFiles = 2000;
    for (int i = 0; i < kFiles; ++i)
        ASSERT_TRUE(makeTapeFile(mLibraryPath + QStringLiteral("/other %1.m4a").arg(i)));
    PrivateSessionBus bus;
    ASSERT_TRUE(bus.isRunning());

    QElapsedTimer sinceLaunch;
    sinceLaunch.start();
    mDeck = std::make_unique<WindowController>(*mPreferences);
    mDeck->showWindow();
    mDeck->applicationDidFinishLaunching();
    MprisService service(*mDeck);
    ASSERT_TRUE(service.registerOnBus(bus.connect(QStringLiteral("deck"))));

    // Another process asks over the bus: it hears back only if the deck's event loop turns.
    QProcess query;
    query.start(
        QStringLiteral("dbus-send"),
        {QStringLiteral("--bus=") + bus.address(), QStringLiteral("--print-reply"),
         QStringLiteral("--dest=org.mpris.MediaPlayer2.spindrel"), QStringLiteral("/org/mpris/MediaPlayer2"),
         QStringLiteral("org.freedesktop.DBus.Properties.Get"),
         QStringLiteral("string:org.mpris.MediaPlayer2.Player"), QStringLiteral("string:PlaybackStatus")});
    ASSERT_TRUE(waitFor([&] { return query.state() == QProcess::NotRunning; }, 60000));
    std::cout << "[ measure  ] launch to an answer over the bus with " << kFiles
              << " letter-less files: " << sinceLaunch.elapsed() << " ms" << std::endl;
    EXPECT_EQ(query.exitCode(), 0) << query.readAllStandardError().toStdString();
    EXPECT_TRUE(query.readAllStandardOutput().contains("Stopped"));
    const int writtenWhenAnswered =
        kFiles - int(std::count_if(mDeck->library().content().begin(), mDeck->library().content().end(),
                                   [](const TapePtr& tape) { return tape->tapeLetterDirty(); }));
    EXPECT_TRUE(mDeck->library().isScanning() || writtenWhenAnswered < kFiles)
        << "the answer did not wait for the files";

    // Every file is read, and the letters are written in the background, counted in the box.
    ASSERT_TRUE(waitFor([&] { return mDeck->library().content().size() == kFiles; }, 120000));
    EXPECT_NE(mDeck->selectedTape(), nullptr);
    ASSERT_TRUE(waitFor([&] {
        return mDeck->tapeBoxViewController()->status().startsWith(QStringLiteral("Saving tapes…"));
    }));
    EXPECT_TRUE(mDeck->tapeBoxViewController()->status().endsWith(QStringLiteral(" of %1").arg(kFiles)))
        << mDeck->tapeBoxViewController()->status().toStdString();
    TapePtr lettered;
    ASSERT_TRUE(waitFor([&] {
        for (const TapePtr& tape : mDeck->library().content()) {
            if (!tape->tapeLetterDirty()) {
                lettered = tape;
                return true;
            }
        }
        return false;
    }));
    const auto tags = MP4Tags::fromFile(lettered->filename());
    ASSERT_TRUE(tags);
    EXPECT_TRUE(readTapeLetter(*tags).has_value());
    EXPECT_FALSE(tags->coverArt().value_or(QByteArray()).isEmpty());

    // The rest need not be waited for here: without their files, the writes left end at once.
    for (const QString& name : QDir(mLibraryPath).entryList(QDir::Files))
        QFile::remove(mLibraryPath + QLatin1Char('/') + name);
}

TEST_F(LibraryFolderTest, AMissingFolderAtLaunchOffersAnotherAndTheDeckListsTheChosenOne)
{
    const QString missing = mFolder.filePath(QStringLiteral("Unplugged disk/Spindrel"));
    mPreferences->setTapeLibraryPath(missing);
    const QString elsewhere = mFolder.filePath(QStringLiteral("Elsewhere"));
    ASSERT_TRUE(QDir().mkpath(elsewhere));
    ASSERT_TRUE(makeTapeFile(elsewhere + QStringLiteral("/There.m4a")));

    WindowController& deck = openDeck();
    ASSERT_TRUE(waitFor([&] { return !deck.deckMessage().isEmpty(); }, 20000));
    EXPECT_TRUE(deck.deckMessage().contains(missing)) << deck.deckMessage();
    EXPECT_TRUE(deck.library().content().isEmpty());

    // Recording into the missing folder fails with the folder's story, not a file name.
    deck.recordTape();
    ASSERT_TRUE(waitFor([&] { return deck.deckMessage().contains(QStringLiteral("not there")); }));
    EXPECT_FALSE(deck.deckMessage().contains(QStringLiteral(".recording"))) << deck.deckMessage();
    ASSERT_TRUE(
        waitFor([&] { return state() != TransportState::Recording && !deck.isWaitingForRecorder(); }));
    ASSERT_TRUE(waitFor([&] { return deck.window()->messageAction() != nullptr; }));

    deck.window()->messageAction()->click();
    QFileDialog* dialog = nullptr;
    ASSERT_TRUE(waitFor([&] { return (dialog = openFolderDialog()) != nullptr; }));
    dialog->setDirectory(mFolder.path());
    dialog->selectFile(elsewhere);
    QMetaObject::invokeMethod(dialog, "accept");

    ASSERT_TRUE(waitFor([&] { return deck.library().content().size() == 1; }, 20000));
    EXPECT_EQ(deck.library().content().first()->filename(), elsewhere + QStringLiteral("/There.m4a"));
    EXPECT_EQ(mPreferences->tapeLibraryPath(), elsewhere);
    ASSERT_TRUE(waitFor([&] { return deck.deckMessage().isEmpty(); }));
}

} // namespace
