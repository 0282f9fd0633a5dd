#pragma once

#include <QList>
#include <QString>
#include <functional>
#include <optional>

namespace spindrel {

class VORLAudioDevice;

/// Helpers shared by the audio commands (devices, play, meter, record-raw).
namespace audiocommands {

/// Zero-based channel numbers from "2,3" (one or two of them); nothing when the text is not such
/// a list.
std::optional<QList<unsigned>> parseChannels(const QString& text);
/// The device for a UID given on the command line, or the default one for the direction.
VORLAudioDevice deviceForUID(const QString& uid, unsigned direction);
/// Calls `interrupted` on the event loop when the user presses Ctrl-C (SIGINT), from now on.
void onInterrupt(std::function<void()> interrupted);
/// "m:ss.mmm" for milliseconds.
QString formatMilliseconds(double milliseconds);

} // namespace audiocommands
} // namespace spindrel
