#pragma once

#include <QString>
#include <stdexcept>

namespace spindrel {

/// Raised by the audio layer's constructors when a file, device or the sound server cannot be used.
/// The deck catches it around player and meter creation and logs `reason()`.
class AudioException : public std::runtime_error
{
public:
    explicit AudioException(const QString& reason);

    QString reason() const { return mReason; }

private:
    QString mReason;
};

} // namespace spindrel
