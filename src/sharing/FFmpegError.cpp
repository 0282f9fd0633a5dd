#include "sharing/FFmpegError.h"

extern "C" {
#include <libavutil/error.h>
}

#include <cerrno>

namespace spindrel {

QString FFmpegError::describe(int averror)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(averror, text, sizeof text);
    return QString::fromUtf8(text);
}

Error FFmpegError::fromCode(int averror, const QString& what)
{
    const QString description =
        what.isEmpty() ? describe(averror) : QStringLiteral("%1: %2").arg(what, describe(averror));
    QVariantMap userInfo{{Error::DescriptionKey, description}};
    // AVERROR(e) is -e for system errors; the library's own codes are tags far outside that range.
    if (averror < 0 && averror > -4096)
        return Error(Error::PosixDomain, -averror, userInfo);
    return Error(Domain, averror, userInfo);
}

} // namespace spindrel
