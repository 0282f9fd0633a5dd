#pragma once

#include <QCoreApplication>
#include <QString>
#include <QVariant>
#include <cstdint>

namespace spindrel {

/// A tape's length as text: "1h2m5s" (compact), "62′5″" (primes) or in words.
class DurationFormatter
{
    Q_DECLARE_TR_FUNCTIONS(DurationFormatter)

public:
    enum Style { Compact = 0, Words = 1, Primes = 2 };

    /// Zero minutes are left out, the seconds never; primes never show hours, so their minutes run
    /// past 59. The words style names units without the seconds count ("1 minute seconds").
    static QString durationToString(int32_t seconds, int style);
    static QString durationToString(int32_t seconds) { return durationToString(seconds, Compact); }
};

} // namespace spindrel
