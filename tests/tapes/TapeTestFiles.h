#pragma once

#include <QString>
#include <QTemporaryDir>

namespace spindrel::test {

/// Tape files made by ffmpeg as the recorder writes them ('moov' last, movie timescale = sample
/// rate), encoded once per kind and process.
struct TapeFileKind
{
    QString quality; // "HQ", "MQ" or "LQ"
    bool stereo = true;
    double seconds = 1.0;
};

/// Copies a tape of that kind to `path`; false when ffmpeg failed.
bool makeTapeFile(const QString& path, const TapeFileKind& kind = {QStringLiteral("LQ"), true, 1.0});

/// Writes the file, making its folder; reads a file whole ("<missing>" when it cannot).
QString writeFile(const QString& path, const QByteArray& contents);
QByteArray readFile(const QString& path);

/// Runs a program; its exit status (-1 when it could not start) and standard output.
int runProgram(const QString& program, const QStringList& arguments, QByteArray* output = nullptr);

} // namespace spindrel::test
