#include "TapeTestFiles.h"
#include "audio/RecordingRecovery.h"
#include "audio/RecordingTestFiles.h"
#include "audio/VORLExtendedAudioFile.h"
#include "foundation/Log.h"
#include "tapes/TapeCopyQueue.h"
#include "tapes/TapeLibraryArrayController.h"

#include <QDir>
#include <QFile>
#include <QMimeData>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QUrl>
#include <cmath>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace spindrel;
using namespace spindrel::test;

namespace {

class TapeLibraryTest : public ::testing::Test
{
protected:
    QString folder() const { return mDir.path(); }
    QString path(const QString& name) const { return mDir.filePath(name); }

    /// A committed tape labelled in its notes and, when `titled`, its title (which renames it).
    void addTape(const QString& name, const QString& label, const QDateTime& date, bool titled = false)
    {
        ASSERT_TRUE(makeTapeFile(path(name)));
        Tape tape(path(name));
        tape.setNotes(label);
        if (titled)
            tape.setTitle(label);
        tape.setDate(date);
        tape.commitAttributes();
    }

    static QStringList titles(const QList<TapePtr>& tapes)
    {
        QStringList list;
        for (const TapePtr& tape : tapes)
            list << tape->notes();
        return list;
    }

    /// Imports as the deck does, on the copy queue's worker; the errors once all are copied.
    static QList<Error> importAndWait(const TapeLibraryArrayController& library, const QList<QUrl>& urls)
    {
        TapeCopyQueue copies;
        QSignalSpy imported(&copies, &TapeCopyQueue::imported);
        copies.importTapes(urls, library.folderPath());
        EXPECT_TRUE(imported.wait(60000));
        return imported.isEmpty() ? QList<Error>() : imported.first().first().value<QList<Error>>();
    }

    static bool waitForMerge(TapeLibraryArrayController& library)
    {
        QSignalSpy spy(&library, &TapeLibraryArrayController::folderChanged);
        return spy.wait(15000);
    }

    QTemporaryDir mDir;
};

QDateTime day(int d)
{
    return QDateTime(QDate(2012, 3, d), QTime(12, 0));
}

/// A listening Unix socket at the path, for as long as the descriptor is open; -1 on failure.
int bindSocket(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (size_t(name.size()) >= sizeof(address.sun_path))
        return -1;
    std::copy(name.begin(), name.end(), address.sun_path);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket >= 0 && ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return socket;
    if (socket >= 0)
        close(socket);
    return -1;
}

/// The tapes' file names, sorted and joined, as a failure prints them.
std::string fileNames(const QList<TapePtr>& tapes)
{
    QStringList names;
    for (const TapePtr& tape : tapes)
        names << QFileInfo(tape->filename()).fileName();
    names.sort();
    return names.join(QStringLiteral(", ")).toStdString();
}

} // namespace

