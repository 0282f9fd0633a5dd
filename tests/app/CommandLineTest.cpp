// The headless commands, run as a user runs them: the built binary in a temporary library.
#include "CommandRun.h"
#include "app/LibraryFolder.h"
#include "tapes/TapeTestFiles.h"

#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace spindrel;
using namespace spindrel::test;

namespace {

/// No display of any kind, and no platform asked for.
QProcessEnvironment headless()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
        environment.remove(QLatin1String(name));
    return environment;
}

} // namespace

TEST(CommandLineTest, TagsWriteInPlaceAndReadBackAsJson)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("t.m4a"));
    ASSERT_TRUE(makeTapeFile(path));
    const CommandRun set = runSpindrel(words("tags") << path << words("--set-title Über --set-lyrics")
                                                     << QStringLiteral("two\nlines")
                                                     << words("--set-letter K --set-color 5 --json"));
    ASSERT_EQ(set.status, 0) << set.err.toStdString();
    const QJsonObject json = QJsonDocument::fromJson(set.out.toUtf8()).object();
    EXPECT_EQ(json.value(QStringLiteral("title")).toString(), QStringLiteral("Über"));
    EXPECT_EQ(json.value(QStringLiteral("lyrics")).toString(), QStringLiteral("two\nlines"));
    EXPECT_EQ(json.value(QStringLiteral("tapeLetter")).toString(), QStringLiteral("K"));
    EXPECT_EQ(json.value(QStringLiteral("color")).toString(), QStringLiteral("purple"));
    EXPECT_TRUE(json.value(QStringLiteral("artist")).isNull());
}

TEST(CommandLineTest, BadInputSaysWhatWentWrongAndFails)
{
    QTemporaryDir dir;
    const QString text = dir.filePath(QStringLiteral("x.m4a"));
    QFile file(text);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("plain text, no atoms");
    file.close();
    CommandRun result = runSpindrel(words("tags") << text << words("--set-title T"));
    EXPECT_NE(result.status, 0);
    EXPECT_TRUE(result.err.contains(QStringLiteral("not an MPEG-4 file"))) << result.err.toStdString();
    QFile check(text);
    ASSERT_TRUE(check.open(QIODevice::ReadOnly));
    EXPECT_EQ(check.readAll(), QByteArray("plain text, no atoms"));

    result = runSpindrel({QStringLiteral("probe"), dir.filePath(QStringLiteral("missing.m4a"))});
    EXPECT_NE(result.status, 0);
    EXPECT_TRUE(result.err.contains(QStringLiteral("no such file")));
    EXPECT_EQ(runSpindrel({QStringLiteral("tags")}).status, 2);
    EXPECT_EQ(runSpindrel({QStringLiteral("no-such-command")}).status, 2);
}

TEST(CommandLineTest, TapeCommitsAndRenamesThenLibraryListsAndSearches)
{
    QTemporaryDir dir;
    ASSERT_TRUE(makeTapeFile(dir.filePath(QStringLiteral("a.m4a"))));
    ASSERT_TRUE(makeTapeFile(dir.filePath(QStringLiteral("b.m4a")), {QStringLiteral("MQ"), true, 1.0}));
    CommandRun result =
        runSpindrel(words("tape") << dir.filePath(QStringLiteral("a.m4a")) << words("--title")
                                  << QStringLiteral("Piano lesson") << words("--date 2012-03-04"));
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    EXPECT_EQ(result.out.trimmed(), dir.filePath(QStringLiteral("[2012-03-04] Piano lesson.m4a")));
    runSpindrel(words("tape") << dir.filePath(QStringLiteral("b.m4a"))
                              << words("--title Guitar --date 2013-01-01"));

    result = runSpindrel(words("library --folder") << dir.path() << words("--json"));
    ASSERT_EQ(result.status, 0);
    const QJsonArray tapes = QJsonDocument::fromJson(result.out.toUtf8()).array();
    ASSERT_EQ(tapes.size(), 2);
    EXPECT_EQ(tapes.at(0).toObject().value(QStringLiteral("title")).toString(), QStringLiteral("Guitar"));
    EXPECT_EQ(tapes.at(1).toObject().value(QStringLiteral("quality")).toString(), QStringLiteral("LQ"));

    result = runSpindrel(words("library --folder") << dir.path() << words("--query quality:mq"));
    EXPECT_EQ(result.out.count(QLatin1Char('\n')), 1);
    EXPECT_TRUE(result.out.contains(QStringLiteral("Guitar")));
}

