#pragma once

#include <QByteArray>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QUrl>

namespace spindrel {

/// One release in an appcast feed.
struct AppcastItem
{
    QString title;
    /// The version compared with ours (sparkle:version).
    QString versionString;
    /// The version shown to people (sparkle:shortVersionString, else the version).
    QString displayVersionString;
    /// What is new: the item's description (HTML allowed).
    QString itemDescription;
    QUrl releaseNotesURL;
    /// The release's web page (the item's link).
    QUrl infoURL;
    /// The file to download (the enclosure's url).
    QUrl fileURL;
    QString date;

    /// Where to send a person who wants the release: its page, else its file.
    QUrl downloadURL() const { return infoURL.isValid() ? infoURL : fileURL; }
};

/// A Sparkle-format RSS feed of releases.
class Appcast
{
public:
    /// Reads a feed. Items for another operating system (sparkle:os other than "linux") and items
    /// without a version are left out. On malformed XML the result is empty and errorString() says why.
    static Appcast fromData(const QByteArray& data);

    const QList<AppcastItem>& items() const { return mItems; }
    QString errorString() const { return mErrorString; }
    /// The item with the highest version, or null when there is none.
    const AppcastItem* bestItem() const;

private:
    QList<AppcastItem> mItems;
    QString mErrorString;
};

} // namespace spindrel

Q_DECLARE_METATYPE(spindrel::AppcastItem)
