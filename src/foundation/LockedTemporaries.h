#pragma once

#include <QLatin1String>
#include <QString>

namespace spindrel {

/// The hidden temporaries a writer keeps beside the file it makes, named ".<name><marker>XXXXXX"
/// and locked (flock) while it writes them, until it renames them into place. What a crash left is
/// unlocked, and so known from what a live writer still holds, here or in another process.
namespace LockedTemporaries {

bool isTemporaryName(const QString& name, QLatin1String marker);
/// Removes the folder's unlocked temporaries of `marker`; gives how many went.
int removeStale(const QString& folder, QLatin1String marker);

} // namespace LockedTemporaries

} // namespace spindrel
