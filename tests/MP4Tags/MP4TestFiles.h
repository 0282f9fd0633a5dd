#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

// Real audio files made by ffmpeg, hand-made boxes, and a reader of box bytes that is independent
// of the code under test.
namespace mp4test {

enum class Codec { AAC, ALAC };
enum class Layout { MoovLast, MoovFirst };

/// A one-second stereo tone made by ffmpeg's ipod muxer; 'moov' first also sets the movie
/// timescale to the sample rate, as the recorder does.
void makeAudioFile(const QString& path, Codec codec, Layout layout);

/// Exit status of the program; its standard output and error when asked for.
int run(const QString& program, const QStringList& arguments, QByteArray* output = nullptr,
        QByteArray* errors = nullptr);

QByteArray readFile(const QString& path);
void writeFile(const QString& path, const QByteArray& bytes);

QByteArray be32(quint32 value);
QByteArray be64(quint64 value);
/// A box: big-endian size, type, payload.
QByteArray box(const char* type, const QByteArray& payload = {});

/// Where an atom lies, found by following `path` from the top level ('meta' content starts after
/// its version word). Offset -1 when missing.
struct Span
{
    qint64 offset = -1;
    quint32 size = 0;
};
Span findAtom(const QByteArray& file, const QList<QByteArray>& path);
quint32 sizeAt(const QByteArray& file, const QList<QByteArray>& path);

/// The entries of the first track's 'stco' or 'co64'.
QList<quint64> chunkOffsets(const QByteArray& file);

/// ffprobe's tags of the container.
QJsonObject probeTags(const QString& path);
/// MD5 of the decoded audio; empty when ffmpeg fails or reports any error decoding every stream.
QByteArray decodedAudioDigest(const QString& path);

} // namespace mp4test

#include "foundation/Assertion.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace mp4test {

/// The description of the internal assertion the call raises, or "(none)".
template <typename Call> std::string assertionFrom(Call&& call)
{
    try {
        call();
    } catch (const spindrel::InternalInconsistency& failure) {
        return failure.description();
    }
    return "(none)";
}

/// A test on one file of its own, opened for reading and writing.
class ScratchFileTest : public ::testing::Test
{
protected:
    ~ScratchFileTest() override;
    /// Replaces the file with these bytes and opens it again.
    int openWith(const QByteArray& bytes);
    QByteArray contents() const { return readFile(mPath); }

    QTemporaryDir mDir;
    QString mPath;
    int mFile = -1;
};

} // namespace mp4test
