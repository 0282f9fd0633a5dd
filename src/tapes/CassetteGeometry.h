#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>

namespace spindrel {

/// Where the parts of the cassette lie, in the cassette's own units (its natural size, before any
/// scaling). Views use these for hit-testing the label and for repainting only the reels.
class CassetteGeometry
{
public:
    enum class Reel { Left, Right };

    static constexpr double hubDiameter = 36.0;
    /// The pack of a spool that holds all the tape.
    static constexpr double fullPackDiameter = 175.0;

    static QSizeF tapeSize() { return {440.0, 280.0}; }
    static QRectF shellRect() { return {QPointF(0, 0), tapeSize()}; }
    static QRectF labelRect() { return {20.0, 24.0, 400.0, 186.0}; }
    static QRectF windowRect() { return {96.0, 80.0, 248.0, 74.0}; }
    static QPointF leftSpoolCenter() { return {127.0, 117.0}; }
    static QPointF rightSpoolCenter() { return {313.0, 117.0}; }
    static QPointF spoolCenter(Reel reel)
    {
        return reel == Reel::Left ? leftSpoolCenter() : rightSpoolCenter();
    }

    static QRectF titleRect() { return {34.0, 32.0, 372.0, 38.0}; }
    static QRectF letterRect() { return {30.0, 80.0, 58.0, 74.0}; }
    static QRectF qualityRect() { return {352.0, 80.0, 58.0, 74.0}; }
    static QRectF timeLineRect() { return {34.0, 164.0, 372.0, 18.0}; }
    static QRectF notesRect() { return {34.0, 184.0, 372.0, 18.0}; }
    /// The strip of shell above the label that carries the door's slogan.
    static QRectF sloganRect() { return {40.0, 3.0, 360.0, 19.0}; }

    /// The part of the picture that a turn of the reel can change: the hub and its antialiased rim.
    static QRectF reelRect(Reel reel);
};

} // namespace spindrel
