#include "tapes/TapeExport.h"

#include "tapes/FileCopy.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace spindrel {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("spindrel::TapeExport", text);
}

} // namespace

std::optional<Error> TapeExport::exportFile(const QString& source, const QString& destination,
                                            ExistingFile existing, const std::atomic<bool>* cancelled)
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

    const FileCopy::Result copied =
        FileCopy::copy(source, destination, existing == ExistingFile::Replace, cancelled);
    switch (copied.outcome) {
    case FileCopy::Outcome::Copied:
        break;
    case FileCopy::Outcome::DestinationExists:
        return failure(tr("a file of that name is already there."));
    case FileCopy::Outcome::Cancelled:
        return failure(tr("the export was cancelled."));
    case FileCopy::Outcome::Failed:
        return failure(copied.reason);
    }
    return std::nullopt;
}

} // namespace spindrel
