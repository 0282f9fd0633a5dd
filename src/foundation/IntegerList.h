#pragma once

#include <QList>
#include <QVariant>

namespace spindrel {

/// The integers of a stored list. A list read back from a settings file holds text, and a list of
/// one reads back as a plain value; entries that are no number are skipped.
QList<int> integerList(const QVariant& value);

} // namespace spindrel
