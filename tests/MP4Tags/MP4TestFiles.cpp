#include "MP4Tags/MP4TestFiles.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QJsonDocument>
#include <QProcess>
#include <QtEndian>
#include <map>
#include <stdexcept>

namespace mp4test {

int run(const QString& program, const QStringList& arguments, QByteArray* output, QByteArray* errors)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(60000))
        throw std::runtime_error("did not finish: " + program.toStdString());
    if (output)
        *output = process.readAllStandardOutput();
    if (errors)
        *errors = process.readAllStandardError();
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

QStringList words(const char* text)
{
    return QString::fromLatin1(text).split(u' ');
}

void makeFFmpegFile(const QString& path, const QStringList& arguments)
{
    QByteArray errors;
    if (run(QStringLiteral("ffmpeg"), words("-v error -y") + arguments << path, nullptr, &errors) != 0)
        throw std::runtime_error("ffmpeg failed: " + errors.toStdString());
}

QString madeOnce(const QString& name, const std::function<void(const QString&)>& make)
{
    static QTemporaryDir folder;
    static std::map<QString, QString> made;
    QString& path = made[name];
    if (path.isEmpty()) {
        make(folder.filePath(name));
        path = folder.filePath(name);
    }
    return path;
}

QByteArray toneFile(const char* codec, bool moovFirst)
{
    QStringList arguments = words("-f lavfi -i sine=frequency=440:duration=0.5 -ac 2 -c:a") << words(codec);
    if (moovFirst)
        arguments << words("-movflags +faststart");
    const QString name =
        QString::fromLatin1(codec) + (moovFirst ? QStringLiteral("-first.m4a") : QStringLiteral("-last.m4a"));
    return readFile(madeOnce(name, [&](const QString& path) { makeFFmpegFile(path, arguments); }));
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("cannot read " + path.toStdString());
    return file.readAll();
}

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
        throw std::runtime_error("cannot write " + path.toStdString());
}

