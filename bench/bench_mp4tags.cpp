// Setting the title of a 1 GiB tape, against TagLib making the same edit on an identical fresh copy
// in the same run, and against cp of the tape. The tape is a real ffmpeg AAC file whose 'mdat' is
// grown to 1 GiB after the samples, sizes kept consistent: with 'moov' after the audio the growth
// is a sparse hole (nothing reads it), with 'moov' before it real bytes that an edit must move.
#include "MP4Tags/MP4Tags.h"
#include "RatioReporter.h"
#include "ToneFile.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QtEndian>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <map>
#include <mp4file.h>
#include <mp4tag.h>
#include <unistd.h>

using namespace spindrel;

namespace {

constexpr qint64 TapeSize = qint64(1) << 30;
const QString Title = QStringLiteral("A tape recorded on a Sunday afternoon");

enum Layout { MoovLast, MoovFirst };

QString workFolder()
{
    static const QString folder = [] {
        QString path = QDir::tempPath() + QStringLiteral("/bench_mp4tags-%1").arg(getpid());
        QDir().mkpath(path);
        return path;
    }();
    return folder;
}

// The small real file as ffmpeg writes it.
const QByteArray& smallTape(Layout layout)
{
    static std::map<Layout, QByteArray> made;
    QByteArray& bytes = made[layout];
    if (bytes.isEmpty()) {
        const QString path = workFolder() + QStringLiteral("/small-%1.m4a").arg(int(layout));
        QStringList options{QStringLiteral("-movie_timescale"), QStringLiteral("44100")};
        if (layout == MoovFirst)
            options << QStringLiteral("-movflags") << QStringLiteral("+faststart");
        if (!spindrel::bench::encodeTone(path, 44100, 5, QStringLiteral("128k"), options))
            qFatal("ffmpeg could not make the tape");
        QFile file(path);
        file.open(QIODevice::ReadOnly);
        bytes = file.readAll();
    }
    return bytes;
}

qint64 topLevelAtom(const QByteArray& bytes, const char* type)
{
    for (qint64 p = 0; p + 8 <= bytes.size(); p += qFromBigEndian<quint32>(bytes.constData() + p)) {
        if (bytes.mid(p + 4, 4) == type)
            return p;
        if (qFromBigEndian<quint32>(bytes.constData() + p) < 8)
            break;
    }
    qFatal("no top-level atom %s", type);
}

// The tape grown to 1 GiB: the audio samples stay where they are and the hole follows them inside
// 'mdat', so no chunk offset changes; with 'moov' last, 'moov' moves to the end of the file.
QString makeTape(Layout layout)
{
    const QByteArray small = smallTape(layout);
    const qint64 mdat = topLevelAtom(small, "mdat");
    const quint32 mdatSize = qFromBigEndian<quint32>(small.constData() + mdat);
    const qint64 hole = TapeSize - small.size();
    QByteArray head = small.left(mdat + mdatSize);
    qToBigEndian(quint32(mdatSize + hole), head.data() + mdat);

    const QString path = workFolder() + QStringLiteral("/tape.m4a");
    const int file = open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_TRUNC, 0644);
    const QByteArray tail = small.mid(mdat + mdatSize);
    if (file < 0 || pwrite(file, head.constData(), size_t(head.size()), 0) != head.size() ||
        pwrite(file, tail.constData(), size_t(tail.size()), head.size() + hole) != tail.size() ||
        ftruncate(file, TapeSize) != 0)
        qFatal("cannot write the tape");
    if (layout == MoovFirst) {
        const QByteArray bytes(1 << 20, '\x5a');
        for (qint64 at = head.size(); at < head.size() + hole; at += bytes.size()) {
            const qint64 count = std::min<qint64>(bytes.size(), head.size() + hole - at);
            if (pwrite(file, bytes.constData(), size_t(count), at) != count)
                qFatal("cannot write the tape");
        }
    }
    close(file);
    return path;
}

void setTitleWithMP4Tags(const QString& path)
{
    if (!MP4Tags::fromFile(path)->setTitle(Title))
        qFatal("MP4Tags did not write");
}

void copyWithCp(const QString& path)
{
    if (QProcess::execute(QStringLiteral("cp"), {path, path + QStringLiteral(".copy")}) != 0)
        qFatal("cp failed");
    QFile::remove(path + QStringLiteral(".copy"));
}

