#include "tapes/CassetteValues.h"

#include "tapes/CassetteGeometry.h"

#include <algorithm>
#include <cmath>

namespace spindrel {

bool CassetteValues::hasSameStillPicture(const CassetteValues& other) const
{
    CassetteValues turned = other;
    turned.spoolRotation = spoolRotation;
    turned.rightRotationMultiplier = rightRotationMultiplier;
    return *this == turned;
}

std::pair<double, double> CassetteValues::packDiametersForProgress(double progress)
{
    const double hub = CassetteGeometry::hubDiameter;
    const double full = CassetteGeometry::fullPackDiameter;
    const double tapeArea = full * full - hub * hub; // in units of pi/4
    const double played = std::clamp(progress, 0.0, 1.0);
    return {std::sqrt(hub * hub + tapeArea * (1.0 - played)), std::sqrt(hub * hub + tapeArea * played)};
}

} // namespace spindrel
