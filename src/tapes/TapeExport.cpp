#include "tapes/TapeExport.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace spindrel {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("spindrel::TapeExport", text);
}

constexpr qint64 kChunkBytes = 1 << 20;

/// rename() without replacing: atomic where the file system supports it, link-then-unlink elsewhere.
int renameNoReplace(const QByteArray& from, const QByteArray& to)
{
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return -1;
    if (::link(from.constData(), to.constData()) != 0)
        return -1;
    ::unlink(from.constData());
    return 0;
}

} // namespace

std::optional<Error> TapeExport::exportFile(const QString& source, const QString& destination,
                                            ExistingFile existing)
{
    const QFileInfo sourceInfo(source);
    const QFileInfo destinationInfo(destination);
    const QString name = sourceInfo.fileName();
    auto failure = [&](const QString& reason) {
        return SP_ERROR_MESSAGE(tr("“%1” couldn’t be exported to “%2”: %3").arg(name, destination, reason));
    };

    if (!sourceInfo.isFile())
        return failure(tr("the tape’s file no longer exists."));
    if (destinationInfo.exists() && destinationInfo.canonicalFilePath() == sourceInfo.canonicalFilePath())
        return failure(tr("that is the tape’s own file."));
    if (destinationInfo.exists() && existing == ExistingFile::Keep)
        return failure(tr("a file of that name is already there."));
    if (destinationInfo.isDir())
        return failure(tr("a folder of that name is already there."));

    QFile input(source);
    if (!input.open(QIODevice::ReadOnly))
        return failure(input.errorString());
    QTemporaryFile output(destinationInfo.absolutePath() + QStringLiteral("/.") + destinationInfo.fileName() +
                          QStringLiteral(".XXXXXX"));
    if (!output.open())
        return failure(output.errorString());

    QByteArray chunk;
    for (;;) {
        chunk = input.read(kChunkBytes);
        if (chunk.isEmpty())
            break;
        if (output.write(chunk) != chunk.size())
            return failure(output.errorString()); // the temporary is removed with `output`
    }
    if (input.error() != QFileDevice::NoError)
        return failure(input.errorString());
    if (!output.flush() || ::fsync(output.handle()) != 0)
        return failure(output.errorString().isEmpty() ? QString::fromLocal8Bit(std::strerror(errno))
                                                      : output.errorString());
    output.setPermissions(input.permissions());

    const QByteArray from = QFile::encodeName(output.fileName());
    const QByteArray to = QFile::encodeName(destinationInfo.absoluteFilePath());
    const int renamed = existing == ExistingFile::Replace ? ::rename(from.constData(), to.constData())
                                                          : renameNoReplace(from, to);
    if (renamed != 0) {
        const int error = errno;
        return failure(error == EEXIST ? tr("a file of that name is already there.")
                                       : QString::fromLocal8Bit(std::strerror(error)));
    }
    output.setAutoRemove(false);
    return std::nullopt;
}

} // namespace spindrel
