#include "tapes/CassetteSlogan.h"

#include "foundation/Assertion.h"

#include <array>
#include <random>
#include <unistd.h>

namespace spindrel {

namespace {

const std::array<const char*, CassetteSlogan::count> slogans = {
    "ADVANCED MPEG-4 TECHNOLOGY",
    "ADVANCED ZEPHYR TECHNOLOGY",
    "ADVANCED MAPLE SYRUP TECHNOLOGY",
    "DIGITAL AUDIO QUALITY",
    "LOSSLESS AUDIO COMPRESSION",
    "SUPER DUPER FIDELITY",
    "HIGH PERFORMANCE AUDIO SOFTWARE",
    "ABSURDLY HIGH PERFORMANCE AUDIO",
    "CHROMIUM DIOXIDE INSIDE",
    "FULLY RETICULATED SPLINES",
    "VORLTONIC",
    "BRAMBLEWIT",
    "MADE IN CANADA",
    "SPINDREL IS LISTENING",
    "SPINDREL HEARS EVERYTHING",
    "DON'T FORGET A POP SCREEN",
};

} // namespace

QString CassetteSlogan::sloganAtIndex(int index)
{
    SP_VERIFY_OR_DEBUG_ASSERT(index >= 0 && index < count, "Slogan index out of range")
    {
        return {};
    }
    return QString::fromUtf8(slogans[static_cast<std::size_t>(index)]);
}

int CassetteSlogan::processIndex()
{
    // A private generator, so the pick neither disturbs nor depends on anyone's use of rand().
    static const int index = [] {
        std::minstd_rand generator(static_cast<std::minstd_rand::result_type>(getpid()));
        return static_cast<int>(generator() & 15u);
    }();
    return index;
}

} // namespace spindrel
