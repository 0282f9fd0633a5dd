#pragma once

#include <QByteArray>
#include <QFile>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <unistd.h>

// ffmpeg-made files, hand-made boxes, and a box reader independent of the code under test.
namespace mp4test {

QStringList words(const char* text);

/// Runs ffmpeg quietly with `arguments` and the output `path`; throws when it fails.
void makeFFmpegFile(const QString& path, const QStringList& arguments);
/// The file `make` writes to the path it is given, made once per test binary under `name`.
QString madeOnce(const QString& name, const std::function<void(const QString&)>& make);
/// Half a second of a stereo tone made by ffmpeg ("aac" or "alac"), with 'moov' first or last.
QByteArray toneFile(const char* codec, bool moovFirst = false);

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
/// The search starts in the content of `within`, or at the top of the file.
Span findAtom(const QByteArray& file, const QList<QByteArray>& path, const Span& within = {});

/// A box read with every size form: size word 1 (a 64-bit size follows) and 0 (to the end).
struct BoxAt
{
    QByteArray type;
    qint64 offset = -1;
    qint64 size = 0;
    int header = 8;
    qint64 payload() const { return offset + header; }
    Span span() const { return {offset, quint32(size)}; }
};
/// The boxes from `start` to `end` (-1: the end of the file); stops at bytes that are no box.
QList<BoxAt> boxesIn(const QByteArray& file, qint64 start = 0, qint64 end = -1);
/// The first top-level box of this type; offset -1 if missing.
BoxAt topLevelBox(const QByteArray& file, const QByteArray& type);
/// The entries of every track's chunk offsets table.
QList<QList<quint64>> trackChunkOffsets(const QByteArray& file);
/// Moves every entry of every track's table, as when the media moved by `delta`.
void shiftChunkOffsets(QByteArray& file, qint64 delta);

/// The entries of the first track's 'stco' or 'co64'.
QList<quint64> chunkOffsets(const QByteArray& file);

/// A small PNG of varied pixels, as cover art.
QByteArray coverPng();

/// ffprobe's format, streams and chapters.
QJsonObject probeFile(const QString& path);
/// MD5 of the decoded audio; empty when ffmpeg reports any error.
QByteArray decodedAudioDigest(const QString& path);
/// Digests of the packets of every stream but cover art, copied without decoding: they change when
/// any chunk offset is wrong. Empty when ffmpeg reports any error.
QByteArray packetDigest(const QString& path);
/// Every item as mutagen reads it, each value as text (cover art as "cover FORMAT SIZE"); an object
/// holding only "error" when mutagen cannot read the file.
QJsonObject mutagenTags(const QString& path);

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
