#include "tapes/LibraryFolderWatch.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace spindrel;
using State = LibraryFolderWatch::State;

namespace {

TEST(LibraryFolderWatchTest, TellsAFolderFromWhatCannotServeAsOne)
{
    QTemporaryDir root;
    ASSERT_TRUE(root.isValid());
    const QString folder = root.filePath(QStringLiteral("Tapes"));
    EXPECT_EQ(LibraryFolderWatch::examine(folder), State::Missing);
    EXPECT_EQ(LibraryFolderWatch::examine(folder + QStringLiteral("/deeper")), State::Missing);
    ASSERT_TRUE(QDir().mkpath(folder));
    EXPECT_EQ(LibraryFolderWatch::examine(folder), State::Available);

    const QString file = root.filePath(QStringLiteral("a file"));
    QFile plain(file);
    ASSERT_TRUE(plain.open(QIODevice::WriteOnly));
    plain.close();
    EXPECT_EQ(LibraryFolderWatch::examine(file), State::NotAFolder);

    // Permissions do not bind the superuser, so only an ordinary user can see these two.
    if (geteuid() != 0) {
        QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
        EXPECT_EQ(LibraryFolderWatch::examine(folder), State::ReadOnly);
        QFile::setPermissions(folder, QFileDevice::WriteOwner);
        EXPECT_EQ(LibraryFolderWatch::examine(folder), State::Unreadable);
        QFile::setPermissions(folder,
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    }
}

TEST(LibraryFolderWatchTest, ReportsEachChangeOnceAndNamesTheFolder)
{
    QTemporaryDir root;
    const QString folder = root.filePath(QStringLiteral("Tapes"));
    ASSERT_TRUE(QDir().mkpath(folder));
    LibraryFolderWatch watch;
    QSignalSpy changes(&watch, &LibraryFolderWatch::stateChanged);
    watch.setFolder(folder);
    ASSERT_TRUE(changes.wait(10000));
    EXPECT_EQ(watch.state(), State::Available);
    EXPECT_TRUE(watch.problemText().isEmpty());

    ASSERT_TRUE(QDir(folder).removeRecursively());
    ASSERT_TRUE(changes.wait(10000));
    EXPECT_EQ(watch.state(), State::Missing);
    EXPECT_TRUE(watch.problemText().contains(folder)) << watch.problemText().toStdString();

    ASSERT_TRUE(QDir().mkpath(folder));
    ASSERT_TRUE(changes.wait(10000));
    EXPECT_EQ(watch.state(), State::Available);
    // The once-a-second look finds nothing new, so nothing more is reported.
    EXPECT_FALSE(changes.wait(2500));
    EXPECT_EQ(changes.size(), 3);
}

} // namespace
