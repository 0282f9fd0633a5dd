#include "MP4Tags/MP4TestFiles.h"

#include <QFile>
#include <QJsonDocument>
#include <QProcess>
#include <QtEndian>
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

namespace {
QStringList words(const char* text)
{
    return QString::fromLatin1(text).split(u' ');
}
} // namespace

void makeAudioFile(const QString& path, Codec codec, Layout layout)
{
    QStringList arguments =
        words("-v error -y -f lavfi -i sine=frequency=440:duration=1:sample_rate=44100 -ac 2");
    arguments << words(codec == Codec::AAC ? "-c:a aac -b:a 128k" : "-c:a alac");
    if (layout == Layout::MoovFirst)
        arguments << words("-movflags +faststart -movie_timescale 44100");
    QByteArray errors;
    if (run(QStringLiteral("ffmpeg"), arguments << path, nullptr, &errors) != 0)
        throw std::runtime_error("ffmpeg failed: " + errors.toStdString());
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

Span findAtom(const QByteArray& file, const QList<QByteArray>& path)
{
    qint64 start = 0;
    qint64 end = file.size();
    Span found;
    for (const QByteArray& type : path) {
        found = {};
        for (qint64 p = start; p + 8 <= end;) {
            const quint32 size = qFromBigEndian<quint32>(file.constData() + p);
            if (size < 8)
                break;
            if (file.mid(p + 4, 4) == type) {
                found = {p, size};
                break;
            }
            p += size;
        }
        if (found.offset < 0)
            return found;
        start = found.offset + (type == "meta" ? 12 : 8);
        end = found.offset + found.size;
    }
    return found;
}

QList<quint64> chunkOffsets(const QByteArray& file)
{
    const QList<QByteArray> stbl{"moov", "trak", "mdia", "minf", "stbl"};
    QList<quint64> offsets;
    for (const int width : {4, 8}) {
        const Span table = findAtom(file, stbl + QList<QByteArray>{width == 4 ? "stco" : "co64"});
        if (table.offset < 0)
            continue;
        const char* entries = file.constData() + table.offset + 16;
        for (quint32 i = 0, count = qFromBigEndian<quint32>(entries - 4); i < count; ++i)
            offsets << (width == 4 ? qFromBigEndian<quint32>(entries + 4 * i)
                                   : qFromBigEndian<quint64>(entries + 8 * i));
        break;
    }
    return offsets;
}

QJsonObject probeTags(const QString& path)
{
    QByteArray output;
    run(QStringLiteral("ffprobe"), words("-v error -show_entries format_tags -of json") << path, &output);
    return QJsonDocument::fromJson(output)
        .object()[QStringLiteral("format")]
        .toObject()[QStringLiteral("tags")]
        .toObject();
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
