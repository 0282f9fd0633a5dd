#pragma once

#include <QByteArray>
#include <QFile>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

// ffmpeg-made files, hand-made boxes, and a box reader independent of the code under test.
namespace mp4test {

enum class Codec { AAC, ALAC };
enum class Layout { MoovLast, MoovFirst };

/// A one-second stereo tone; 'moov' first also sets the movie timescale to the sample rate.
void makeAudioFile(const QString& path, Codec codec, Layout layout);

int run(const QString& program, const QStringList& arguments, QByteArray* output = nullptr,
        QByteArray* errors = nullptr);

QByteArray readFile(const QString& path);
void writeFile(const QString& path, const QByteArray& bytes);

QByteArray be32(quint32 value);
QByteArray be64(quint64 value);
/// A box: big-endian size, type, payload.
QByteArray box(const char* type, const QByteArray& payload = {});

/// Where the atom at `path` lies ('meta' content starts after its version word); offset -1 if missing.
struct Span
{
    qint64 offset = -1;
    quint32 size = 0;
};
Span findAtom(const QByteArray& file, const QList<QByteArray>& path);
inline quint32 sizeAt(const QByteArray& file, const QList<QByteArray>& path)
{
    return findAtom(file, path).size;
}

/// The entries of the first track's 'stco' or 'co64'.
QList<quint64> chunkOffsets(const QByteArray& file);

QJsonObject probeTags(const QString& path);
/// MD5 of the decoded audio; empty when ffmpeg reports any error.
QByteArray decodedAudioDigest(const QString& path);

// One scratch file, opened for reading and writing.
class ScratchFileTest : public ::testing::Test
{
protected:
    ~ScratchFileTest() override { close(mFile); }
    int openWith(const QByteArray& bytes)
    {
        close(mFile);
        writeFile(mPath, bytes);
        return mFile = open(QFile::encodeName(mPath).constData(), O_RDWR);
    }
    QByteArray contents() const { return readFile(mPath); }

    QTemporaryDir mDir;
    QString mPath = mDir.filePath(QStringLiteral("scratch.bin"));
    int mFile = -1;
};

} // namespace mp4test