TEST_F(TapeLibraryTest, ScanListsRegularM4aFilesOnlyNewestFirstAndNeverWaitsOnAFifo)
{
    QTemporaryDir elsewhere;
    addTape(QStringLiteral("a.m4a"), QStringLiteral("old"), day(1));
    addTape(QStringLiteral("z.m4a"), QStringLiteral("new"), day(9));
    ASSERT_TRUE(makeTapeFile(path(QStringLiteral("b.M4A"))));
    writeFile(path(QStringLiteral("c.txt")), {});
    QDir(folder()).mkdir(QStringLiteral("sub.m4a"));
    ASSERT_TRUE(makeTapeFile(elsewhere.filePath(QStringLiteral("target.m4a"))));
    ASSERT_TRUE(
        QFile::link(elsewhere.filePath(QStringLiteral("target.m4a")), path(QStringLiteral("link.m4a"))));
    ASSERT_TRUE(makeFifo(path(QStringLiteral("x.m4a"))));
    const int socket = bindSocket(path(QStringLiteral("socket.m4a")));
    ASSERT_GE(socket, 0);
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/null"), path(QStringLiteral("device.m4a"))));
    ASSERT_TRUE(QFile::link(path(QStringLiteral("fifo-behind.m4a")), path(QStringLiteral("dangling.m4a"))));
    ASSERT_TRUE(QFile::link(path(QStringLiteral("x.m4a")), path(QStringLiteral("to-fifo.m4a"))));

    // What interrupted tag edits leave: a stale one goes at start, one still locked by its edit
    // stays on disk; neither is a tape, whatever its name ends in.
    ASSERT_TRUE(makeTapeFile(path(QStringLiteral(".a.m4a.spindrel-edit-Q7x2Lp"))));
    ASSERT_TRUE(makeTapeFile(path(QStringLiteral(".b.spindrel-edit-R8y3Mq.m4a"))));
    ASSERT_TRUE(makeTapeFile(path(QStringLiteral(".c.spindrel-edit-S9z4Nr.m4a"))));
    const int live = open(QFile::encodeName(path(QStringLiteral(".c.spindrel-edit-S9z4Nr.m4a"))).constData(),
                          O_RDONLY | O_CLOEXEC);
    ASSERT_GE(live, 0);
    ASSERT_EQ(flock(live, LOCK_EX | LOCK_NB), 0);
    // An import's copy that a crash cut short goes too.
    ASSERT_TRUE(makeTapeFile(path(QStringLiteral(".d.m4a.spindrel-copy-T1a5Os"))));
    // Other hidden names are tapes as before.
    ASSERT_TRUE(makeTapeFile(path(QStringLiteral(".hidden.m4a"))));

    std::string listed;
    QStringList soundFiles, arranged, selected;
    QString quality;
    EXPECT_TRUE(finishesWithoutTheFifo(path(QStringLiteral("x.m4a")), [&] {
        TapeLibraryArrayController library(folder());
        listed = fileNames(library.content());
        arranged = titles(library.arrangedObjects()).mid(0, 2);
        selected = titles(library.selectedObjects());
        quality = library.data(library.index(0, FilteringArrayController::QualityColumn)).toString();
        for (const QString& file : library.soundFileList())
            soundFiles << QFileInfo(file).fileName();
        soundFiles.sort();
        library.checkRecordingDirectory();
    }));
    close(socket);
    close(live);
    EXPECT_EQ(listed, ".hidden.m4a, a.m4a, link.m4a, z.m4a");
    EXPECT_EQ(arranged, QStringList({QStringLiteral("new"), QStringLiteral("old")})) << "undated last";
    EXPECT_EQ(selected, QStringList({QStringLiteral("new")}));
    EXPECT_EQ(quality, QStringLiteral("LQ"));
    EXPECT_TRUE(TapeLibraryArrayController(path(QStringLiteral("nowhere"))).content().isEmpty());
    EXPECT_EQ(soundFiles.join(QStringLiteral(", ")).toStdString(), listed);
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral(".a.m4a.spindrel-edit-Q7x2Lp"))));
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral(".b.spindrel-edit-R8y3Mq.m4a"))));
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral(".d.m4a.spindrel-copy-T1a5Os"))));
    EXPECT_TRUE(QFileInfo::exists(path(QStringLiteral(".c.spindrel-edit-S9z4Nr.m4a"))));
    EXPECT_FALSE(QFileInfo(path(QStringLiteral("x.m4a"))).isFile()) << "the FIFO is left as it was";
}

TEST_F(TapeLibraryTest, DamagedFilesAreListedWithDefaultsAndImportTakesOnlyRegularFiles)
{
    addTape(QStringLiteral("good.m4a"), QStringLiteral("good"), day(2));
    // Cut inside its headers, as an interrupted copy leaves it: after the movie header, before the
    // sample description.
    ASSERT_TRUE(makeTapeFile(path(QStringLiteral("cut.m4a")), {QStringLiteral("LQ"), true, 1.0, true}));
    ASSERT_TRUE(QFile::resize(path(QStringLiteral("cut.m4a")), 300));

    QStringList caught;
    const LogSink previous = setLogSink([&](const QString& line) {
        if (line.contains(QStringLiteral(".m4a: ")))
            caught << line;
    });
    {
        TapeLibraryArrayController library(folder());
        ASSERT_EQ(fileNames(library.content()), "cut.m4a, good.m4a");
        EXPECT_EQ(titles(library.arrangedObjects()), QStringList({QStringLiteral("good"), QString()}))
            << "undated last";
        EXPECT_NEAR(library.arrangedObjects().last()->duration(), 1.0, 0.05) << "the movie header was whole";

        // A truncated file is imported as it is and listed like the one already there.
        QTemporaryDir elsewhere;
        const QString damaged = elsewhere.filePath(QStringLiteral("download.m4a"));
        ASSERT_TRUE(makeTapeFile(damaged));
        ASSERT_TRUE(QFile::resize(damaged, QFileInfo(damaged).size() - 100));
        EXPECT_FALSE(library.copyTape(QUrl::fromLocalFile(damaged)));
        EXPECT_EQ(readFile(path(QStringLiteral("download.m4a"))), readFile(damaged));
        library.checkRecordingDirectory();
        EXPECT_EQ(fileNames(library.content()), "cut.m4a, download.m4a, good.m4a");

        // A FIFO, a folder or a device is refused with its reason, and no file appears.
        const QString fifo = elsewhere.filePath(QStringLiteral("stream.m4a"));
        ASSERT_TRUE(makeFifo(fifo));
        ASSERT_TRUE(QDir(elsewhere.path()).mkdir(QStringLiteral("folder.m4a")));
        QList<Error> errors;
        EXPECT_TRUE(finishesWithoutTheFifo(fifo, [&] {
            errors =
                importAndWait(library, {QUrl::fromLocalFile(fifo),
                                        QUrl::fromLocalFile(elsewhere.filePath(QStringLiteral("folder.m4a"))),
                                        QUrl::fromLocalFile(QStringLiteral("/dev/null"))});
        }));
        ASSERT_EQ(errors.size(), 3);
        EXPECT_EQ(errors.first().localizedDescription(),
                  QStringLiteral("“stream.m4a” couldn’t be imported: it is not a regular file."));
        EXPECT_TRUE(errors.at(1).localizedDescription().contains(QStringLiteral("“folder.m4a”")));
        EXPECT_TRUE(errors.at(2).localizedDescription().contains(QStringLiteral("“null”")));
        EXPECT_EQ(QDir(folder())
                      .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System)
                      .join(QStringLiteral(", "))
                      .toStdString(),
                  "cut.m4a, download.m4a, good.m4a");
        // Released as the deck releases them: the damaged tapes commit their default letter.
    }
    setLogSink(previous);
    EXPECT_EQ(caught.join(u'\n').toStdString(), "") << "nothing was thrown while loading or committing";
}

