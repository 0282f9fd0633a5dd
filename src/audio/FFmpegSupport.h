#pragma once

#include <QString>

extern "C" {
#include <libavutil/error.h>
#include <libavutil/log.h>
}

namespace spindrel {

/// FFmpeg's text for an error code.
inline QString ffmpegErrorString(int code)
{
    char buffer[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, buffer, sizeof buffer);
    return QString::fromUtf8(buffer);
}

/// Keeps FFmpeg's progress chatter (encoder statistics at every close) off the terminal; its
/// errors are still shown. Leaves a level somebody chose on purpose alone.
inline void quietenFFmpeg()
{
    if (av_log_get_level() == AV_LOG_INFO)
        av_log_set_level(AV_LOG_ERROR);
}

} // namespace spindrel
