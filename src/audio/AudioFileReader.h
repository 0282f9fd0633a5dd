#pragma once

#include <QString>
#include <cstdint>
#include <memory>

namespace spindrel {

/// Random access to the samples of an audio file as interleaved float frames at the file's own
/// rate (more than two channels are mixed down to two). Reading on from where the last read
/// ended decodes on; any other position seeks. Not thread-safe: one reader per thread.
class AudioFileReader
{
public:
    /// Throws AudioException when the file cannot be opened or holds no audio.
    explicit AudioFileReader(const QString& filename);
    ~AudioFileReader();

    AudioFileReader(const AudioFileReader&) = delete;
    AudioFileReader& operator=(const AudioFileReader&) = delete;

    int sampleRate() const;
    int channels() const;
    int64_t totalFrames() const;

    /// Reads up to `frames` frames starting at frame `start` into `out` (channels() floats per
    /// frame). Returns the number read; fewer at the end of the file, 0 past it.
    int64_t read(int64_t start, int64_t frames, float* out);

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};

} // namespace spindrel
