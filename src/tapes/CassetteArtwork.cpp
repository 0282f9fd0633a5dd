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

// Each of the four channels times factor / 255, rounded.
QRgb scaled(QRgb pixel, uint factor)
{
    uint redBlue = (pixel & 0xff00ff) * factor;
    redBlue = ((redBlue + ((redBlue >> 8) & 0xff00ff) + 0x800080) >> 8) & 0xff00ff;
    uint alphaGreen = ((pixel >> 8) & 0xff00ff) * factor;
    alphaGreen = (alphaGreen + ((alphaGreen >> 8) & 0xff00ff) + 0x800080) & 0xff00ff00;
    return alphaGreen | redBlue;
}

// `from` laid over `to` with its top left at `at`, both premultiplied, inside `clip` only: the
// pixel-exact equivalent of drawing it there, without a painter's set-up.
void composeOver(const QImage& from, QImage& to, const QPoint& at, const QRect& clip)
{
    const QRect area = QRect(at, from.size()).intersected(clip).intersected(to.rect());
    for (int y = area.top(); y <= area.bottom(); ++y) {
        const auto* source = reinterpret_cast<const QRgb*>(from.constScanLine(y - at.y()));
        auto* target = reinterpret_cast<QRgb*>(to.scanLine(y));
        for (int x = area.left(); x <= area.right(); ++x) {
            const QRgb s = source[x - at.x()];
            const uint alpha = qAlpha(s);
            if (alpha == 255)
                target[x] = s;
            else if (alpha != 0)
                target[x] = s + scaled(target[x], 255 - alpha);
        }
    }
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

void CassetteArtwork::redrawReel(std::size_t reel, Hubs hubs)
{
    const QRect rect = mStill.rects[reel];
    copyPixels(mStill.under[reel], mStill.frame, rect.topLeft());
    const QPointF center = CassetteGeometry::spoolCenter(reels[reel]);
    const qreal ratio = mStill.devicePixelRatio;
    if (hubs == Hubs::Copied) {
        const HubPictures::Placed hub = mHubPictures[reel].picture(center, hubAngle(reels[reel]), ratio);
        composeOver(hub.picture, mStill.frame, hub.topLeft, rect);
    }
    const QRectF logical(rect.x() / ratio, rect.y() / ratio, rect.width() / ratio, rect.height() / ratio);
    QPainter painter(&mStill.frame);
    CassetteDrawing::beginDrawing(painter);
    painter.setClipRect(logical);
    if (hubs == Hubs::Drawn)
        CassetteDrawing::drawHub(painter, center, hubAngle(reels[reel]));
    painter.drawImage(logical.topLeft(), mStill.over[reel]);
}

QImage CassetteArtwork::thumbnail(qreal devicePixelRatio, Hubs hubs)
{
    if (!stillLayersAreCurrent(devicePixelRatio))
        buildStillLayers(devicePixelRatio);
    for (std::size_t i = 0; i < reels.size(); ++i)
        redrawReel(i, hubs);
    return mStill.frame;
}

} // namespace spindrel
