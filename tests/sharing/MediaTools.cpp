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

bool makeTape(const QString& path, double seconds, int sampleRate, int channels)
{
    QProcess process;
    process.start(
        QStringLiteral("ffmpeg"),
        {QStringLiteral("-loglevel"), QStringLiteral("error"), QStringLiteral("-y"), QStringLiteral("-f"),
         QStringLiteral("lavfi"), QStringLiteral("-i"),
         QStringLiteral("sine=frequency=440:sample_rate=%1:duration=%2").arg(sampleRate).arg(seconds),
         QStringLiteral("-ac"), QString::number(channels), QStringLiteral("-c:a"), QStringLiteral("aac"),
         QStringLiteral("-b:a"), QStringLiteral("64k"), path});
    return process.waitForFinished(60000) && process.exitCode() == 0;
}

QJsonObject probe(const QString& path, bool packets)
{
    QStringList arguments{
        QStringLiteral("-v"),   QStringLiteral("error"),         QStringLiteral("-of"),
        QStringLiteral("json"), QStringLiteral("-show_streams"), QStringLiteral("-count_frames")};
    if (packets)
        arguments << QStringLiteral("-show_packets") << QStringLiteral("-select_streams")
                  << QStringLiteral("v");
    arguments << path;
    return QJsonDocument::fromJson(run(QStringLiteral("ffprobe"), arguments)).object();
}

QImage decodeFrame(const QString& path, int frame)
{
    QTemporaryDir dir;
    const QString out = dir.filePath(QStringLiteral("frame.png"));
    run(QStringLiteral("ffmpeg"),
        {QStringLiteral("-loglevel"), QStringLiteral("error"), QStringLiteral("-y"), QStringLiteral("-i"),
         path, QStringLiteral("-vf"), QStringLiteral("select=eq(n\\,%1)").arg(frame),
         QStringLiteral("-vsync"), QStringLiteral("0"), QStringLiteral("-frames:v"), QStringLiteral("1"),
         out});
    return QImage(out).convertToFormat(QImage::Format_RGB32);
}

double meanVolume(const QString& path)
{
    const QByteArray report =
        runProcess(QStringLiteral("ffmpeg"),
                   {QStringLiteral("-hide_banner"), QStringLiteral("-i"), path, QStringLiteral("-map"),
                    QStringLiteral("0:a"), QStringLiteral("-af"), QStringLiteral("volumedetect"),
                    QStringLiteral("-f"), QStringLiteral("null"), QStringLiteral("-")},
                   true);
    const QRegularExpressionMatch match =
        QRegularExpression(QStringLiteral("mean_volume: (-?[0-9.]+) dB")).match(QString::fromUtf8(report));
    return match.hasMatch() ? match.captured(1).toDouble() : 0.0;
}

} // namespace mediatools
