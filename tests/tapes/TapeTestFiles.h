#pragma once

#include <QString>
#include <QTemporaryDir>
#include <functional>

namespace spindrel::test {

/// Tape files made by ffmpeg as the recorder writes them ('moov' last, movie timescale = sample
/// rate), encoded once per kind and process.
struct TapeFileKind
{
    QString quality; // "HQ", "MQ" or "LQ"
    bool stereo = true;
    double seconds = 1.0;
    bool moovFirst = false; // 'moov' before 'mdat', as ffmpeg's faststart writes it
};

/// Copies a tape of that kind to `path`; false when ffmpeg failed.
bool makeTapeFile(const QString& path, const TapeFileKind& kind = {QStringLiteral("LQ"), true, 1.0});

/// Writes the file, making its folder; reads a file whole ("<missing>" when it cannot).
QString writeFile(const QString& path, const QByteArray& contents);
QByteArray readFile(const QString& path);

/// Runs a program; its exit status (-1 when it could not start) and standard output.
int runProgram(const QString& program, const QStringList& arguments, QByteArray* output = nullptr);

/// Makes a FIFO at the path; false when it cannot.
bool makeFifo(const QString& path);

/// Runs `work` on a thread of its own and waits for it, generously. Work that is still running
/// then is taken to be stuck on the FIFO, which is opened for writing and closed again so that the
/// work can end; false in that case. Either way the work has ended on return.
bool finishesWithoutTheFifo(const QString& fifo, const std::function<void()>& work, int seconds = 120);

} // namespace spindrel::test
