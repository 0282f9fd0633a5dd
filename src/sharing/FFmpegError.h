#pragma once

#include "foundation/Error.h"

namespace spindrel {

/// Errors of the media libraries as error objects: failures that are a system error number keep
/// the POSIX domain and that number, the others carry the library's own code and text.
class FFmpegError
{
public:
    static inline const QString Domain = QStringLiteral("FFmpegErrorDomain");

    static Error fromCode(int averror, const QString& what);
    /// The library's text for a code ("No such file or directory", "Invalid data found ...").
    static QString describe(int averror);
};

} // namespace spindrel
