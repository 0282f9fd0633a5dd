#include "deck/FileBrowser.h"

#include "foundation/Log.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QFileInfo>

namespace spindrel {

namespace {
QString tr(const char* text)
{
    return QCoreApplication::translate("spindrel::FileBrowser", text);
}
constexpr int kCallTimeoutMs = 3000;
} // namespace

FileBrowser::FileBrowser(ShowItems showItems, OpenFolder openFolder)
    : mShowItems(std::move(showItems)), mOpenFolder(std::move(openFolder))
{
}

bool FileBrowser::showItemsOverDBus(const QStringList& uris, QString* why)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        *why = bus.lastError().message();
        return false;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << uris << QString(); // no startup-notification id
    const QDBusMessage reply = bus.call(call, QDBus::Block, kCallTimeoutMs);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return true;
    *why = reply.errorMessage();
    return false;
}

bool FileBrowser::openWithDesktop(const QUrl& folder)
{
    return QDesktopServices::openUrl(folder);
}

std::optional<Error> FileBrowser::revealFile(const QString& path) const
{
    const QFileInfo file(path);
    if (!file.exists())
        return SP_ERROR_MESSAGE(tr("“%1” can’t be shown because it no longer exists.").arg(file.fileName()));
    QString why;
    if (mShowItems({QUrl::fromLocalFile(file.absoluteFilePath()).toString(QUrl::FullyEncoded)}, &why))
        return std::nullopt;
    logError(QStringLiteral("FileBrowser"), why);
    if (mOpenFolder(QUrl::fromLocalFile(file.absolutePath())))
        return std::nullopt;
    return SP_ERROR_MESSAGE(tr("No file manager could show “%1”. It is in the folder “%2”.")
                                .arg(file.fileName(), file.absolutePath()));
}

} // namespace spindrel
