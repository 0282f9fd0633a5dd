// Tapes for the benchmarks: a tone encoded by ffmpeg, as the deck's own recordings are AAC in an
// MPEG-4 audio file.
#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

namespace spindrel::bench {

/// A 440 Hz tone of `seconds` at `sampleRate` as AAC at `bitrate` ("48k"), with `extra` options
/// for the output (metadata, layout); false when ffmpeg failed.
inline bool encodeTone(const QString& path, int sampleRate, int seconds, const QString& bitrate,
                       const QStringList& extra = {})
{
    QStringList arguments{
        QStringLiteral("-v"),
        QStringLiteral("error"),
        QStringLiteral("-y"),
        QStringLiteral("-f"),
        QStringLiteral("lavfi"),
        QStringLiteral("-i"),
        QStringLiteral("sine=frequency=440:sample_rate=%1:duration=%2").arg(sampleRate).arg(seconds),
        QStringLiteral("-c:a"),
        QStringLiteral("aac"),
        QStringLiteral("-b:a"),
        bitrate};
    arguments << extra << QStringLiteral("-f") << QStringLiteral("ipod") << path;
    return QProcess::execute(QStringLiteral("ffmpeg"), arguments) == 0;
}

} // namespace spindrel::bench
