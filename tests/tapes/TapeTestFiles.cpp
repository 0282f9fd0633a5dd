#include "TapeTestFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <chrono>
#include <fcntl.h>
#include <future>
#include <map>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

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
    const QString key = QStringLiteral("%1-%2-%3-%4")
                            .arg(kind.quality)
                            .arg(kind.stereo)
                            .arg(kind.seconds)
                            .arg(kind.moovFirst);
    auto found = made.find(key);
    if (found == made.end()) {
        const QString file = cache.filePath(key + QStringLiteral(".m4a"));
        const int rate = kind.quality == QLatin1String("LQ") ? 22050 : 44100;
        const QString codec = kind.quality == QLatin1String("HQ")   ? QStringLiteral("alac -sample_fmt s16p")
                              : kind.quality == QLatin1String("MQ") ? QStringLiteral("aac -b:a 128k")
                                                                    : QStringLiteral("aac -b:a 48k");
        const QStringList args =
            QStringLiteral(
                "-v error -y -f lavfi -i sine=frequency=440:sample_rate=%1:duration=%2 -ac %3 -c:a %4 "
                "-movie_timescale %1 %5-f ipod")
                .arg(rate)
                .arg(kind.seconds)
                .arg(kind.stereo ? 2 : 1)
                .arg(codec)
                .arg(kind.moovFirst ? QStringLiteral("-movflags +faststart ") : QString())
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

bool makeFifo(const QString& path)
{
    return mkfifo(QFile::encodeName(path).constData(), 0644) == 0;
}

bool finishesWithoutTheFifo(const QString& fifo, const std::function<void()>& work, int seconds)
{
    std::packaged_task<void()> task(work);
    std::future<void> done = task.get_future();
    std::thread thread(std::move(task));
    bool finished = done.wait_for(std::chrono::seconds(seconds)) == std::future_status::ready;
    // A reader blocked in open() goes on once a writer comes; one blocked in read() sees the end
    // of the data when that writer leaves. Repeated in case the work opens the FIFO again.
    while (!finished) {
        const int writer = open(QFile::encodeName(fifo).constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        if (writer >= 0)
            close(writer);
        if (done.wait_for(std::chrono::seconds(1)) == std::future_status::ready)
            break;
    }
    thread.join();
    done.get();
    return finished;
}

} // namespace spindrel::test
