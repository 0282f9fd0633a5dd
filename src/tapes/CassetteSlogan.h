#pragma once

#include <QString>

namespace spindrel {

/// The slogan printed on the deck's cassette door: one of sixteen, picked once per process from a
/// generator seeded with the process id, so every cassette of one run shows the same words.
class CassetteSlogan
{
public:
    static constexpr int count = 16;

    /// The slogan at `index` (0 to 15).
    static QString sloganAtIndex(int index);

    /// The index picked for this process; the same on every call.
    static int processIndex();
    static QString processSlogan() { return sloganAtIndex(processIndex()); }
};

} // namespace spindrel