TEST_F(TapeLibraryTest, WatchFollowsAddedDeletedAndRenamedFilesAndMissesThemWhilePaused)
{
    addTape(QStringLiteral("a.m4a"), QStringLiteral("first"), day(1));
    TapeLibraryArrayController library(folder());
    library.startMonitoringRecordingDirectory();
    ASSERT_TRUE(library.isMonitoring());

    addTape(QStringLiteral("b.m4a"), QStringLiteral("second"), day(2));
    ASSERT_TRUE(waitForMerge(library));
    EXPECT_EQ(titles(library.arrangedObjects()),
              QStringList({QStringLiteral("second"), QStringLiteral("first")}));
    EXPECT_EQ(titles(library.selectedObjects()), QStringList({QStringLiteral("second")}));

    const TapePtr before = library.arrangedObjects().last();
    ASSERT_TRUE(QFile::rename(path(QStringLiteral("a.m4a")), path(QStringLiteral("renamed.m4a"))));
    ASSERT_TRUE(waitForMerge(library));
    ASSERT_EQ(library.content().size(), 2);
    EXPECT_NE(library.arrangedObjects().last(), before); // a new tape, tags read again
    EXPECT_EQ(library.arrangedObjects().last()->filename(), path(QStringLiteral("renamed.m4a")));
    EXPECT_EQ(library.arrangedObjects().last()->notes(), QStringLiteral("first"));

    QFile::remove(path(QStringLiteral("b.m4a")));
    ASSERT_TRUE(waitForMerge(library));
    EXPECT_EQ(titles(library.arrangedObjects()), QStringList({QStringLiteral("first")}));

    // Paused, the watch misses a recording until the next event after resuming.
    library.pauseMonitoringRecordingDirectory();
    addTape(QStringLiteral("recording.m4a"), QStringLiteral("rec"), day(3));
    QSignalSpy spy(&library, &TapeLibraryArrayController::folderChanged);
    EXPECT_FALSE(spy.wait(600));
    EXPECT_EQ(library.content().size(), 1);

    library.resumeMonitoringRecordingDirectory();
    addTape(QStringLiteral("other.m4a"), QStringLiteral("other"), day(4));
    ASSERT_TRUE(waitForMerge(library));
    EXPECT_EQ(titles(library.arrangedObjects()),
              QStringList({QStringLiteral("other"), QStringLiteral("rec"), QStringLiteral("first")}));
}

