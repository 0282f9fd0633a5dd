#include "tapes/TapeExport.h"

#include "TapeTestFiles.h"
#include "audio/RecordingTestFiles.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace spindrel;
using namespace spindrel::test;

namespace {

class TapeExportTest : public ::testing::Test
{
protected:
    QString write(const QString& name, const QByteArray& contents)
    {
        return writeFile(mDir.filePath(name), contents);
    }
    static QByteArray read(const QString& path) { return readFile(path); }
    QStringList allEntries() const
    {
        return QDir(mDir.path()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }

    QTemporaryDir mDir;
};

TEST_F(TapeExportTest, CopiesTheFileWholeAndNeverOntoItself)
{
    QByteArray audio(3 * 1024 * 1024 + 17, '\0');
    for (qsizetype i = 0; i < audio.size(); ++i)
        audio[i] = char(i * 7);
    const QString source = write(QStringLiteral("tape.m4a"), audio);
    const QString destination = mDir.filePath(QStringLiteral("copy.m4a"));
    EXPECT_FALSE(TapeExport::exportFile(source, destination));
    EXPECT_EQ(read(destination), audio);

    // Replacing only with consent is the deck's test; even with it a tape is never exported onto
    // its own file.
    EXPECT_TRUE(TapeExport::exportFile(source, source, TapeExport::ExistingFile::Replace));
    EXPECT_EQ(read(source), audio);
    EXPECT_EQ(allEntries(), (QStringList{QStringLiteral("copy.m4a"), QStringLiteral("tape.m4a")}));
}

TEST_F(TapeExportTest, AFailedWriteLeavesNoHalfWrittenFile)
{
    const QString source = write(QStringLiteral("tape.m4a"), QByteArray(256 * 1024, 'x'));
    const QString destination = write(QStringLiteral("old.m4a"), "old contents");

    std::optional<Error> error, fresh;
    {
        // Writes fail part-way, as on a full disk.
        const FileSizeLimit full(64 * 1024);
        error = TapeExport::exportFile(source, destination, TapeExport::ExistingFile::Replace);
        fresh = TapeExport::exportFile(source, mDir.filePath(QStringLiteral("new.m4a")));
    }

    ASSERT_TRUE(error);
    EXPECT_TRUE(error->localizedDescription().contains(QStringLiteral("old.m4a")));
    EXPECT_TRUE(fresh);
    // The old file is whole and no temporary or partial copy is left behind.
    EXPECT_EQ(read(destination), QByteArray("old contents"));
    EXPECT_EQ(allEntries(), (QStringList{QStringLiteral("old.m4a"), QStringLiteral("tape.m4a")}));
}

TEST_F(TapeExportTest, BadPlacesAndVanishedTapesAreErrors)
{
    const QString source = write(QStringLiteral("tape.m4a"), "take");
    const std::optional<Error> noFolder =
        TapeExport::exportFile(source, mDir.filePath(QStringLiteral("missing/x.m4a")));
    ASSERT_TRUE(noFolder);
    EXPECT_TRUE(noFolder->localizedDescription().contains(QStringLiteral("tape.m4a")));

    QDir().mkpath(mDir.filePath(QStringLiteral("folder.m4a")));
    EXPECT_TRUE(TapeExport::exportFile(source, mDir.filePath(QStringLiteral("folder.m4a")),
                                       TapeExport::ExistingFile::Replace));
    EXPECT_TRUE(QFileInfo(mDir.filePath(QStringLiteral("folder.m4a"))).isDir());

    const std::optional<Error> vanished = TapeExport::exportFile(mDir.filePath(QStringLiteral("gone.m4a")),
                                                                 mDir.filePath(QStringLiteral("y.m4a")));
    ASSERT_TRUE(vanished);
    EXPECT_TRUE(vanished->localizedDescription().contains(QStringLiteral("no longer exists")));
    EXPECT_FALSE(QFile::exists(mDir.filePath(QStringLiteral("y.m4a"))));
}

} // namespace
