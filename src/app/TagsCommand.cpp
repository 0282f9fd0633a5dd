// spindrel tags FILE [--set-... VALUE] [--json]: shows and edits a file's tags in place.
#include "MP4Tags/MP4FileAtom.h"
#include "MP4Tags/MP4Tags.h"
#include "app/CommandLine.h"
#include "app/CommandOptions.h"
#include "tapes/TapeLetterTag.h"

#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <fcntl.h>
#include <unistd.h>

namespace spindrel {

namespace {

bool hasMovieAtom(const QString& path)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool found = MP4FileAtom::withType(fourCC("moov"), fd) != nullptr;
    ::close(fd);
    return found;
}

QJsonObject describe(const MP4Tags& tags)
{
    QJsonObject json;
    const auto put = [&json](const char* key, const std::optional<QString>& value) {
        json.insert(QLatin1String(key), value ? QJsonValue(*value) : QJsonValue());
    };
    put("title", tags.title());
    put("artist", tags.artist());
    put("album", tags.album());
    put("lyrics", tags.lyrics());
    put("comment", tags.comment());
    put("releaseDate", tags.releaseDate());
    const auto cover = tags.coverArt();
    json.insert(QStringLiteral("coverArtBytes"), cover ? QJsonValue(qint64(cover->size())) : QJsonValue());
    if (cover) {
        const QImage image = QImage::fromData(*cover);
        json.insert(QStringLiteral("coverArtSize"),
                    QStringLiteral("%1x%2").arg(image.width()).arg(image.height()));
    }
    if (const auto letter = readTapeLetter(tags)) {
        json.insert(QStringLiteral("tapeLetter"), letter->letter());
        json.insert(QStringLiteral("color"), letter->colorScheme()->colorName());
        json.insert(QStringLiteral("colorIndex"), int(letter->colorScheme()->index()));
    } else {
        json.insert(QStringLiteral("tapeLetter"), QJsonValue());
        json.insert(QStringLiteral("color"), QJsonValue());
    }
    return json;
}

void printPlain(QTextStream& out, const QJsonObject& json)
{
    const auto text = [&json](const char* key) {
        const QJsonValue value = json.value(QLatin1String(key));
        return value.isNull() ? QStringLiteral("-") : value.toVariant().toString();
    };
    out << "title:       " << text("title") << "\n"
        << "artist:      " << text("artist") << "\n"
        << "album:       " << text("album") << "\n"
        << "lyrics:      " << text("lyrics").replace(QLatin1Char('\n'), QLatin1String("\n             "))
        << "\n"
        << "comment:     " << text("comment") << "\n"
        << "releaseDate: " << text("releaseDate") << "\n"
        << "coverArt:    "
        << (json.value(QStringLiteral("coverArtBytes")).isNull()
                ? QStringLiteral("-")
                : QStringLiteral("%1 bytes, %2").arg(text("coverArtBytes"), text("coverArtSize")))
        << "\n"
        << "tapeLetter:  " << text("tapeLetter") << "\n"
        << "color:       " << text("color") << "\n";
}

int runTags(const QStringList& args)
{
    CommandOptions options(QStringLiteral("tags"),
                           QStringLiteral("FILE [--set-title T] [--set-artist A] "
                                          "[--set-album A] [--set-lyrics L] [--set-comment C] "
                                          "[--set-date D] [--set-cover PNG] [--set-letter X] "
                                          "[--set-color N] [--json]"));
    QCommandLineParser& parser = options.parser();
    const QStringList textOptions{
        QStringLiteral("set-title"),  QStringLiteral("set-artist"),  QStringLiteral("set-album"),
        QStringLiteral("set-lyrics"), QStringLiteral("set-comment"), QStringLiteral("set-date"),
        QStringLiteral("set-cover"),  QStringLiteral("set-letter"),  QStringLiteral("set-color")};
    for (const QString& name : textOptions)
        parser.addOption(QCommandLineOption(name, name, QStringLiteral("value")));
    parser.addOption(QCommandLineOption(QStringLiteral("json")));
    if (!options.parse(args))
        return 2;
    if (options.positional().size() != 1)
        return options.usageError(QStringLiteral("expected one file"));

    const QString path = options.positional().first();
    if (const auto status = options.failUnlessRegularFile(path))
        return *status;
    if (!hasMovieAtom(path))
        return options.fail(QStringLiteral("%1: not an MPEG-4 file (no 'moov' atom)").arg(path));
    auto tags = MP4Tags::fromFile(path);
    if (!tags)
        return options.fail(QStringLiteral("%1: cannot be opened for reading and writing").arg(path));

    // Checked before anything is written, so a bad value leaves the file untouched.
    QByteArray cover;
    if (options.isSet(QStringLiteral("set-cover"))) {
        QFile file(options.value(QStringLiteral("set-cover")));
        if (!file.open(QIODevice::ReadOnly))
            return options.fail(QStringLiteral("%1: %2").arg(file.fileName(), file.errorString()));
        cover = file.readAll();
        if (QImage::fromData(cover, "PNG").isNull())
            return options.fail(QStringLiteral("%1: not a PNG image").arg(file.fileName()));
    }
    int colorIndex = -1;
    if (options.isSet(QStringLiteral("set-color"))) {
        bool ok = false;
        colorIndex = options.value(QStringLiteral("set-color")).toInt(&ok);
        if (!ok || colorIndex < 0 || colorIndex >= int(TapeColorScheme::Count))
            return options.usageError(QStringLiteral("--set-color takes a number from 0 to 7"));
    }

    // Every change goes to the file in one step, or none does.
    tags->beginEdit();
    bool written = true;
    const auto set = [&](const char* option, auto setter) {
        const QString name = QLatin1String(option);
        if (options.isSet(name))
            written = (tags.get()->*setter)(options.value(name)) && written;
    };
    set("set-title", &MP4Tags::setTitle);
    set("set-artist", &MP4Tags::setArtist);
    set("set-album", &MP4Tags::setAlbum);
    set("set-lyrics", &MP4Tags::setLyrics);
    set("set-comment", &MP4Tags::setComment);
    set("set-date", &MP4Tags::setReleaseDate);
    if (!cover.isEmpty())
        written = tags->setCoverArt(cover) && written;
    if (options.isSet(QStringLiteral("set-letter")) || colorIndex >= 0) {
        TapeLetter letter = readTapeLetter(*tags).value_or(TapeLetter());
        if (options.isSet(QStringLiteral("set-letter")))
            letter.setLetter(options.value(QStringLiteral("set-letter")));
        if (colorIndex >= 0)
            letter.setColorScheme(TapeColorScheme::colorSchemeWithIndex(unsigned(colorIndex)));
        written = writeTapeLetter(*tags, letter) && written;
    }
    written = tags->save() && written;
    if (!written)
        return options.fail(QStringLiteral("%1: nothing was written: %2").arg(path, tags->errorString()));

    const QJsonObject json = describe(*tags);
    if (options.isSet(QStringLiteral("json")))
        options.out() << QJsonDocument(json).toJson(QJsonDocument::Indented);
    else
        printPlain(options.out(), json);
    return 0;
}

} // namespace

CommandLine::Command tagsCommand()
{
    return {QStringLiteral("tags"), QStringLiteral("FILE [--set-title T ...] [--json]"),
            QStringLiteral(
                "print a file's tags; --set-title, --set-artist, --set-album, --set-lyrics, --set-comment, "
                "--set-date, --set-cover PNG, --set-letter X, --set-color 0-7 write them in place"),
            runTags};
}

} // namespace spindrel