template <typename T> QByteArray bigEndian(T value)
{
    QByteArray bytes(sizeof(T), '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}
QByteArray be32(quint32 value)
{
    return bigEndian(value);
}
QByteArray be64(quint64 value)
{
    return bigEndian(value);
}

QByteArray box(const char* type, const QByteArray& payload)
{
    return be32(quint32(8 + payload.size())) + QByteArray(type, 4) + payload;
}

QList<BoxAt> boxesIn(const QByteArray& file, qint64 start, qint64 end)
{
    if (end < 0)
        end = file.size();
    QList<BoxAt> boxes;
    for (qint64 p = start; p + 8 <= end;) {
        BoxAt found{file.mid(p + 4, 4), p, qFromBigEndian<quint32>(file.constData() + p)};
        if (found.size == 1 && p + 16 <= end) {
            found.size = qint64(qFromBigEndian<quint64>(file.constData() + p + 8));
            found.header = 16;
        } else if (found.size == 0) {
            found.size = end - p;
        }
        if (found.size < found.header)
            break;
        boxes << found;
        p += found.size;
    }
    return boxes;
}

BoxAt topLevelBox(const QByteArray& file, const QByteArray& type)
{
    for (const BoxAt& found : boxesIn(file))
        if (found.type == type)
            return found;
    return {};
}

Span findAtom(const QByteArray& file, const QList<QByteArray>& path, const Span& within)
{
    qint64 start = within.offset < 0 ? 0 : within.offset + 8;
    qint64 end = within.offset < 0 ? file.size() : within.offset + within.size;
    Span found;
    for (const QByteArray& type : path) {
        found = {};
        for (const BoxAt& candidate : boxesIn(file, start, end)) {
            if (candidate.type == type) {
                found = candidate.span();
                start = candidate.payload() + (type == "meta" ? 4 : 0);
                end = candidate.offset + candidate.size;
                break;
            }
        }
        if (found.offset < 0)
            return found;
    }
    return found;
}

namespace {
// The 'stco' or 'co64' of every track, in track order.
QList<Span> chunkOffsetTables(const QByteArray& file)
{
    const Span moov = findAtom(file, {"moov"});
    QList<Span> tables;
    for (const BoxAt& trak : boxesIn(file, moov.offset + 8, moov.offset + moov.size)) {
        if (trak.type != "trak")
            continue;
        for (const char* type : {"stco", "co64"}) {
            const Span table = findAtom(file, {"mdia", "minf", "stbl", type}, trak.span());
            if (table.offset >= 0)
                tables << table;
        }
    }
    return tables;
}

// Pointers to the entries of a table and their width in bytes.
QList<std::pair<qint64, int>> tableEntries(const QByteArray& file, const Span& table)
{
    const int width = file.mid(table.offset + 4, 4) == "co64" ? 8 : 4;
    QList<std::pair<qint64, int>> entries;
    const quint32 count = qFromBigEndian<quint32>(file.constData() + table.offset + 12);
    for (quint32 i = 0; i < count && table.offset + 16 + (i + 1) * width <= file.size(); ++i)
        entries << std::pair{table.offset + 16 + i * width, width};
    return entries;
}
quint64 entryAt(const QByteArray& file, const std::pair<qint64, int>& entry)
{
    const char* at = file.constData() + entry.first;
    return entry.second == 8 ? qFromBigEndian<quint64>(at) : qFromBigEndian<quint32>(at);
}
} // namespace

QList<QList<quint64>> trackChunkOffsets(const QByteArray& file)
{
    QList<QList<quint64>> tracks;
    for (const Span& table : chunkOffsetTables(file)) {
        tracks << QList<quint64>{};
        for (const auto& entry : tableEntries(file, table))
            tracks.back() << entryAt(file, entry);
    }
    return tracks;
}

void shiftChunkOffsets(QByteArray& file, qint64 delta)
{
    for (const Span& table : chunkOffsetTables(file)) {
        for (const auto& entry : tableEntries(file, table)) {
            const quint64 moved = entryAt(file, entry) + delta;
            file.replace(entry.first, entry.second, entry.second == 8 ? be64(moved) : be32(quint32(moved)));
        }
    }
}

QList<quint64> chunkOffsets(const QByteArray& file)
{
    return trackChunkOffsets(file).value(0);
}

QByteArray coverPng()
{
    QImage image(24, 16, QImage::Format_RGB32);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, qRgb(x * 10, y * 15, (x * y * 7) % 256));
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return buffer.data();
}

QJsonObject probeFile(const QString& path)
{
    QByteArray output;
    run(QStringLiteral("ffprobe"),
        words("-v error -show_format -show_streams -show_chapters -of json") << path, &output);
    return QJsonDocument::fromJson(output).object();
}

QByteArray packetDigest(const QString& path)
{
    QByteArray output;
    QByteArray errors;
    // 'V' leaves out attached pictures: cover art is a stream to ffmpeg, and the edits add it.
    const QStringList streams = words("-map 0 -map -0:v -map 0:V? -c copy");
    const QStringList arguments = words("-v error -i") << path << streams + words("-f md5 -") << streams
                                                       << words("-f streamhash -");
    const int status = run(QStringLiteral("ffmpeg"), arguments, &output, &errors);
    return status == 0 && errors.trimmed().isEmpty() ? output.trimmed() : QByteArray();
}

QJsonObject mutagenTags(const QString& path)
{
    const char* script = R"py(import json, sys, mutagen.mp4 as m
def show(v):
    if isinstance(v, m.MP4Cover): return "cover %d %d" % (v.imageformat, len(v))
    if isinstance(v, bytes): return v.decode("utf-8", "replace")
    if isinstance(v, tuple): return "/".join(map(str, v))
    return str(v)
print(json.dumps({k: [show(v) for v in vs] for k, vs in (m.MP4(sys.argv[1]).tags or {}).items()})))py";
    QByteArray output;
    QByteArray errors;
    // Debian's interpreter, the one its python3-mutagen is installed for.
    if (run(QStringLiteral("/usr/bin/python3"), {QStringLiteral("-c"), QString::fromLatin1(script), path},
            &output, &errors) != 0)
        return {{QStringLiteral("error"), QString::fromUtf8(errors.trimmed().split('\n').last())}};
    return QJsonDocument::fromJson(output).object();
}

QByteArray decodedAudioDigest(const QString& path)
{
    QByteArray output;
    QByteArray errors;
    const QStringList arguments = words("-v error -i")
                                  << path << words("-map 0 -f null /dev/null -map 0:a -f md5 -");
    const int status = run(QStringLiteral("ffmpeg"), arguments, &output, &errors);
    return status == 0 && errors.trimmed().isEmpty() ? output.trimmed() : QByteArray();
}

} // namespace mp4test
