#pragma once

#include <QString>

namespace spindrel {

/// The library folder on disk: where it is, and its set-up at every start (created when missing,
/// its folder icon, and the welcome tape, which comes back when the user deleted it).
class LibraryFolder
{
public:
    /// "Spindrel" in the user's music folder.
    static QString defaultPath();
    /// The folder the preferences name ("TapeLibraryLocation"), or the default.
    static QString currentPath();
    /// Creates the folder and its welcome tape; false when the folder cannot be made.
    static bool setUp(const QString& path = defaultPath());
    static QString welcomeTapeName() { return QStringLiteral("sp-welcome.m4a"); }
};

} // namespace spindrel
