#include "app/LibraryFolder.h"

#include "foundation/Log.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSettings>
#include <QStandardPaths>
#include <QUrl>

namespace spindrel {

namespace {

// The folder icon for file managers that read .directory files (Dolphin and others) and, through
// GIO metadata, for those of GNOME. Desktops without either simply show a plain folder.
void setFolderIcon(const QString& path)
{
    const QString iconDir = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                            QStringLiteral("/icons/hicolor/scalable/places");
    const QString iconPath = iconDir + QStringLiteral("/spindrel-folder.svg");
    if (!QFile::exists(iconPath) && QDir().mkpath(iconDir)) {
        QFile::copy(QStringLiteral(":/icons/spindrel-folder.svg"), iconPath);
        QFile::setPermissions(iconPath,
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    }
    QFile directory(path + QStringLiteral("/.directory"));
    if (!directory.exists() && directory.open(QIODevice::WriteOnly | QIODevice::Text))
        directory.write("[Desktop Entry]\nIcon=spindrel-folder\n");
    const QString gio = QStandardPaths::findExecutable(QStringLiteral("gio"));
    if (!gio.isEmpty() && QFile::exists(iconPath)) {
        QProcess::startDetached(gio, {QStringLiteral("set"), path, QStringLiteral("metadata::custom-icon"),
                                      QUrl::fromLocalFile(iconPath).toString()});
    }
}

} // namespace

QString LibraryFolder::defaultPath()
{
    QString music = QStandardPaths::writableLocation(QStandardPaths::MusicLocation);
    if (music.isEmpty())
        music = QDir::homePath() + QStringLiteral("/Music");
    return music + QStringLiteral("/Spindrel");
}

QString LibraryFolder::currentPath()
{
    const QString stored = QSettings().value(QStringLiteral("TapeLibraryLocation")).toString();
    return stored.isEmpty() ? defaultPath() : stored;
}

bool LibraryFolder::setUp(const QString& path)
{
    if (!QDir().mkpath(path))
        return false;
    setFolderIcon(path);
    logLine(QStringLiteral("Copying welcome tape"));
    const QString welcome = path + QLatin1Char('/') + welcomeTapeName();
    // Copying fails quietly when the tape is there; a deleted welcome tape comes back.
    if (!QFile::exists(welcome) && QFile::copy(QStringLiteral(":/tapes/sp-welcome.m4a"), welcome))
        QFile::setPermissions(welcome,
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    return true;
}

} // namespace spindrel
