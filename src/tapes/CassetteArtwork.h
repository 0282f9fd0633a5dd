#pragma once

#include "tapes/CassetteGeometry.h"
#include "tapes/CassetteValues.h"
#include "tapes/HubPictures.h"

#include <QImage>
#include <array>

class QPainter;

namespace spindrel {

/// The cassette picture. Paints itself as vectors into any painter, or renders an image at a
/// device pixel ratio from cached still layers, redrawing only the two hubs after a reel step.
/// Not shared between threads: each thread that draws keeps its own artwork.
class CassetteArtwork
{
public:
    using Reel = CassetteGeometry::Reel;

    /// Seconds between two reel steps while the reels turn.
    static constexpr double rotationIntervalSeconds = 1.0 / 30.0;

    /// The cassette's natural size, the size of its picture at scale 1.
    static QSizeF tapeSize() { return CassetteGeometry::tapeSize(); }

    /// The hub angle after one reel step at `rotationSpeed` (the signed transport speed): two
    /// degrees per unit of speed, so 60 degrees a second at play speed.
    static double spoolRotationAfterStep(double spoolRotation, double rotationSpeed);

    CassetteArtwork() = default;
    explicit CassetteArtwork(CassetteValues values);

    const CassetteValues& values() const { return mValues; }
    void setValues(const CassetteValues& values);

    double spoolRotation() const { return mValues.spoolRotation; }
    void setSpoolRotation(double spoolRotation) { mValues.spoolRotation = spoolRotation; }
    /// One reel step, as the rotation timer and the movie frames take it.
    void rotationStep(double rotationSpeed);

    /// The whole picture (the door too when shown) in the painter's current coordinates, which
    /// are taken to be the cassette's natural units.
    void paint(QPainter& painter) const;
    /// The cassette alone, without the deck's door.
    void paintCassette(QPainter& painter) const;
    /// The deck's door alone: the glass and its slogan.
    void paintDoor(QPainter& painter) const;

    /// How the hubs of a thumbnail are made: drawn exactly, or, for a picture redrawn many times a
    /// second on screen, copied from pictures of the nearest few degrees of turn.
    enum class Hubs { Drawn, Copied };

    /// The picture as an image of tapeSize() times `devicePixelRatio` pixels, carrying that ratio.
    QImage thumbnail(qreal devicePixelRatio = 1.0, Hubs hubs = Hubs::Drawn);
    /// The picture at scale 2.0, as it is stored as a tape's cover art and drawn into movie frames.
    QImage coverArtImage() { return thumbnail(2.0); }

    /// The pixels of an image at `devicePixelRatio` that a reel step can change for `reel`.
    static QRect reelPixelRect(Reel reel, qreal devicePixelRatio);

private:
    struct StillLayers
    {
        qreal devicePixelRatio = 0.0;
        CassetteValues values;
        QImage frame;
        // Per reel: what lies under the hub and what lies over it, in device pixels.
        std::array<QImage, 2> under;
        std::array<QImage, 2> over;
        std::array<QRect, 2> rects;
    };

    void paintUnderHubs(QPainter& painter) const;
    void paintHubs(QPainter& painter) const;
    void paintOverHubs(QPainter& painter, bool withDoor) const;
    double hubAngle(Reel reel) const;
    bool stillLayersAreCurrent(qreal devicePixelRatio) const;
    void buildStillLayers(qreal devicePixelRatio);
    void redrawReel(std::size_t reel, Hubs hubs);

    CassetteValues mValues;
    StillLayers mStill;
    std::array<HubPictures, 2> mHubPictures;
};

} // namespace spindrel
