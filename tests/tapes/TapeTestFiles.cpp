#include "TapeTestFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
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

QString writeFile(const QString& path, const QByteArray& contents)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size())
        return {};
    return path;
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
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
        const QString codec = lossless
                                  ? QStringLiteral("alac -sample_fmt s16p")
                                  : QStringLiteral("aac -b:a ") + (kind.quality == "MQ" ? "128k" : "48k");
        const QStringList args =
            QStringLiteral(
                "-v error -y -f lavfi -i sine=frequency=440:sample_rate=%1:duration=%2 -ac %3 -c:a %4 "
                "-movie_timescale %1 -f ipod")
                .arg(rate)
                .arg(kind.seconds)
                .arg(kind.stereo ? 2 : 1)
                .arg(codec)
                .split(u' ')
            << file;
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
