// An export killed while it writes leaves nothing in the folder it was writing to: no part of the
// tape, and no hidden temporary that nobody would ever clean up there.
#include "CommandRun.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace spindrel::test;

namespace {

TEST(ExportCrashTest, AKillWhileWritingLeavesTheDestinationAsItWas)
{
    QTemporaryDir dir;
    const QString tape = dir.filePath(QStringLiteral("tape.m4a"));
    QByteArray bytes(5 << 20, Qt::Uninitialized); // five chunks of the copy
    QRandomGenerator(19).fillRange(reinterpret_cast<quint32*>(bytes.data()), bytes.size() / 4);
    QFile file(tape);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    file.close();

    for (const bool force : {false, true}) {
        const QString folder = dir.filePath(force ? QStringLiteral("over") : QStringLiteral("fresh"));
        ASSERT_TRUE(QDir().mkpath(folder));
        const QString destination = folder + QStringLiteral("/tape.m4a");
        int kills = 0;
        for (const char* call : {"write", "fsync"}) {
            for (int n = 1; n < 12; ++n) {
                SCOPED_TRACE(QStringLiteral("%1, killed at %2 #%3")
                                 .arg(force ? QLatin1String("replacing") : QLatin1String("new"))
                                 .arg(QLatin1String(call))
                                 .arg(n)
                                 .toStdString());
                QFile::remove(destination);
                if (force) {
                    QFile old(destination);
                    ASSERT_TRUE(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
                }
                QStringList arguments =
                    words("-f -qq -o /dev/null -e")
                    << QStringLiteral("inject=%1:signal=KILL:when=%2").arg(QLatin1String(call)).arg(n)
                    << QStringLiteral(SPINDREL_BINARY) << QStringLiteral("export") << tape << folder;
                if (force)
                    arguments << QStringLiteral("--force");
                const CommandRun run = runCommand(QStringLiteral("strace"), arguments,
                                                  QProcessEnvironment::systemEnvironment(), 120000);
                const QStringList left = QDir(folder).entryList(QDir::Files | QDir::Hidden);
                QFile result(destination);
                const QByteArray written = result.open(QIODevice::ReadOnly) ? result.readAll() : QByteArray();
                if (run.status == 0) {
                    EXPECT_EQ(written, bytes); // it made fewer such calls than n
                    EXPECT_EQ(left, QStringList{QStringLiteral("tape.m4a")});
                    break;
                }
                ++kills;
                // Killed before the copy was named, or after (the report of it is written last).
                const bool before = written == (force ? QByteArray("old") : QByteArray());
                EXPECT_TRUE(before || written == bytes);
                EXPECT_EQ(left, before && !force ? QStringList() : QStringList{QStringLiteral("tape.m4a")});
            }
        }
        EXPECT_GE(kills, 6);
    }
}

} // namespace
