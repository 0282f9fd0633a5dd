// Tag reading, loading a tape (its tags and its header probe), and writing a title, on arbitrary
// bytes. Besides crashes and sanitizer reports it stops on any exception out of loading or the
// probe, even one the tape would have caught and logged, and on the two promises of a write: either
// the title reads back, or the file is unchanged.
#include "MP4Tags/MP4Tags.h"
#include "foundation/Log.h"
#include "tapes/Tape.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <unistd.h>

using namespace spindrel;

namespace {

// Set when a tape logs an exception it stopped: damaged input reached an assertion.
bool tapeCaughtAnException = false;

QString scratchFile()
{
    QByteArray name = QFile::encodeName(QDir::tempPath() + QStringLiteral("/mp4tags-fuzz-XXXXXX"));
    const int file = mkstemp(name.data());
    if (file < 0)
        std::abort();
    close(file);
    static QByteArray removeAtExit;
    removeAtExit = name;
    std::atexit([] { unlink(removeAtExit.constData()); });
    const QString path = QFile::decodeName(name);
    setLogSink([path](const QString& line) {
        if (line.startsWith(QStringLiteral("(ERROR) Tape : ") + path))
            tapeCaughtAnException = true;
    });
    return path;
}

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void fail(const char* what)
{
    std::fprintf(stderr, "mp4tags fuzz: %s\n", what);
    std::abort();
}

void loadTape(const QString& path)
{
    try {
        Tape tape(path);
        if (tapeCaughtAnException)
            fail("loading the tape raised an exception");
        // The probe once more, outside the tape's own guard.
        tape.parseMP4FileHeaders();
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "mp4tags fuzz: %s\n", exception.what());
        fail("the tape or its header probe threw");
    } catch (...) {
        fail("the tape or its header probe threw");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QString path = scratchFile();
    const QByteArray input(reinterpret_cast<const char*>(data), qsizetype(size));
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(input) != input.size())
            fail("cannot write the scratch file");
    }

    auto tags = MP4Tags::fromFile(path);
    if (!tags)
        fail("cannot open the scratch file");
    (void)tags->title();
    (void)tags->artist();
    (void)tags->lyrics();
    (void)tags->releaseDate();
    (void)tags->coverArt();
    (void)tags->readUUIDAtom(QByteArray::fromHex("400006E876A048ECA380DE5F9E5CAB6C"));
    loadTape(path);

    // The title's length comes from the input, so that items grow, shrink and stay the same.
    const QString title(size > 0 ? data[0] % 48 : 0, QLatin1Char('t'));
    if (tags->setTitle(title)) {
        if (tags->title() != title)
            fail("a written title does not read back");
    } else if (contents(path) != input) {
        fail("a refused write changed the file");
    }
    return 0;
}
