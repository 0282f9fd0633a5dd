#include "tapes/TapeExport.h"

#include "TapeTestFiles.h"
#include "audio/RecordingTestFiles.h"
#include "tapes/FileCopy.h"
#include "tapes/TapeCopyQueue.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

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
    EXPECT_EQ(readFile(destination), audio);

    // Replacing only with consent is the deck's test; even with it a tape is never exported onto
    // its own file.
    EXPECT_TRUE(TapeExport::exportFile(source, source, TapeExport::ExistingFile::Replace));
    EXPECT_EQ(readFile(source), audio);
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
    const std::atomic<bool> cancelled = true;
    const std::optional<Error> stopped =
        TapeExport::exportFile(source, destination, TapeExport::ExistingFile::Replace, &cancelled);

    ASSERT_TRUE(error);
    EXPECT_TRUE(error->localizedDescription().contains(QStringLiteral("old.m4a")));
    EXPECT_TRUE(fresh);
    ASSERT_TRUE(stopped);
    EXPECT_TRUE(stopped->localizedDescription().contains(QStringLiteral("cancelled")));
    // The old file is whole and no temporary or partial copy is left behind.
    EXPECT_EQ(readFile(destination), QByteArray("old contents"));
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

TEST_F(TapeExportTest, AnEditWrittenInPlaceDuringTheCopyNeverMixesOldAndNew)
{
    // Three chunks; an edit of the first and the last byte lands once the first chunk is copied.
    QByteArray contents(3 * 1024 * 1024, 'o');
    const QString source = write(QStringLiteral("edited.m4a"), contents);
    const QString destination = mDir.filePath(QStringLiteral("copy.m4a"));
    // File times move on in ticks of a few milliseconds: the edit must fall in a later one.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    int edits = 0;
    const auto editOnce = [&](qint64) {
        if (edits++ > 0)
            return;
        QFile file(source);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        file.write("N");
        file.seek(contents.size() - 1);
        file.write("N");
    };
    const FileCopy::Result result = FileCopy::copy(source, destination, false, nullptr, editOnce);
    EXPECT_EQ(result.outcome, FileCopy::Outcome::Copied) << result.reason.toStdString();
    contents.front() = 'N';
    contents.back() = 'N';
    EXPECT_TRUE(readFile(destination) == contents) << "the copy holds the edited file whole";

    // A file that never stops changing is not copied at all.
    const auto editAlways = [&](qint64) {
        QFile file(source);
        ASSERT_TRUE(file.open(QIODevice::Append));
        file.write("+");
    };
    const QString another = mDir.filePath(QStringLiteral("another.m4a"));
    EXPECT_EQ(FileCopy::copy(source, another, false, nullptr, editAlways).outcome, FileCopy::Outcome::Failed);
    EXPECT_FALSE(QFile::exists(another));
}

TEST_F(TapeExportTest, ACopyQueueGoneMidCopyLeavesEachFileWholeOrAbsent)
{
    constexpr qint64 size = 200 * 1024 * 1024;
    const QString source = write(QStringLiteral("long.m4a"), {});
    ASSERT_TRUE(QFile::resize(source, size)); // sparse
    const QStringList destinations{mDir.filePath(QStringLiteral("one.m4a")),
                                   mDir.filePath(QStringLiteral("two.m4a"))};
    {
        // Let go while it writes, as the deck is when the process is ended.
        TapeCopyQueue copies;
        for (const QString& destination : destinations)
            copies.exportTape(source, destination);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (allEntries().size() == 1 && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    QStringList left = allEntries();
    left.removeOne(QStringLiteral("long.m4a"));
    for (const QString& destination : destinations) {
        if (left.removeOne(QFileInfo(destination).fileName())) {
            EXPECT_EQ(QFileInfo(destination).size(), size);
        }
    }
    EXPECT_EQ(left, QStringList()) << "no temporary is left";
}

} // namespace
