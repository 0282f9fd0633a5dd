// A library of tapes as the deck leaves them (a few seconds of MQ audio, title, notes, date,
// quality, letter and a 150 KB cover art), made once in a cache folder that later runs reuse, and
// the means to measure it with a cold page cache.
#pragma once

#include "MP4Tags/MP4Tags.h"
#include "ToneFile.h"
#include "tapes/RecordedQualityTag.h"
#include "tapes/TapeColorScheme.h"
#include "tapes/TapeLetterTag.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRandomGenerator>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace spindrel::bench {

/// A PNG of noise, which does not compress: about 150 KB.
inline QByteArray noiseCoverArt()
{
    QImage image(224, 224, QImage::Format_RGB32);
    QRandomGenerator random(19);
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<quint32*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x)
            line[x] = random.generate() | 0xFF000000u;
    }
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return png;
}

/// The folder of `count` tapes; empty when it cannot be made.
inline QString realTapeLibrary(int count)
{
    // Outside the home folder, which the test services make afresh for every run.
    QString cache = qEnvironmentVariable("SPINDREL_BENCH_CACHE");
    if (cache.isEmpty())
        cache = QStringLiteral("/var/tmp/spindrel-bench");
    // Made again when the way the deck lays out its tags changes: v2 puts the cover art last.
    const QString folder = QStringLiteral("%1/real-tapes-%2-v2").arg(cache).arg(count);
    const QString complete = folder + QStringLiteral("/.complete");
    if (QFile::exists(complete))
        return folder;
    std::fprintf(stderr, "Making %d tapes with 150 KB cover art in %s (once)...\n", count,
                 qPrintable(folder));
    QDir(folder).removeRecursively();
    QDir().mkpath(folder);
    const QString model = folder + QStringLiteral("/.model.m4a");
    // Recorded as the deck records MQ: AAC at 128 kbit/s, the movie counted in samples.
    if (!encodeTone(model, 44100, 3, QStringLiteral("128k"),
                    {QStringLiteral("-ac"), QStringLiteral("2"), QStringLiteral("-movie_timescale"),
                     QStringLiteral("44100")}))
        return {};
    {
        auto tags = MP4Tags::fromFile(model);
        tags->beginEdit();
        tags->setTitle(QStringLiteral("Rehearsal take 00000"));
        tags->setLyrics(QStringLiteral("Second run through the bridge, the tempo a little slower than "
                                       "last week. Check the tuning of the low string before the next "
                                       "take, and keep the amp further from the microphone."));
        tags->setReleaseDate(QStringLiteral("2012-03-04 10:15:00 +0000"));
        tags->setCoverArt(noiseCoverArt());
        writeRecordedQuality(*tags, QStringLiteral("MQ"));
        writeTapeLetter(*tags, TapeLetter(QStringLiteral("R"), TapeColorScheme::colorSchemeWithIndex(3)));
        if (!tags->save())
            return {};
    }
    for (int i = 0; i < count; ++i) {
        const QString path =
            QStringLiteral("%1/Rehearsal %2.m4a").arg(folder).arg(i, 5, 10, QLatin1Char('0'));
        if (!QFile::copy(model, path))
            return {};
        // Titles and dates of one length, so each edit is made in place.
        auto tags = MP4Tags::fromFile(path);
        tags->beginEdit();
        tags->setTitle(QStringLiteral("Rehearsal take %1").arg(i, 5, 10, QLatin1Char('0')));
        tags->setReleaseDate(QStringLiteral("%1-%2-%3 10:15:00 +0000")
                                 .arg(2005 + i % 15)
                                 .arg(1 + i % 12, 2, 10, QLatin1Char('0'))
                                 .arg(1 + i % 28, 2, 10, QLatin1Char('0')));
        if (!tags->save())
            return {};
    }
    QFile::remove(model);
    QFile marker(complete);
    marker.open(QIODevice::WriteOnly);
    return folder;
}

/// Whether this process may empty the page cache (it takes root).
inline bool canDropCaches()
{
    const int file = ::open("/proc/sys/vm/drop_caches", O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return false;
    ::close(file);
    return true;
}

/// Writes what is dirty and empties the page cache, so that the next reads come from the disk.
inline bool dropCaches()
{
    ::sync();
    const int file = ::open("/proc/sys/vm/drop_caches", O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return false;
    const bool dropped = ::write(file, "3", 1) == 1;
    ::close(file);
    return dropped;
}

} // namespace spindrel::bench
