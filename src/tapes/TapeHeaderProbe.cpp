// The tape's header probe: duration, sample rate, bit rate and channels from the movie header and
// the stream descriptor, without decoding audio.
#include "MP4Tags/MP4FileAtom.h"
#include "MP4Tags/PositionedIO.h"
#include "foundation/Assertion.h"
#include "foundation/Log.h"
#include "tapes/Tape.h"
#include "tapes/TapeQuality.h"

#include <QFile>
#include <QtEndian>
#include <fcntl.h>
#include <unistd.h>

namespace spindrel {

namespace {

quint32 wordAt(const QByteArray& bytes, qsizetype at)
{
    if (at < 0 || at + 4 > bytes.size())
        return 0;
    return qFromBigEndian<quint32>(bytes.constData() + at);
}

quint8 byteAt(const QByteArray& bytes, qsizetype at)
{
    return at >= 0 && at < bytes.size() ? quint8(bytes.at(at)) : 0;
}

} // namespace

void Tape::parseMP4FileHeaders()
{
    const QByteArray path = QFile::encodeName(mFilename);
    const int fileHandle = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (fileHandle < 0)
        return;
    // Closed on every path: nothing depends on the descriptor staying open.
    struct Closer
    {
        int fd;
        ~Closer() { ::close(fd); }
    } closer{fileHandle};
    const ReadAheadScope readAhead(fileHandle);
    parseMP4FileHeaders(fileHandle);
}

void Tape::parseMP4FileHeaders(int fileHandle)
{
    const auto moov = MP4FileAtom::withType(fourCC("moov"), fileHandle);
    const auto mvhd = moov ? moov->childFileAtomWithType(fourCC("mvhd")) : nullptr;
    if (!mvhd)
        return;

    const QByteArray header = mvhd->childData();
    const bool version0 = wordAt(header, 0) == 0;
    const quint32 timescale = wordAt(header, version0 ? 12 : 28);
    const quint32 duration = wordAt(header, version0 ? 16 : 32);
    mDuration = double(float(duration) / float(timescale));
    mSamplerate = timescale;

    std::shared_ptr<MP4FileAtom> stsd = moov->childFileAtomWithType(fourCC("trak"));
    for (const uint32_t type : {fourCC("mdia"), fourCC("minf"), fourCC("stbl"), fourCC("stsd")}) {
        if (!stsd)
            break;
        stsd = stsd->childFileAtomWithType(type);
    }
    if (!stsd) {
        Q_EMIT headersChanged();
        return;
    }
    (void)wordAt(stsd->childData(), 12); // the sample entry's format; the byte scan below finds it anyway

    if (const auto mp4a = stsd->findChildFileAtomWithType(fourCC("mp4a"))) {
        if (const auto esds = mp4a->findChildFileAtomWithType(fourCC("esds")))
            parseESDS(esds->childData());
    }
    mQuality = TapeQuality::qualityForBitrate(mBitrate, sampleRate(), mStereo);
    Q_EMIT headersChanged();
}

void Tape::parseESDS(const QByteArray& esds)
{
    if (wordAt(esds, 0) != 0) {
        logError(logSourceName(__FILE__), QStringLiteral("Encountered unexpected ESDS version. Bailing."));
        return;
    }
    if (esds.size() < 9)
        return;
    // Only the four-byte size form (80 80 80 NN) is recognised; anything else ends the walk.
    qsizetype p = 4;
    while (p + 4 < esds.size()) {
        switch (wordAt(esds, p)) {
        case 0x03808080: // ES descriptor
            p += 8;
            break;
        case 0x04808080: // decoder configuration
            mBitrate = wordAt(esds, p + 14);
            p += 18;
            break;
        case 0x05808080: // audio specific configuration: channels in its second byte
            mStereo = (unsigned(byteAt(esds, p + 6)) & 0x70u) > 8u;
            p += 6;
            break;
        default:
            return;
        }
    }
}

} // namespace spindrel
