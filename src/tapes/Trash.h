#pragma once

#include "foundation/Error.h"

#include <QString>
#include <variant>

namespace spindrel {

/// The user's freedesktop trash: a file goes into a trash folder's files/ beside an
/// info/<name>.trashinfo that records where it came from and when, so file managers can put it back.
class Trash
{
public:
    /// Where a trashed file ended up.
    struct Result
    {
        QString trashedPath;
        QString infoPath;
    };

    /// Moves `path` into the trash of its volume: the home trash ($XDG_DATA_HOME/Trash) when the
    /// file lies on the same file system, else the volume's own .Trash/$uid or .Trash-$uid.
    /// The file is moved, never copied, so nothing is lost half-way.
    static std::variant<Result, Error> moveToTrash(const QString& path);

    /// The home trash folder.
    static QString homeTrashPath();
    /// The trash folder that takes files from `path`'s volume (empty when none can be used).
    static QString trashPathForFile(const QString& path);
};

} // namespace spindrel
