#include "tapes/LibraryFolderWatch.h"

#include "TapeTestFiles.h"

#include <QDir>
#include <QFile>
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

    const QString file = test::writeFile(root.filePath(QStringLiteral("a file")), {});
    ASSERT_FALSE(file.isEmpty());
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

} // namespace
