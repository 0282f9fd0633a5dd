#include "tapes/Trash.h"

#include "foundation/Error.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QUrl>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace spindrel {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("spindrel::Trash", text);
}

/// The device of `path`, or of its nearest existing ancestor (a trash not made yet).
dev_t deviceOf(QString path)
{
    struct stat info
    {
    };
    while (::stat(QFile::encodeName(path).constData(), &info) != 0) {
        const QString parent = QFileInfo(path).path();
        if (parent == path)
            return 0;
        path = parent;
    }
    return info.st_dev;
}

/// The top of the mount holding `directory`: the last ancestor on the same device.
QString mountTop(const QString& directory, dev_t device)
{
    QString top = directory;
    for (;;) {
        const QString parent = QFileInfo(top).path();
        struct stat info
        {
        };
        if (parent == top || ::stat(QFile::encodeName(parent).constData(), &info) != 0 ||
            info.st_dev != device)
            return top;
        top = parent;
    }
}

bool usableSharedTrash(const QString& sharedTrash)
{
    // A shared .Trash must be a real directory with the sticky bit, or anyone could plant files in it.
    struct stat info
    {
    };
    return ::lstat(QFile::encodeName(sharedTrash).constData(), &info) == 0 && S_ISDIR(info.st_mode) &&
           (info.st_mode & S_ISVTX) != 0;
}

bool makeTrashFolders(const QString& trash)
{
    // The data folder may not exist yet in a fresh account; a volume's top always does.
    if (trash == Trash::homeTrashPath() && !QDir().mkpath(QFileInfo(trash).path()))
        return false;
    for (const QString& folder :
         QStringList{trash, trash + QStringLiteral("/files"), trash + QStringLiteral("/info")}) {
        if (::mkdir(QFile::encodeName(folder).constData(), 0700) != 0 && errno != EEXIST)
            return false;
    }
    return true;
}

bool writeAll(int fd, const QByteArray& bytes)
{
    qsizetype written = 0;
    while (written < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.constData() + written, size_t(bytes.size() - written));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        written += n;
    }
    return true;
}

QString candidateName(const QFileInfo& file, int attempt)
{
    if (attempt == 1)
        return file.fileName();
    const QString suffix = file.suffix();
    const QString stem = suffix.isEmpty() ? file.fileName() : file.completeBaseName();
    return suffix.isEmpty() ? QStringLiteral("%1.%2").arg(stem).arg(attempt)
                            : QStringLiteral("%1.%2.%3").arg(stem).arg(attempt).arg(suffix);
}

} // namespace

QString Trash::homeTrashPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Trash");
}

QString Trash::trashPathForFile(const QString& path)
{
    const QFileInfo file(path);
    const QString directory = file.absolutePath();
    const dev_t device = deviceOf(directory);
    if (device == deviceOf(homeTrashPath()))
        return homeTrashPath();
    const QString top = mountTop(directory, device);
    const QString uid = QString::number(::getuid());
    const QString shared = top + QStringLiteral("/.Trash");
    if (usableSharedTrash(shared))
        return shared + QLatin1Char('/') + uid;
    return top + QStringLiteral("/.Trash-") + uid;
}

std::variant<Trash::Result, Error> Trash::moveToTrash(const QString& path)
{
    const QFileInfo file(path);
    struct stat fileInfo
    {
    };
    if (::lstat(QFile::encodeName(file.absoluteFilePath()).constData(), &fileInfo) != 0)
        return SP_ERROR_MESSAGE(
            tr("“%1” can’t be moved to the trash because it no longer exists.").arg(file.fileName()));

    const QString trash = trashPathForFile(file.absoluteFilePath());
    if (!makeTrashFolders(trash))
        return SP_ERROR_MESSAGE(
            tr("“%1” can’t be moved to the trash: the trash folder “%2” can’t be made (%3).")
                .arg(file.fileName(), trash, Error::systemErrorText(errno)));

    // Inside a volume's own trash the original place is written relative to the volume's top.
    QString originalPath = file.absoluteFilePath();
    if (trash != homeTrashPath()) {
        const QString directory = file.absolutePath();
        originalPath = QDir(mountTop(directory, deviceOf(directory))).relativeFilePath(originalPath);
    }
    const QByteArray info =
        "[Trash Info]\nPath=" + QUrl::toPercentEncoding(originalPath, "/") + "\nDeletionDate=" +
        QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd'T'HH:mm:ss")).toLatin1() + '\n';

    for (int attempt = 1; attempt < 10000; ++attempt) {
        const QString name = candidateName(file, attempt);
        const QString infoPath = trash + QStringLiteral("/info/") + name + QStringLiteral(".trashinfo");
        const QString trashedPath = trash + QStringLiteral("/files/") + name;
        // Creating the info file exclusively is what claims the name.
        const int fd =
            ::open(QFile::encodeName(infoPath).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd < 0 && errno == EEXIST)
            continue;
        if (fd < 0)
            return SP_ERROR_MESSAGE(tr("“%1” can’t be moved to the trash (%2).")
                                        .arg(file.fileName(), Error::systemErrorText(errno)));
        struct stat existing
        {
        };
        if (::lstat(QFile::encodeName(trashedPath).constData(), &existing) == 0) {
            ::close(fd);
            ::unlink(QFile::encodeName(infoPath).constData());
            continue;
        }
        const bool written = writeAll(fd, info);
        const int writeError = errno;
        ::close(fd);
        if (!written) {
            ::unlink(QFile::encodeName(infoPath).constData());
            return SP_ERROR_MESSAGE(tr("“%1” can’t be moved to the trash (%2).")
                                        .arg(file.fileName(), Error::systemErrorText(writeError)));
        }
        if (::rename(QFile::encodeName(file.absoluteFilePath()).constData(),
                     QFile::encodeName(trashedPath).constData()) != 0) {
            const int renameError = errno;
            ::unlink(QFile::encodeName(infoPath).constData());
            return SP_ERROR_MESSAGE(tr("“%1” can’t be moved to the trash (%2).")
                                        .arg(file.fileName(), Error::systemErrorText(renameError)));
        }
        return Result{trashedPath, infoPath};
    }
    return SP_ERROR_MESSAGE(
        tr("“%1” can’t be moved to the trash: no free name is left in it.").arg(file.fileName()));
}

} // namespace spindrel
