#pragma once

#include "tapes/CassetteSlogan.h"

#include <QColor>
#include <QString>
#include <utility>

namespace spindrel {

/// Everything the cassette picture shows, as plain values: the picture needs no tape object and
/// no widget, so the tape's cover art, the deck's view and the movie frames share one drawing.
struct CassetteValues
{
    QString title;
    QString timeLine; ///< the formatted "Recorded … | …" line
    QString quality;  ///< "HQ", "MQ" or "LQ"
    QString letter = QStringLiteral("A");
    // The letter's colour scheme: the box behind the letter, the letter, the title text.
    QColor letterBackgroundColor = QColor(255, 0, 0);
    QColor letterColor = QColor(255, 255, 255);
    QColor titleColor = QColor(255, 0, 0);
    QString notes; ///< shown on one line, elided when too long

    double leftPackDiameter = 155.0;
    double rightPackDiameter = 90.0;

    double spoolRotation = 0.0; ///< radians, the angle of both hubs
    double rightRotationMultiplier = 1.0;

    bool doorShown = true;
    QString doorSlogan = CassetteSlogan::processSlogan();

    bool operator==(const CassetteValues&) const = default;

    /// True when the two differ at most in the hub angles, so a cached still picture stays valid.
    bool hasSameStillPicture(const CassetteValues& other) const;

    /// Pack diameters for a play position (0 at the start, 1 at the end) that keep the tape's
    /// wound area constant: the static drawing's 155 and 90 lie near the start.
    static std::pair<double, double> packDiametersForProgress(double progress);
};

} // namespace spindrel
