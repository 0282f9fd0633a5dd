#pragma once

#include <QString>

namespace spindrel::VersionComparator {

/// Orders version texts the way appcast feeds use them: numbers compare as numbers ("1.10" is after
/// "1.9"), a release is after its pre-releases ("1.0" after "1.0b2"), and an extra number part is
/// newer ("1.0.1" after "1.0"). Returns -1, 0 or 1 as a is older, the same or newer than b.
int compareVersions(const QString& a, const QString& b);

} // namespace spindrel::VersionComparator
