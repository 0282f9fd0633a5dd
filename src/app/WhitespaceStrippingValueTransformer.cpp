#include "app/WhitespaceStrippingValueTransformer.h"

namespace spindrel {

QVariant WhitespaceStrippingValueTransformer::transformedValue(const QVariant& value)
{
    if (value.typeId() != QMetaType::QString)
        return value;
    return value.toString().trimmed();
}

} // namespace spindrel
