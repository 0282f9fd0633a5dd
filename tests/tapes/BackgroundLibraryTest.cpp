#include "MP4Tags/MP4Tags.h"
#include "TapeTestFiles.h"
#include "tapes/TapeCommitQueue.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <unistd.h>

using namespace spindrel;
using namespace spindrel::test;

namespace {

using Loading = TapeLibraryArrayController::Loading;

class BackgroundLibraryTest : public ::testing::Test
{
protected:
    QString path(const QString& name) const { return mDir.filePath(name); }

    /// `count` tag-less files, as another program would leave them.
    void addFiles(const QString& folder, int count)
    {
        QDir().mkpath(folder);
        for (int i = 0; i < count; ++i)
            ASSERT_TRUE(makeTapeFile(folder + QStringLiteral("/file %1.m4a").arg(i)));
    }

    static bool waitForScan(TapeLibraryArrayController& library)
    {
        return QTest::qWaitFor([&] { return !library.isScanning(); }, 60000);
    }

    QTemporaryDir mDir;
};

} // namespace

TEST_F(BackgroundLibraryTest, AScanFillsTheListInBatchesAndEndsOnTheNewestTape)
{
    addFiles(mDir.path(), 150);
    {
        Tape dated(path(QStringLiteral("file 77.m4a")));
        dated.setDate(QDateTime(QDate(2020, 1, 1), QTime(8, 0)));
        ASSERT_TRUE(dated.commitAttributes());
    }
    TapeLibraryArrayController library(mDir.path(), Loading::InBackground);
    QSignalSpy batches(&library, &TapeLibraryArrayController::tapesLoaded);
    QSignalSpy progress(&library, &TapeLibraryArrayController::scanProgress);
    // Nothing is read on the caller's thread: the list fills as the event loop turns.
    EXPECT_TRUE(library.content().isEmpty());
    EXPECT_TRUE(library.isScanning());

    ASSERT_TRUE(waitForScan(library));
    EXPECT_EQ(library.content().size(), 150);
    EXPECT_GE(batches.count(), 2) << "150 tapes come in more than one batch";
    ASSERT_FALSE(progress.isEmpty());
    EXPECT_EQ(progress.last(), QVariantList({150, 150}));
    ASSERT_EQ(library.selectedObjects().size(), 1);
    EXPECT_EQ(library.selectedObjects().first()->filename(), path(QStringLiteral("file 77.m4a")));
    // A tag-less file is read, not written: its letter waits for a commit.
    EXPECT_TRUE(library.content().first()->tapeLetterDirty());
}

TEST_F(BackgroundLibraryTest, GoneFilesLeaveNewOnesComeAndAScanAskedForMeanwhileFollows)
{
    addFiles(mDir.path(), 3);
    TapeLibraryArrayController library(mDir.path(), Loading::InBackground);
    ASSERT_TRUE(waitForScan(library));
    ASSERT_EQ(library.content().size(), 3);

    QSignalSpy finished(&library, &TapeLibraryArrayController::scanFinished);
    ASSERT_TRUE(QFile::remove(path(QStringLiteral("file 0.m4a"))));
    library.scanInBackground();
    ASSERT_TRUE(makeTapeFile(path(QStringLiteral("late.m4a"))));
    library.scanInBackground(); // during the first: it runs after it, and sees the late file
    ASSERT_TRUE(QTest::qWaitFor([&] { return finished.count() == 2; }, 60000));
    QStringList names;
    for (const TapePtr& tape : library.content())
        names << QFileInfo(tape->filename()).fileName();
    names.sort();
    EXPECT_EQ(names, QStringList({QStringLiteral("file 1.m4a"), QStringLiteral("file 2.m4a"),
                                  QStringLiteral("late.m4a")}));
}

TEST_F(BackgroundLibraryTest, AnotherFolderDropsWhatTheOldFoldersScanWouldStillBring)
{
    const QString big = path(QStringLiteral("Big"));
    const QString small = path(QStringLiteral("Small"));
    addFiles(big, 300);
    addFiles(small, 2);
    TapeLibraryArrayController library(big, Loading::InBackground);
    QTest::qWait(20); // some of the big folder may have arrived
    library.setFolderPath(small);
    library.scanInBackground();
    ASSERT_TRUE(waitForScan(library));
    QTest::qWait(200); // anything the old scan had on its way would be here now
    ASSERT_EQ(library.content().size(), 2);
    for (const TapePtr& tape : library.content())
        EXPECT_TRUE(tape->filename().startsWith(small)) << tape->filename().toStdString();
}

