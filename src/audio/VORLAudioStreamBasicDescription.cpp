#include "audio/VORLAudioStreamBasicDescription.h"

namespace spindrel {

VORLAudioStreamBasicDescription VORLAudioStreamBasicDescription::aacStreamDescription()
{
    AudioStreamBasicDescription description;
    description.mFormatID = kAudioFormatMPEG4AAC;
    description.mFormatFlags = kMPEG4Object_AAC_LC;
    description.mChannelsPerFrame = 2;
    return VORLAudioStreamBasicDescription(description);
}

VORLAudioStreamBasicDescription VORLAudioStreamBasicDescription::alacStreamDescription()
{
    AudioStreamBasicDescription description;
    description.mFormatID = kAudioFormatAppleLossless;
    description.mChannelsPerFrame = 2;
    return VORLAudioStreamBasicDescription(description);
}

VORLAudioStreamBasicDescription
VORLAudioStreamBasicDescription::streamDescriptionWithAudioStreamBasicDescription(
    const AudioStreamBasicDescription& description)
{
    return VORLAudioStreamBasicDescription(description);
}

bool VORLAudioStreamBasicDescription::completeStreamDescription(AudioStreamBasicDescription& description)
{
    if (description.mChannelsPerFrame == 0)
        description.mChannelsPerFrame = 2;
    switch (description.mFormatID) {
    case kAudioFormatMPEG4AAC:
        // Packets of 1024 frames of variable size: nothing per frame or per channel is fixed.
        if (description.mFormatFlags == 0)
            description.mFormatFlags = kMPEG4Object_AAC_LC;
        description.mFramesPerPacket = 1024;
        description.mBytesPerPacket = 0;
        description.mBytesPerFrame = 0;
        description.mBitsPerChannel = 0;
        return true;
    case kAudioFormatAppleLossless:
        // An open source depth is recorded at 24 bits, the most the encoder keeps.
        if (description.mFormatFlags == 0)
            description.mFormatFlags = kAppleLosslessFormatFlag_24BitSourceData;
        description.mFramesPerPacket = 4096;
        description.mBytesPerPacket = 0;
        description.mBytesPerFrame = 0;
        description.mBitsPerChannel = 0;
        return true;
    case kAudioFormatLinearPCM:
        if (description.mBitsPerChannel == 0)
            description.mBitsPerChannel = 32;
        description.mFramesPerPacket = 1;
        description.mBytesPerFrame = description.mChannelsPerFrame * description.mBitsPerChannel / 8;
        description.mBytesPerPacket = description.mBytesPerFrame;
        return true;
    default:
        return false;
    }
}

int VORLAudioStreamBasicDescription::losslessSourceBits() const
{
    if (!isAppleLossless())
        return 0;
    switch (formatFlags() & 7) {
    case kAppleLosslessFormatFlag_16BitSourceData:
        return 16;
    case kAppleLosslessFormatFlag_20BitSourceData:
        return 20;
    case kAppleLosslessFormatFlag_24BitSourceData:
        return 24;
    case kAppleLosslessFormatFlag_32BitSourceData:
        return 32;
    default:
        return 0;
    }
}

} // namespace spindrel
