#include "tapes/CassetteArtwork.h"

#include "tapes/CassetteDrawing.h"

#include <QPainter>
#include <cmath>
#include <cstring>
#include <numbers>

namespace spindrel {

namespace {

constexpr std::array<CassetteGeometry::Reel, 2> reels = {CassetteGeometry::Reel::Left,
                                                         CassetteGeometry::Reel::Right};

void copyPixels(const QImage& from, QImage& to, const QPoint& at)
{
    const int bytes = from.width() * 4;
    for (int y = 0; y < from.height(); ++y)
        std::memcpy(to.scanLine(at.y() + y) + at.x() * 4, from.constScanLine(y),
                    static_cast<std::size_t>(bytes));
}

} // namespace

double CassetteArtwork::spoolRotationAfterStep(double spoolRotation, double rotationSpeed)
{
    return spoolRotation + 2.0 * rotationSpeed * std::numbers::pi / 180.0;
}

CassetteArtwork::CassetteArtwork(CassetteValues values) : mValues(std::move(values)) {}

void CassetteArtwork::setValues(const CassetteValues& values)
{
    mValues = values;
}

void CassetteArtwork::rotationStep(double rotationSpeed)
{
    mValues.spoolRotation = spoolRotationAfterStep(mValues.spoolRotation, rotationSpeed);
}

double CassetteArtwork::hubAngle(Reel reel) const
{
    return reel == Reel::Left ? mValues.spoolRotation
                              : mValues.spoolRotation * mValues.rightRotationMultiplier;
}

void CassetteArtwork::paintUnderHubs(QPainter& painter) const
{
    CassetteDrawing::drawShell(painter);
    CassetteDrawing::drawLabel(painter, mValues);
    CassetteDrawing::drawWindowInterior(painter, mValues);
}

void CassetteArtwork::paintHubs(QPainter& painter) const
{
    for (const Reel reel : reels)
        CassetteDrawing::drawHub(painter, CassetteGeometry::spoolCenter(reel), hubAngle(reel));
}

void CassetteArtwork::paintOverHubs(QPainter& painter, bool withDoor) const
{
    CassetteDrawing::drawWindowGlass(painter);
    if (withDoor)
        CassetteDrawing::drawDoor(painter, mValues.doorSlogan);
}

void CassetteArtwork::paint(QPainter& painter) const
{
    painter.save();
    CassetteDrawing::beginDrawing(painter);
    paintUnderHubs(painter);
    paintHubs(painter);
    paintOverHubs(painter, mValues.doorShown);
    painter.restore();
}

void CassetteArtwork::paintCassette(QPainter& painter) const
{
    painter.save();
    CassetteDrawing::beginDrawing(painter);
    paintUnderHubs(painter);
    paintHubs(painter);
    paintOverHubs(painter, false);
    painter.restore();
}

void CassetteArtwork::paintDoor(QPainter& painter) const
{
    painter.save();
    CassetteDrawing::beginDrawing(painter);
    CassetteDrawing::drawDoor(painter, mValues.doorSlogan);
    painter.restore();
}

QRect CassetteArtwork::reelPixelRect(Reel reel, qreal devicePixelRatio)
{
    const QRectF logical = CassetteGeometry::reelRect(reel);
    const int left = static_cast<int>(std::floor(logical.left() * devicePixelRatio));
    const int top = static_cast<int>(std::floor(logical.top() * devicePixelRatio));
    const int right = static_cast<int>(std::ceil(logical.right() * devicePixelRatio));
    const int bottom = static_cast<int>(std::ceil(logical.bottom() * devicePixelRatio));
    return QRect(QPoint(left, top), QPoint(right - 1, bottom - 1));
}

bool CassetteArtwork::stillLayersAreCurrent(qreal devicePixelRatio) const
{
    return !mStill.frame.isNull() && mStill.devicePixelRatio == devicePixelRatio &&
           mStill.values.hasSameStillPicture(mValues);
}

void CassetteArtwork::buildStillLayers(qreal devicePixelRatio)
{
    const QSizeF logical = tapeSize() * devicePixelRatio;
    const QSize pixels(static_cast<int>(std::ceil(logical.width())),
                       static_cast<int>(std::ceil(logical.height())));
    QImage under = CassetteDrawing::blankImage(pixels, devicePixelRatio);
    QImage over = CassetteDrawing::blankImage(pixels, devicePixelRatio);
    {
        QPainter painter(&under);
        CassetteDrawing::beginDrawing(painter);
        paintUnderHubs(painter);
    }
    {
        QPainter painter(&over);
        CassetteDrawing::beginDrawing(painter);
        paintOverHubs(painter, mValues.doorShown);
    }
    // Over the still parts the glass is drawn, not composed, so they match the vector picture exactly.
    mStill.frame = under.copy();
    {
        QPainter painter(&mStill.frame);
        CassetteDrawing::beginDrawing(painter);
        paintOverHubs(painter, mValues.doorShown);
    }
    for (std::size_t i = 0; i < reels.size(); ++i) {
        const QRect rect = reelPixelRect(reels[i], devicePixelRatio).intersected(under.rect());
        mStill.rects[i] = rect;
        mStill.under[i] = under.copy(rect);
        mStill.over[i] = over.copy(rect);
        mStill.over[i].setDevicePixelRatio(devicePixelRatio);
    }
    mStill.devicePixelRatio = devicePixelRatio;
    mStill.values = mValues;
}

void CassetteArtwork::redrawReel(std::size_t reel)
{
    const QRect rect = mStill.rects[reel];
    copyPixels(mStill.under[reel], mStill.frame, rect.topLeft());
    const qreal ratio = mStill.devicePixelRatio;
    const QRectF logical(rect.x() / ratio, rect.y() / ratio, rect.width() / ratio, rect.height() / ratio);
    QPainter painter(&mStill.frame);
    CassetteDrawing::beginDrawing(painter);
    painter.setClipRect(logical);
    CassetteDrawing::drawHub(painter, CassetteGeometry::spoolCenter(reels[reel]), hubAngle(reels[reel]));
    painter.drawImage(logical.topLeft(), mStill.over[reel]);
}

QImage CassetteArtwork::thumbnail(qreal devicePixelRatio)
{
    if (!stillLayersAreCurrent(devicePixelRatio))
        buildStillLayers(devicePixelRatio);
    for (std::size_t i = 0; i < reels.size(); ++i)
        redrawReel(i);
    return mStill.frame;
}

} // namespace spindrel
