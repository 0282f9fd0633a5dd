#pragma once

#include <QImage>
#include <QJsonObject>
#include <QString>
#include <QStringList>

// Independent readers and makers of media files for the tests: the ffmpeg command-line tools.
namespace mediatools {

/// Runs a program and returns its standard output; empty when it fails.
QByteArray run(const QString& program, const QStringList& arguments);

/// A sine tape of `seconds` made by ffmpeg: AAC at `sampleRate` with `channels` channels.
bool makeTape(const QString& path, double seconds, int sampleRate = 22050, int channels = 1);

/// ffprobe's view of a file's streams (and, with `packets`, of its video packets), as JSON.
QJsonObject probe(const QString& path, bool packets = false);

/// The video frame number `frame` decoded to RGB32.
QImage decodeFrame(const QString& path, int frame);

/// The mean volume in dB of a file's audio, as ffmpeg's volumedetect reports it.
double meanVolume(const QString& path);

} // namespace mediatools