TEST_F(BackgroundLibraryTest, TheQueueWritesInTheBackgroundAndFollowsRenamesOfCommitsStillPending)
{
    ASSERT_TRUE(makeTapeFile(path(QStringLiteral("take.m4a"))));
    auto tape = std::make_shared<Tape>(path(QStringLiteral("take.m4a")));
    TapeCommitQueue queue;
    QSignalSpy idle(&queue, &TapeCommitQueue::idle);

    tape->setTitle(QStringLiteral("One"));
    queue.commit(tape);
    // Edited again before the first write is known: planned once the first has renamed the file.
    tape->setTitle(QStringLiteral("Two"));
    tape->setNotes(QStringLiteral("later"));
    queue.commit(tape);
    EXPECT_FALSE(queue.isIdle());
    EXPECT_TRUE(tape->dirty()) << "nothing is taken before the writing is done";

    ASSERT_TRUE(idle.wait(60000));
    EXPECT_FALSE(tape->dirty());
    EXPECT_EQ(tape->filename(), path(QStringLiteral("[] Two.m4a")));
    EXPECT_EQ(QDir(mDir.path()).entryList(QDir::Files | QDir::Hidden),
              QStringList({QStringLiteral("[] Two.m4a")}));
    const auto tags = MP4Tags::fromFile(tape->filename());
    ASSERT_TRUE(tags);
    EXPECT_EQ(tags->title().value_or(QString()), QStringLiteral("Two"));
    EXPECT_EQ(tags->lyrics().value_or(QString()), QStringLiteral("later"));
}

TEST_F(BackgroundLibraryTest, AWithdrawnCommitStaysDirtyAndTheRestIsWrittenBeforeTheQueueGoes)
{
    QList<TapePtr> tapes;
    for (int i = 0; i < 6; ++i) {
        const QString name = path(QStringLiteral("t%1.m4a").arg(i));
        ASSERT_TRUE(makeTapeFile(name));
        tapes << std::make_shared<Tape>(name);
        tapes.last()->setNotes(QStringLiteral("note %1").arg(i));
    }
    const QByteArray untouched = readFile(tapes.last()->filename());
    {
        TapeCommitQueue queue;
        queue.commit(tapes);
        EXPECT_EQ(queue.batchTotal(), 6);
        queue.withdraw(tapes.last());
        EXPECT_EQ(queue.batchTotal() + (tapes.last()->dirty() ? 1 : 0), 6);
    } // no event loop turned: going away writes and delivers the rest
    for (int i = 0; i < 5; ++i) {
        EXPECT_FALSE(tapes[i]->dirty()) << i;
        EXPECT_EQ(MP4Tags::fromFile(tapes[i]->filename())->lyrics().value_or(QString()),
                  QStringLiteral("note %1").arg(i));
    }
    // Taken back before it was written, or written whole: never half.
    if (tapes.last()->dirty()) {
        EXPECT_EQ(readFile(tapes.last()->filename()), untouched);
    }
}

TEST_F(BackgroundLibraryTest, PuttingAwayALibraryWithNothingChangedOpensNoTape)
{
    // Tapes as the deck leaves them: tags, letter and cover art written.
    addFiles(mDir.path(), 6);
    for (int i = 0; i < 6; ++i) {
        Tape tape(path(QStringLiteral("file %1.m4a").arg(i)));
        tape.setNotes(QStringLiteral("notes %1").arg(i));
        ASSERT_TRUE(tape.commitAttributes());
    }
    TapeLibraryArrayController library(mDir.path(), Loading::InBackground);
    ASSERT_TRUE(waitForScan(library));
    ASSERT_EQ(library.content().size(), 6);

    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(watch, 0);
    ASSERT_GE(inotify_add_watch(watch, QFile::encodeName(mDir.path()).constData(), IN_OPEN), 0);
    {
        // What closing the deck does with the library.
        TapeCommitQueue queue;
        queue.commit(library.content());
        queue.waitUntilIdle();
        EXPECT_TRUE(queue.isIdle());
    }
    char events[4096];
    const ssize_t got = read(watch, events, sizeof events);
    close(watch);
    QStringList opened;
    for (ssize_t at = 0; at + ssize_t(sizeof(inotify_event)) <= got;) {
        const auto* event = reinterpret_cast<const inotify_event*>(events + at);
        opened << QString::fromUtf8(event->len ? event->name : "");
        at += ssize_t(sizeof(inotify_event) + event->len);
    }
    EXPECT_EQ(opened.join(u',').toStdString(), "");
    for (const TapePtr& tape : library.content())
        EXPECT_FALSE(tape->dirty()) << tape->filename().toStdString();
}
