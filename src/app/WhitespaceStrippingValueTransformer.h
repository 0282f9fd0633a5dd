#pragma once

#include <QVariant>

namespace spindrel {

/// Keeps entered text free of stray blanks: both directions trim leading and trailing whitespace
/// and line breaks from a string; any other value passes unchanged.
class WhitespaceStrippingValueTransformer
{
public:
    static QVariant transformedValue(const QVariant& value);
    static QVariant reverseTransformedValue(const QVariant& value) { return transformedValue(value); }
    static bool allowsReverseTransformation() { return true; }
};

} // namespace spindrel
