#include "tapes/Trash.h"

#include "TapeTestFiles.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>
#include <gtest/gtest.h>

using namespace spindrel;
using namespace spindrel::test;

namespace {

class TrashTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        mSavedDataHome = qgetenv("XDG_DATA_HOME");
        qputenv("XDG_DATA_HOME", mHome.filePath(QStringLiteral("data")).toLocal8Bit());
    }
    void TearDown() override { qputenv("XDG_DATA_HOME", mSavedDataHome); }

    QString makeFile(const QString& relativePath, const QByteArray& contents = "tape bytes")
    {
        return writeFile(mFiles.filePath(relativePath), contents);
    }

    QString trash() const { return mHome.filePath(QStringLiteral("data/Trash")); }

    /// The keys of a .trashinfo file, after checking its group header.
    static QMap<QString, QString> trashInfo(const QString& path)
    {
        const QList<QByteArray> lines = readFile(path).split('\n');
        EXPECT_EQ(lines.value(0), QByteArray("[Trash Info]"));
        QMap<QString, QString> keys;
        for (const QByteArray& line : lines.mid(1)) {
            const qsizetype equals = line.indexOf('=');
            if (equals > 0)
                keys.insert(QString::fromUtf8(line.left(equals)), QString::fromUtf8(line.mid(equals + 1)));
        }
        return keys;
    }

    QTemporaryDir mHome;
    QTemporaryDir mFiles;
    QByteArray mSavedDataHome;
};

TEST_F(TrashTest, FileGoesIntoTheHomeTrashWithAValidTrashInfo)
{
    const QString original = makeFile(QStringLiteral("my takes/Señor 100% #1.m4a"));
    const QDateTime before = QDateTime::currentDateTime().addSecs(-1);

    const auto result = Trash::moveToTrash(original);
    ASSERT_TRUE(std::holds_alternative<Trash::Result>(result))
        << std::get<Error>(result).localizedDescription().toStdString();
    const Trash::Result& trashed = std::get<Trash::Result>(result);

    EXPECT_FALSE(QFile::exists(original));
    EXPECT_EQ(trashed.trashedPath, trash() + QStringLiteral("/files/Señor 100% #1.m4a"));
    EXPECT_EQ(readFile(trashed.trashedPath), QByteArray("tape bytes"));

    EXPECT_EQ(trashed.infoPath, trash() + QStringLiteral("/info/Señor 100% #1.m4a.trashinfo"));
    const auto keys = trashInfo(trashed.infoPath);
    // The path is percent-encoded (spaces, '%', '#', non-ASCII) and decodes to the original place.
    const QString encodedPath = keys.value(QStringLiteral("Path"));
    EXPECT_FALSE(encodedPath.contains(QLatin1Char(' ')));
    EXPECT_FALSE(encodedPath.contains(QLatin1Char('#')));
    EXPECT_TRUE(encodedPath.contains(QStringLiteral("100%25")));
    EXPECT_EQ(QUrl::fromPercentEncoding(encodedPath.toLatin1()), original);
    const QDateTime deleted = QDateTime::fromString(keys.value(QStringLiteral("DeletionDate")),
                                                    QStringLiteral("yyyy-MM-dd'T'HH:mm:ss"));
    ASSERT_TRUE(deleted.isValid()) << keys.value(QStringLiteral("DeletionDate")).toStdString();
    EXPECT_GE(deleted, before);
    EXPECT_LE(deleted, QDateTime::currentDateTime().addSecs(1));
}

TEST_F(TrashTest, SameNamesGetUniqueTrashNamesAndNothingIsOverwritten)
{
    const QString first = makeFile(QStringLiteral("a/take.m4a"), "first");
    const QString second = makeFile(QStringLiteral("b/take.m4a"), "second");
    const QString third = makeFile(QStringLiteral("c/take.m4a"), "third");

    QStringList names;
    for (const QString& path : {first, second, third}) {
        const auto result = Trash::moveToTrash(path);
        ASSERT_TRUE(std::holds_alternative<Trash::Result>(result));
        names << QFileInfo(std::get<Trash::Result>(result).trashedPath).fileName();
        // Each info file names its own file and its own original place.
        const QString info = std::get<Trash::Result>(result).infoPath;
        EXPECT_EQ(QFileInfo(info).fileName(), names.last() + QStringLiteral(".trashinfo"));
        EXPECT_EQ(QUrl::fromPercentEncoding(trashInfo(info).value(QStringLiteral("Path")).toLatin1()), path);
    }
    EXPECT_EQ(names, (QStringList{QStringLiteral("take.m4a"), QStringLiteral("take.2.m4a"),
                                  QStringLiteral("take.3.m4a")}));
    EXPECT_EQ(readFile(trash() + QStringLiteral("/files/take.m4a")), QByteArray("first"));
    EXPECT_EQ(QDir(trash() + QStringLiteral("/info")).entryList(QDir::Files).size(), 3);

    // A vanished file is an error that leaves no trace in the trash.
    const auto gone = Trash::moveToTrash(mFiles.filePath(QStringLiteral("gone.m4a")));
    ASSERT_TRUE(std::holds_alternative<Error>(gone));
    EXPECT_TRUE(std::get<Error>(gone).localizedDescription().contains(QStringLiteral("gone.m4a")));
    EXPECT_EQ(QDir(trash() + QStringLiteral("/info")).entryList(QDir::Files).size(), 3);
    EXPECT_EQ(QDir(trash() + QStringLiteral("/files")).entryList(QDir::Files).size(), 3);
}

} // namespace