TEST(LibraryFolderTest, SetUpMakesTheFolderAndBringsTheWelcomeTapeBack)
{
    QTemporaryDir dir;
    const QString folder = dir.filePath(QStringLiteral("Music/Spindrel"));
    ASSERT_TRUE(LibraryFolder::setUp(folder));
    const QString welcome = folder + QStringLiteral("/sp-welcome.m4a");
    EXPECT_TRUE(QFile::exists(welcome));
    EXPECT_TRUE(QFileInfo(welcome).isWritable());
    EXPECT_TRUE(QFile::exists(folder + QStringLiteral("/.directory")));
    ASSERT_TRUE(QFile::remove(welcome));
    ASSERT_TRUE(LibraryFolder::setUp(folder));
    EXPECT_TRUE(QFile::exists(welcome));
    EXPECT_TRUE(LibraryFolder::defaultPath().endsWith(QStringLiteral("/Spindrel")));
}

TEST(CommandLineTest, FileOperationsTrashListAndExportWithoutLosingFiles)
{
    QTemporaryDir dir;
    const QByteArray savedDataHome = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", dir.filePath(QStringLiteral("data")).toLocal8Bit());
    const QString tape = dir.filePath(QStringLiteral("take.m4a"));
    ASSERT_TRUE(makeTapeFile(tape, {QStringLiteral("LQ"), true, 2.0}));

    // Export refuses to overwrite unless forced.
    const QString copy = dir.filePath(QStringLiteral("copy.m4a"));
    QFile other(copy);
    ASSERT_TRUE(other.open(QIODevice::WriteOnly));
    other.write("other");
    other.close();
    const CommandRun refused = runSpindrel({QStringLiteral("export"), tape, copy});
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(refused.err.contains(QStringLiteral("--force"))) << refused.err.toStdString();
    EXPECT_EQ(QFileInfo(copy).size(), 5);
    const CommandRun forced = runSpindrel({QStringLiteral("export"), tape, copy, QStringLiteral("--force")});
    EXPECT_EQ(forced.status, 0) << forced.err.toStdString();
    EXPECT_EQ(QFileInfo(copy).size(), QFileInfo(tape).size());

    const QString playlist = dir.filePath(QStringLiteral("Spindrel.m3u8"));
    for (int i = 0; i < 2; ++i) {
        const CommandRun added =
            runSpindrel({QStringLiteral("add-to-music"), tape, QStringLiteral("--playlist"), playlist});
        EXPECT_EQ(added.status, 0) << added.err.toStdString();
    }
    QFile list(playlist);
    ASSERT_TRUE(list.open(QIODevice::ReadOnly));
    EXPECT_EQ(list.readAll(), "#EXTM3U\n#EXTINF:2,take\n" + tape.toUtf8() + '\n');

    const CommandRun trashed = runSpindrel({QStringLiteral("trash"), tape});
    EXPECT_EQ(trashed.status, 0) << trashed.err.toStdString();
    EXPECT_FALSE(QFileInfo::exists(tape));
    EXPECT_TRUE(QFileInfo::exists(dir.filePath(QStringLiteral("data/Trash/files/take.m4a"))));
    EXPECT_TRUE(QFileInfo::exists(dir.filePath(QStringLiteral("data/Trash/info/take.m4a.trashinfo"))));
    const CommandRun again = runSpindrel({QStringLiteral("trash"), tape});
    EXPECT_EQ(again.status, 1);
    EXPECT_TRUE(again.err.contains(QStringLiteral("no longer exists")));
    qputenv("XDG_DATA_HOME", savedDataHome);
}

// Which Qt application the commands run on: the core alone where they only read and write files
// and devices, a GUI application without a display where they paint.
TEST(CommandLineApplicationTest, FileCommandsLoadNoPlatformAndPaintingOnesNeedNoDisplay)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("t.m4a"));
    ASSERT_TRUE(makeTapeFile(path));

    // A platform that cannot load would end a GUI application at its start.
    QProcessEnvironment noPlatform = headless();
    noPlatform.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("no-such-platform"));
    CommandRun result = runSpindrel({QStringLiteral("probe"), path, QStringLiteral("--json")}, noPlatform);
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    EXPECT_EQ(
        QJsonDocument::fromJson(result.out.toUtf8()).object().value(QStringLiteral("quality")).toString(),
        QStringLiteral("LQ"));
    result = runSpindrel(
        {QStringLiteral("tags"), path, QStringLiteral("--set-title"), QStringLiteral("Read back")},
        noPlatform);
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    EXPECT_TRUE(result.out.contains(QStringLiteral("Read back"))) << result.out.toStdString();

    // The cassette is drawn with fonts, but without anything to show it on.
    const QString png = dir.filePath(QStringLiteral("c.png"));
    result = runSpindrel({QStringLiteral("render-cassette"), path, png}, headless());
    ASSERT_EQ(result.status, 0) << result.err.toStdString();
    EXPECT_EQ(QImage(png).size(), QSize(880, 560));
    result = runSpindrel({QStringLiteral("tape"), path, QStringLiteral("--title"), QStringLiteral("Painted")},
                         headless());
    EXPECT_EQ(result.status, 0) << result.err.toStdString();
}
