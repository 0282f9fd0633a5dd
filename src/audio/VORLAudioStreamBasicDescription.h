#pragma once

#include "foundation/FourCC.h"

#include <cstdint>

namespace spindrel {

/// The plain stream-format record: 40 bytes, field for field the layout tapes were described with.
struct AudioStreamBasicDescription
{
    double mSampleRate = 0.0;
    uint32_t mFormatID = 0;
    uint32_t mFormatFlags = 0;
    uint32_t mBytesPerPacket = 0;
    uint32_t mFramesPerPacket = 0;
    uint32_t mBytesPerFrame = 0;
    uint32_t mChannelsPerFrame = 0;
    uint32_t mBitsPerChannel = 0;
    uint32_t mReserved = 0;

    bool operator==(const AudioStreamBasicDescription&) const = default;
};
static_assert(sizeof(AudioStreamBasicDescription) == 40);

constexpr uint32_t kAudioFormatMPEG4AAC = fourCC("aac ");
constexpr uint32_t kAudioFormatAppleLossless = fourCC("alac");
constexpr uint32_t kAudioFormatLinearPCM = fourCC("lpcm");

/// Apple Lossless flags: the bit depth of the source samples.
constexpr uint32_t kAppleLosslessFormatFlag_16BitSourceData = 1;
constexpr uint32_t kAppleLosslessFormatFlag_20BitSourceData = 2;
constexpr uint32_t kAppleLosslessFormatFlag_24BitSourceData = 3;
constexpr uint32_t kAppleLosslessFormatFlag_32BitSourceData = 4;

/// AAC flags carry the MPEG-4 audio object type.
constexpr uint32_t kMPEG4Object_AAC_LC = 2;

/// A stream format: the record with getters and setters, and the templates the recorder starts from.
class VORLAudioStreamBasicDescription
{
public:
    VORLAudioStreamBasicDescription() = default;

    /// AAC-LC, two channels; rate to be filled in.
    static VORLAudioStreamBasicDescription aacStreamDescription();
    /// Apple Lossless, two channels, source depth left open (flags 0); rate to be filled in.
    static VORLAudioStreamBasicDescription alacStreamDescription();
    static VORLAudioStreamBasicDescription
    streamDescriptionWithAudioStreamBasicDescription(const AudioStreamBasicDescription& description);

    /// The format-information step: fills in what the format implies (frames per packet, the
    /// lossless source depth when open, bits per channel). Returns false for an unknown format.
    static bool completeStreamDescription(AudioStreamBasicDescription& description);

    AudioStreamBasicDescription audioStreamBasicDescription() const { return mDescription; }

    double sampleRate() const { return mDescription.mSampleRate; }
    void setSampleRate(double hertz) { mDescription.mSampleRate = hertz; }
    uint32_t formatID() const { return mDescription.mFormatID; }
    void setFormatID(uint32_t formatID) { mDescription.mFormatID = formatID; }
    uint32_t formatFlags() const { return mDescription.mFormatFlags; }
    void setFormatFlags(uint32_t flags) { mDescription.mFormatFlags = flags; }
    uint32_t bytesPerPacket() const { return mDescription.mBytesPerPacket; }
    void setBytesPerPacket(uint32_t bytes) { mDescription.mBytesPerPacket = bytes; }
    uint32_t framesPerPacket() const { return mDescription.mFramesPerPacket; }
    void setFramesPerPacket(uint32_t frames) { mDescription.mFramesPerPacket = frames; }
    uint32_t bytesPerFrame() const { return mDescription.mBytesPerFrame; }
    void setBytesPerFrame(uint32_t bytes) { mDescription.mBytesPerFrame = bytes; }
    uint32_t channelsPerFrame() const { return mDescription.mChannelsPerFrame; }
    void setChannelsPerFrame(uint32_t channels) { mDescription.mChannelsPerFrame = channels; }
    uint32_t bitsPerChannel() const { return mDescription.mBitsPerChannel; }
    void setBitsPerChannel(uint32_t bits) { mDescription.mBitsPerChannel = bits; }

    bool isAppleLossless() const { return formatID() == kAudioFormatAppleLossless; }
    bool isAAC() const { return formatID() == kAudioFormatMPEG4AAC; }
    /// Source bit depth of a lossless description (16, 20, 24 or 32), 0 while open.
    int losslessSourceBits() const;

    bool operator==(const VORLAudioStreamBasicDescription&) const = default;

private:
    explicit VORLAudioStreamBasicDescription(const AudioStreamBasicDescription& description)
        : mDescription(description)
    {
    }

    AudioStreamBasicDescription mDescription;
};

} // namespace spindrel
