#pragma once

#include <QString>

namespace spindrel {

/// The user's file manager: shows files selected in their folder, through the freedesktop
/// FileManager1 service; without one the folder is opened instead.
class FileBrowser
{
public:
    /// Shows `path` selected in its folder. False when no file manager answered on the session
    /// bus (the folder was then handed to the desktop's opener).
    static bool revealFile(const QString& path);
};

} // namespace spindrel
