// Which Qt application the commands run on: the core alone where they only read and write files
// and devices, a GUI application without a display where they paint.
#include "CommandRun.h"
#include "tapes/TapeTestFiles.h"

#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <gtest/gtest.h>

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
