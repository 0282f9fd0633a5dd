#pragma once

#include "foundation/Error.h"

#include <QString>
#include <QStringList>
#include <QUrl>
#include <functional>
#include <optional>

namespace spindrel {

/// The user's file manager: shows a file selected in its folder through the freedesktop
/// FileManager1 service on the session bus; without one the folder is opened instead.
class FileBrowser
{
public:
    /// Asks a file manager to show these file URIs selected; false (and why) when none answered.
    using ShowItems = std::function<bool(const QStringList& uris, QString* why)>;
    /// Opens a folder with the desktop's opener; false when nothing took it.
    using OpenFolder = std::function<bool(const QUrl& folder)>;

    /// The real services; tests hand in their own to see the calls.
    explicit FileBrowser(ShowItems showItems = showItemsOverDBus, OpenFolder openFolder = openWithDesktop);

    /// Shows `path` selected in its folder. An error when the file is gone or when neither a file
    /// manager nor the desktop's opener could show it.
    std::optional<Error> revealFile(const QString& path) const;

    static bool showItemsOverDBus(const QStringList& uris, QString* why);
    static bool openWithDesktop(const QUrl& folder);

private:
    ShowItems mShowItems;
    OpenFolder mOpenFolder;
};

} // namespace spindrel
