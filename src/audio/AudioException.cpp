#include "audio/AudioException.h"

namespace spindrel {

AudioException::AudioException(const QString& reason)
    : std::runtime_error(reason.toStdString()), mReason(reason)
{
}

} // namespace spindrel
