#include "tapes/MusicLibraryPlaylist.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <cmath>

namespace spindrel {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("spindrel::MusicLibraryPlaylist", text);
}

/// An #EXTINF title ends at the line's end, so line breaks in a tape's title become spaces.
QString singleLine(const QString& text)
{
    QString line = text;
    line.replace(QLatin1Char('\r'), QLatin1Char(' ')).replace(QLatin1Char('\n'), QLatin1Char(' '));
    return line.trimmed();
}

QStringList entriesOf(const QByteArray& contents)
{
    QStringList entries;
    for (const QString& rawLine : QString::fromUtf8(contents).split(QLatin1Char('\n'))) {
        const QString line = rawLine.trimmed();
        if (!line.isEmpty() && !line.startsWith(QLatin1Char('#')))
            entries.append(line);
    }
    return entries;
}

} // namespace

QString MusicLibraryPlaylist::defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::MusicLocation) + QStringLiteral("/Playlists/") +
           playlistName() + QStringLiteral(".m3u8");
}

QString MusicLibraryPlaylist::playlistName()
{
    return QCoreApplication::translate("MusicLibraryPlaylist", "Spindrel");
}

MusicLibraryPlaylist::MusicLibraryPlaylist(QString path) : mPath(std::move(path)) {}

QStringList MusicLibraryPlaylist::entries() const
{
    QFile file(mPath);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return entriesOf(file.readAll());
}

std::variant<MusicLibraryPlaylist::Outcome, Error>
MusicLibraryPlaylist::addFile(const QString& filePath, double durationSeconds, const QString& title) const
{
    const QFileInfo tapeFile(filePath);
    if (!tapeFile.isFile())
        return SP_ERROR_MESSAGE(tr("“%1” can’t be added to the music library because it no longer exists.")
                                    .arg(tapeFile.fileName()));
    const QString absolute = tapeFile.absoluteFilePath();
    if (absolute.contains(QLatin1Char('\n')) || absolute.contains(QLatin1Char('\r')))
        return SP_ERROR_MESSAGE(tr("“%1” can’t be added to the music library: playlists cannot hold a file "
                                   "name with a line break.")
                                    .arg(tapeFile.fileName()));

    QByteArray contents;
    QFile existing(mPath);
    if (existing.exists()) {
        if (!existing.open(QIODevice::ReadOnly))
            return SP_ERROR_MESSAGE(
                tr("The playlist “%1” can’t be read: %2").arg(mPath, existing.errorString()));
        contents = existing.readAll();
        existing.close();
    }
    if (entriesOf(contents).contains(absolute))
        return Outcome::AlreadyListed;

    if (!contents.startsWith("#EXTM3U"))
        contents.prepend("#EXTM3U\n");
    if (!contents.endsWith('\n'))
        contents.append('\n');
    const long seconds = durationSeconds > 0 ? std::lround(durationSeconds) : -1;
    contents += "#EXTINF:" + QByteArray::number(qint64(seconds)) + ',' +
                singleLine(title.isEmpty() ? tapeFile.completeBaseName() : title).toUtf8() + '\n' +
                absolute.toUtf8() + '\n';

    if (!QDir().mkpath(QFileInfo(mPath).absolutePath()))
        return SP_ERROR_MESSAGE(
            tr("The playlist folder “%1” can’t be made.").arg(QFileInfo(mPath).absolutePath()));
    QSaveFile playlist(mPath);
    if (!playlist.open(QIODevice::WriteOnly) || playlist.write(contents) != contents.size() ||
        !playlist.commit())
        return SP_ERROR_MESSAGE(
            tr("The playlist “%1” can’t be written: %2").arg(mPath, playlist.errorString()));
    return Outcome::Added;
}

} // namespace spindrel
