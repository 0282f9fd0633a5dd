#pragma once

#include <QByteArray>
#include <QString>

namespace spindrel {

/// A new random UUID as 36 upper-case characters ("8-4-4-4-12" hexadecimal groups).
QString stringWithUUID();

/// The 16 bytes of a UUID given in its text form; empty when the text is not a UUID.
QByteArray dataWithUUID(const QString& uuidText);

} // namespace spindrel
