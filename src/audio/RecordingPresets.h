#pragma once

#include "audio/VORLAudioStreamBasicDescription.h"

#include <QString>
#include <QStringList>
#include <memory>

namespace spindrel {

class VORLAudioDevice;
class VORLExtendedAudioFile;

/// The three recording qualities as formats: "HQ" Apple Lossless, "MQ" AAC 128000 bit/s at
/// 44100 Hz, "LQ" AAC 48000 bit/s at 22050 Hz. With the sample rate locked (the default) "HQ"
/// records 16-bit samples at 44100 Hz; unlocked, the device's rate and 24 bits.
class RecordingPresets
{
public:
    /// "HQ", "MQ", "LQ", in display order.
    static QStringList qualities();
    static bool isQuality(const QString& quality);
    /// Hz; 0 for "HQ" when the rate is not locked (the device's is used) and for unknown names.
    static unsigned sampleRateForQuality(const QString& quality, bool lockSampleRate = true);
    /// bit/s; 0 for "HQ" and unknown names.
    static unsigned bitrateForQuality(const QString& quality);
    /// The completed stream format for a quality. Unknown names give AAC.
    static VORLAudioStreamBasicDescription streamDescriptionForQuality(const QString& quality, bool stereo,
                                                                       bool lockSampleRate = true);
    /// A file open for recording `quality` from `device`; null (and the reason logged and put in
    /// `error`) when it cannot be made.
    static std::shared_ptr<VORLExtendedAudioFile>
    audioFileForRecordingWithFilename(const QString& filename, const QString& quality, bool stereo,
                                      const VORLAudioDevice& device, bool lockSampleRate = true,
                                      QString* error = nullptr);
};

} // namespace spindrel
