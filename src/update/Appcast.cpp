#include "update/Appcast.h"

#include "update/VersionComparator.h"

#include <QXmlStreamReader>

namespace spindrel {

namespace {

const QString sparkleNamespace = QStringLiteral("http://www.andymatuschak.org/xml-namespaces/sparkle");

bool isSparkle(const QXmlStreamReader& xml, const char* name)
{
    return xml.namespaceUri() == sparkleNamespace && xml.name() == QLatin1String(name);
}

bool isPlain(const QXmlStreamReader& xml, const char* name)
{
    return xml.namespaceUri().isEmpty() && xml.name() == QLatin1String(name);
}

// Reads one <item>; returns false when the item is not for this system.
bool readItem(QXmlStreamReader& xml, AppcastItem& item)
{
    bool forThisSystem = true;
    while (xml.readNextStartElement()) {
        if (isPlain(xml, "title")) {
            item.title = xml.readElementText().trimmed();
        } else if (isPlain(xml, "link")) {
            item.infoURL = QUrl(xml.readElementText().trimmed());
        } else if (isPlain(xml, "description")) {
            item.itemDescription = xml.readElementText().trimmed();
        } else if (isPlain(xml, "pubDate")) {
            item.date = xml.readElementText().trimmed();
        } else if (isSparkle(xml, "releaseNotesLink")) {
            item.releaseNotesURL = QUrl(xml.readElementText().trimmed());
        } else if (isSparkle(xml, "version")) {
            item.versionString = xml.readElementText().trimmed();
        } else if (isSparkle(xml, "shortVersionString")) {
            item.displayVersionString = xml.readElementText().trimmed();
        } else if (isPlain(xml, "enclosure")) {
            const QXmlStreamAttributes attributes = xml.attributes();
            item.fileURL = QUrl(attributes.value(QLatin1String("url")).toString());
            const auto os = attributes.value(sparkleNamespace, QLatin1String("os"));
            if (!os.isEmpty() && os != QLatin1String("linux"))
                forThisSystem = false;
            if (item.versionString.isEmpty())
                item.versionString = attributes.value(sparkleNamespace, QLatin1String("version")).toString();
            if (item.displayVersionString.isEmpty())
                item.displayVersionString =
                    attributes.value(sparkleNamespace, QLatin1String("shortVersionString")).toString();
            xml.skipCurrentElement();
        } else {
            xml.skipCurrentElement();
        }
    }
    if (item.displayVersionString.isEmpty())
        item.displayVersionString = item.versionString;
    return forThisSystem && !item.versionString.isEmpty();
}

} // namespace

Appcast Appcast::fromData(const QByteArray& data)
{
    Appcast appcast;
    QXmlStreamReader xml(data);
    if (!xml.readNextStartElement() || !isPlain(xml, "rss")) {
        appcast.mErrorString = xml.hasError() ? xml.errorString() : QStringLiteral("not an RSS feed");
        return appcast;
    }
    while (xml.readNextStartElement()) {
        if (!isPlain(xml, "channel")) {
            xml.skipCurrentElement();
            continue;
        }
        while (xml.readNextStartElement()) {
            if (!isPlain(xml, "item")) {
                xml.skipCurrentElement();
                continue;
            }
            AppcastItem item;
            if (readItem(xml, item))
                appcast.mItems.append(item);
        }
    }
    if (xml.hasError()) {
        appcast.mErrorString = xml.errorString();
        appcast.mItems.clear();
    }
    return appcast;
}

const AppcastItem* Appcast::bestItem() const
{
    const AppcastItem* best = nullptr;
    for (const AppcastItem& item : mItems)
        if (!best || VersionComparator::compareVersions(item.versionString, best->versionString) > 0)
            best = &item;
    return best;
}

} // namespace spindrel
