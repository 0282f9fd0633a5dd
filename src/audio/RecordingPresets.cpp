#include "audio/RecordingPresets.h"

#include "audio/AudioException.h"
#include "audio/VORLExtendedAudioFile.h"
#include "foundation/Log.h"

namespace spindrel {

namespace {
const QString kHQ = QStringLiteral("HQ");
const QString kMQ = QStringLiteral("MQ");
const QString kLQ = QStringLiteral("LQ");
} // namespace

QStringList RecordingPresets::qualities()
{
    return {kHQ, kMQ, kLQ};
}

bool RecordingPresets::isQuality(const QString& quality)
{
    return qualities().contains(quality);
}

unsigned RecordingPresets::sampleRateForQuality(const QString& quality, bool lockSampleRate)
{
    if (quality == kMQ)
        return 44100;
    if (quality == kLQ)
        return 22050;
    if (quality == kHQ && lockSampleRate)
        return 44100;
    return 0;
}

unsigned RecordingPresets::bitrateForQuality(const QString& quality)
{
    if (quality == kMQ)
        return 128000;
    if (quality == kLQ)
        return 48000;
    return 0;
}

VORLAudioStreamBasicDescription
RecordingPresets::streamDescriptionForQuality(const QString& quality, bool stereo, bool lockSampleRate)
{
    VORLAudioStreamBasicDescription description;
    if (quality == kHQ) {
        description = VORLAudioStreamBasicDescription::alacStreamDescription();
        if (lockSampleRate)
            description.setFormatFlags(description.formatFlags() | kAppleLosslessFormatFlag_16BitSourceData);
    } else {
        description = VORLAudioStreamBasicDescription::aacStreamDescription();
    }
    if (!stereo)
        description.setChannelsPerFrame(1);
    description.setSampleRate(double(sampleRateForQuality(quality, lockSampleRate)));
    AudioStreamBasicDescription record = description.audioStreamBasicDescription();
    VORLAudioStreamBasicDescription::completeStreamDescription(record);
    return VORLAudioStreamBasicDescription::streamDescriptionWithAudioStreamBasicDescription(record);
}

std::shared_ptr<VORLExtendedAudioFile>
RecordingPresets::audioFileForRecordingWithFilename(const QString& filename, const QString& quality,
                                                    bool stereo, const VORLAudioDevice& device,
                                                    bool lockSampleRate, QString* error)
{
    try {
        return std::make_shared<VORLExtendedAudioFile>(
            filename, streamDescriptionForQuality(quality, stereo, lockSampleRate),
            int(bitrateForQuality(quality)), device);
    } catch (const AudioException& exception) {
        logError(logSourceName(__FILE__), exception.reason());
        if (error)
            *error = exception.reason();
        return nullptr;
    }
}

} // namespace spindrel