TEST_F(TapeLibraryTest, DropAcceptsOnlyMpeg4AudioAndImportSkipsTakenNames)
{
    QTemporaryDir elsewhere, other;
    ASSERT_TRUE(makeTapeFile(elsewhere.filePath(QStringLiteral("take.m4a"))));
    ASSERT_TRUE(makeTapeFile(other.filePath(QStringLiteral("take.m4a")), {QStringLiteral("MQ"), true, 1.0}));
    const QUrl text =
        QUrl::fromLocalFile(writeFile(elsewhere.filePath(QStringLiteral("readme.txt")), "hello"));

    TapeLibraryArrayController library(folder());
    QMimeData textOnly;
    textOnly.setUrls({text});
    EXPECT_FALSE(library.canDropMimeData(&textOnly, Qt::CopyAction, 0, 0, {}));

    QMimeData tapes;
    const QList<QUrl> urls{QUrl::fromLocalFile(elsewhere.filePath(QStringLiteral("take.m4a"))),
                           QUrl::fromLocalFile(other.filePath(QStringLiteral("take.m4a")))};
    tapes.setUrls(urls + QList<QUrl>{text});
    EXPECT_TRUE(library.canDropMimeData(&tapes, Qt::CopyAction, 0, 0, {}));
    QSignalSpy requested(&library, &TapeLibraryArrayController::importRequested);
    EXPECT_TRUE(library.dropMimeData(&tapes, Qt::CopyAction, 0, 0, {}));
    ASSERT_EQ(requested.size(), 1);
    EXPECT_EQ(requested.first().first().value<QList<QUrl>>(), urls);

    EXPECT_TRUE(importAndWait(library, urls).isEmpty());
    EXPECT_EQ(QDir(folder()).entryList(QDir::Files), QStringList({QStringLiteral("take.m4a")}));
    // The first of the two same-named files wins.
    Tape imported(path(QStringLiteral("take.m4a")));
    EXPECT_EQ(imported.quality(), QStringLiteral("LQ"));

    // Two imports of one name at once, each on a worker of its own: one whole file is kept, never
    // a mix of the two, and neither is an error.
    const QByteArray a(8 << 20, 'a'), b(8 << 20, 'b');
    TapeCopyQueue firstQueue, secondQueue;
    QSignalSpy firstDone(&firstQueue, &TapeCopyQueue::imported);
    QSignalSpy secondDone(&secondQueue, &TapeCopyQueue::imported);
    firstQueue.importTapes(
        {QUrl::fromLocalFile(writeFile(elsewhere.filePath(QStringLiteral("both.m4a")), a))}, folder());
    secondQueue.importTapes({QUrl::fromLocalFile(writeFile(other.filePath(QStringLiteral("both.m4a")), b))},
                            folder());
    ASSERT_TRUE(firstDone.size() == 1 || firstDone.wait(60000));
    ASSERT_TRUE(secondDone.size() == 1 || secondDone.wait(60000));
    EXPECT_TRUE(firstDone.first().first().value<QList<Error>>().isEmpty());
    EXPECT_TRUE(secondDone.first().first().value<QList<Error>>().isEmpty());
    const QByteArray kept = readFile(path(QStringLiteral("both.m4a")));
    EXPECT_TRUE(kept == a || kept == b);
    EXPECT_EQ(QDir(folder()).entryList(QDir::Files | QDir::Hidden),
              QStringList({QStringLiteral("both.m4a"), QStringLiteral("take.m4a")}));
}

TEST_F(TapeLibraryTest, loadingTurnsAKilledRecordingIntoAnUntitledTapeAndLeavesALiveOneAlone)
{
    // What a killed recorder leaves: its in-progress file, unlocked, without an ending.
    leaveCrashedRecording(mDir, QStringLiteral("0C8A.m4a"), "LQ", 2.0);
    // A recording still going on in the folder.
    auto live = openRecording(path(QStringLiteral("live.m4a")), "LQ");
    feedTone(*live, 1.0);

    TapeLibraryArrayController library(folder());
    ASSERT_EQ(library.content().size(), 1);
    const TapePtr tape = library.content().first();
    EXPECT_EQ(tape->title(), QStringLiteral("Untitled"));
    EXPECT_LT(std::abs(tape->date().secsTo(QDateTime::currentDateTime())), 120);
    EXPECT_EQ(QFileInfo(tape->filename()).fileName(),
              tape->date().toLocalTime().toString(QStringLiteral("[yyyy-MM-dd] ")) +
                  QStringLiteral("Untitled.m4a"));
    EXPECT_GT(tape->duration(), 1.0);
    EXPECT_LE(tape->duration(), 2.0);
    EXPECT_TRUE(QFileInfo::exists(RecordingRecovery::inProgressPath(path(QStringLiteral("live.m4a")))));
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral("0C8A.m4a") + RecordingRecovery::inProgressSuffix())));

    live->closeFile();
    library.checkRecordingDirectory();
    EXPECT_EQ(library.content().size(), 2);
}
