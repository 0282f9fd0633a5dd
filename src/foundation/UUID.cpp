#include "foundation/UUID.h"

#include <QUuid>

namespace spindrel {

QString stringWithUUID()
{
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

QByteArray dataWithUUID(const QString& uuidText)
{
    const QUuid uuid = QUuid::fromString(uuidText);
    if (uuid.isNull() && uuidText.count(QLatin1Char('0')) != 32)
        return {};
    return uuid.toRfc4122();
}

} // namespace spindrel
