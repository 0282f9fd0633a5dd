#include "foundation/IntegerList.h"

namespace spindrel {

QList<int> integerList(const QVariant& value)
{
    QList<int> numbers;
    if (!value.isValid())
        return numbers;
    const QVariantList items = value.canConvert<QVariantList>() && value.typeId() != QMetaType::QString
                                   ? value.toList()
                                   : QVariantList{value};
    for (const QVariant& item : items) {
        bool ok = false;
        const int number = item.toInt(&ok);
        if (ok)
            numbers.append(number);
    }
    return numbers;
}

} // namespace spindrel
