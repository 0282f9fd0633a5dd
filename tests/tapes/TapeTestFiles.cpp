#include "TapeTestFiles.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <map>

namespace spindrel::test {

int runProgram(const QString& program, const QStringList& arguments, QByteArray* output)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(60000))
        return -1;
    if (output)
        *output = process.readAllStandardOutput();
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

bool makeTapeFile(const QString& path, const TapeFileKind& kind)
{
    static QTemporaryDir cache;
    static std::map<QString, QString> made;
    const QString key = QStringLiteral("%1-%2-%3").arg(kind.quality).arg(kind.stereo).arg(kind.seconds);
    auto found = made.find(key);
    if (found == made.end()) {
        const QString file = cache.filePath(key + QStringLiteral(".m4a"));
        const bool lossless = kind.quality == QLatin1String("HQ");
        const int rate = kind.quality == QLatin1String("LQ") ? 22050 : 44100;
        QStringList args{
            QStringLiteral("-v"),
            QStringLiteral("error"),
            QStringLiteral("-y"),
            QStringLiteral("-f"),
            QStringLiteral("lavfi"),
            QStringLiteral("-i"),
            QStringLiteral("sine=frequency=440:sample_rate=%1:duration=%2").arg(rate).arg(kind.seconds),
            QStringLiteral("-ac"),
            kind.stereo ? QStringLiteral("2") : QStringLiteral("1")};
        if (lossless)
            args << QStringLiteral("-c:a") << QStringLiteral("alac") << QStringLiteral("-sample_fmt")
                 << QStringLiteral("s16p");
        else
            args << QStringLiteral("-c:a") << QStringLiteral("aac") << QStringLiteral("-b:a")
                 << (kind.quality == QLatin1String("MQ") ? QStringLiteral("128k") : QStringLiteral("48k"));
        args << QStringLiteral("-movie_timescale") << QString::number(rate) << QStringLiteral("-f")
             << QStringLiteral("ipod") << file;
        if (runProgram(QStringLiteral("ffmpeg"), args) != 0)
            return false;
        found = made.emplace(key, file).first;
    }
    QFile::remove(path);
    return QFile::copy(found->second, path) &&
           QFile::setPermissions(path,
                                 QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
}

} // namespace spindrel::test
