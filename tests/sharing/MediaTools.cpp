#include "sharing/MediaTools.h"

#include <QJsonDocument>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

namespace mediatools {

namespace {

QByteArray runProcess(const QString& program, const QStringList& arguments, bool wantErrorOutput)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(120000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0)
        return {};
    return wantErrorOutput ? process.readAllStandardError() : process.readAllStandardOutput();
}

} // namespace

QByteArray run(const QString& program, const QStringList& arguments)
{
    return runProcess(program, arguments, false);
}

QStringList words(const QString& text)
{
    return text.split(u' ');
}

bool makeTape(const QString& path, double seconds, int sampleRate, int channels)
{
    QProcess process;
    process.start(
        QStringLiteral("ffmpeg"),
        words(QStringLiteral("-loglevel error -y -f lavfi -i sine=frequency=440:sample_rate=%1:duration=%2 "
                             "-ac %3 -c:a aac -b:a 64k")
                  .arg(sampleRate)
                  .arg(seconds)
                  .arg(channels))
            << path);
    return process.waitForFinished(60000) && process.exitCode() == 0;
}

QJsonObject probe(const QString& path, bool packets)
{
    const QStringList arguments =
        words(QStringLiteral("-v error -of json -show_streams -count_frames") +
              (packets ? QStringLiteral(" -show_packets -select_streams v") : QString()))
        << path;
    return QJsonDocument::fromJson(run(QStringLiteral("ffprobe"), arguments)).object();
}

QImage decodeFrame(const QString& path, int frame)
{
    QTemporaryDir dir;
    const QString out = dir.filePath(QStringLiteral("frame.png"));
    run(QStringLiteral("ffmpeg"),
        words(QStringLiteral("-loglevel error -y -i"))
            << path << words(QStringLiteral("-vf select=eq(n\\,%1) -vsync 0 -frames:v 1").arg(frame)) << out);
    return QImage(out).convertToFormat(QImage::Format_RGB32);
}

double meanVolume(const QString& path)
{
    const QStringList arguments = words(QStringLiteral("-hide_banner -i"))
                                  << path << words(QStringLiteral("-map 0:a -af volumedetect -f null -"));
    const QByteArray report = runProcess(QStringLiteral("ffmpeg"), arguments, true);
    const QRegularExpressionMatch match =
        QRegularExpression(QStringLiteral("mean_volume: (-?[0-9.]+) dB")).match(QString::fromUtf8(report));
    return match.hasMatch() ? match.captured(1).toDouble() : 0.0;
}

} // namespace mediatools