// The same copy made durable, as a rewrite of the tape must be before it replaces the original.
void copyWithCpAndSync(const QString& path)
{
    if (QProcess::execute(QStringLiteral("cp"), {path, path + QStringLiteral(".copy")}) != 0 ||
        QProcess::execute(QStringLiteral("sync"), {path + QStringLiteral(".copy")}) != 0)
        qFatal("cp failed");
    QFile::remove(path + QStringLiteral(".copy"));
}

void setTitleWithTagLib(const QString& path)
{
    TagLib::MP4::File file(QFile::encodeName(path).constData());
    file.tag()->setTitle(TagLib::String(Title.toStdString(), TagLib::String::UTF8));
    if (!file.save())
        qFatal("TagLib did not write");
}

template <void (*edit)(const QString&)> void BM_SetTitle(benchmark::State& state)
{
    const Layout layout = Layout(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        const QString path = makeTape(layout);
        state.ResumeTiming();
        edit(path);
        state.PauseTiming();
        // Removing the copy drops its dirty pages before they reach the disk.
        QFile::remove(path);
        state.ResumeTiming();
    }
    state.SetLabel(layout == MoovFirst ? "moov first" : "moov last");
}

// The second growing edit of a tape the first edit left room in: nothing of the audio moves.
void BM_SecondGrowingEdit(benchmark::State& state)
{
    const QString path = makeTape(MoovFirst);
    auto tags = MP4Tags::fromFile(path);
    if (!tags->setTitle(Title))
        qFatal("MP4Tags did not write");
    QString title = Title;
    for (auto _ : state) {
        title += QLatin1Char('!');
        if (!tags->setTitle(title))
            qFatal("MP4Tags did not write");
    }
    QFile::remove(path);
    state.SetLabel("moov first, 1 byte longer each time");
}

// Each library's edit must read back in the other, or the comparison would mean nothing.
void checkBothEditsAreReal()
{
    for (const Layout layout : {MoovLast, MoovFirst}) {
        QString path = makeTape(layout);
        setTitleWithMP4Tags(path);
        if (TagLib::MP4::File(QFile::encodeName(path).constData()).tag()->title().to8Bit(true) !=
            Title.toStdString())
            qFatal("TagLib does not read the title MP4Tags wrote");
        path = makeTape(layout);
        setTitleWithTagLib(path);
        if (MP4Tags::fromFile(path)->title() != Title)
            qFatal("MP4Tags does not read the title TagLib wrote");
        QFile::remove(path);
    }
}

} // namespace

BENCHMARK(BM_SetTitle<setTitleWithMP4Tags>)
    ->Name("MP4Tags/moovLast")
    ->Arg(MoovLast)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_SetTitle<setTitleWithTagLib>)
    ->Name("TagLib/moovLast")
    ->Arg(MoovLast)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(BM_SetTitle<setTitleWithMP4Tags>)
    ->Name("MP4Tags/moovFirst")
    ->Arg(MoovFirst)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(5);
BENCHMARK(BM_SetTitle<setTitleWithTagLib>)
    ->Name("TagLib/moovFirst")
    ->Arg(MoovFirst)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(5);
BENCHMARK(BM_SetTitle<copyWithCp>)
    ->Name("cp/moovFirst")
    ->Arg(MoovFirst)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(5);
BENCHMARK(BM_SetTitle<copyWithCpAndSync>)
    ->Name("cpAndSync/moovFirst")
    ->Arg(MoovFirst)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(5);
BENCHMARK(BM_SecondGrowingEdit)
    ->Name("MP4Tags/moovFirstSecondEdit")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(50);

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    checkBothEditsAreReal();
    spindrel::bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printRatio("1 GiB tape, moov last, TagLib / MP4Tags ", "MP4Tags/moovLast", "TagLib/moovLast");
    reporter.printRatio("1 GiB tape, moov first, TagLib / MP4Tags", "MP4Tags/moovFirst", "TagLib/moovFirst");
    reporter.printRatio("1 GiB tape, moov first, cp / MP4Tags    ", "MP4Tags/moovFirst", "cp/moovFirst");
    reporter.printRatio("1 GiB tape, moov first, cp+sync / MP4Tags", "MP4Tags/moovFirst",
                        "cpAndSync/moovFirst");
    benchmark::Shutdown();
    QDir(workFolder()).removeRecursively();
    return 0;
}
