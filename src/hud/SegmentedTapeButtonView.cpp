#include "hud/SegmentedTapeButtonView.h"

#include "hud/DeckPainting.h"
#include "hud/KeyboardTransportMap.h"
#include "hud/SpindrelButtons.h"

#include <QDateTime>
#include <QKeyEvent>
#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

namespace spindrel {

namespace {

constexpr qreal housingInset = 5.0;
constexpr qreal keyGap = 3.0;
constexpr qreal keyTravel = 3.0; // how far a key sinks when pressed
constexpr qreal lipHeight = 7.0; // the front face of a key standing up

} // namespace

SegmentedTapeButtonView::SegmentedTapeButtonView(QWidget* parent) : QWidget(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent, false);
}

void SegmentedTapeButtonView::setUpTransportSegments()
{
    setSegments(6);
    setRecordSegment(0);
    const QList<std::pair<QString, QImage>> keys = {
        {tr("REC"), SpindrelButtons::recButtonImage()},   {tr("PLAY"), SpindrelButtons::playButtonImage()},
        {tr("REW"), SpindrelButtons::rewButtonImage()},   {tr("FFWD"), SpindrelButtons::ffButtonImage()},
        {tr("STOP"), SpindrelButtons::stopButtonImage()}, {tr("PAUSE"), SpindrelButtons::pauseButtonImage()},
    };
    const QStringList spoken = {tr("Record"),       tr("Play"), tr("Rewind"),
                                tr("Fast Forward"), tr("Stop"), tr("Pause")};
    for (int segment = 0; segment < keys.size(); ++segment) {
        setLabel(keys[segment].first, segment);
        setSpokenLabel(spoken[segment], segment);
        setImage(keys[segment].second, segment);
        setHoldableSegment(segment, segment >= 1 && segment <= 3);
    }
    setKeymap(KeyboardTransportMap::defaultMap());
}

void SegmentedTapeButtonView::setSegments(int segments)
{
    mSegments = std::max(0, segments);
    updateGeometry();
    update();
}

void SegmentedTapeButtonView::setLabel(const QString& label, int segment)
{
    mLabels[segment] = label;
    update();
}

void SegmentedTapeButtonView::setImage(const QImage& image, int segment)
{
    mImages[segment] = image;
    update();
}

void SegmentedTapeButtonView::setSelectedSegment(int segment)
{
    mSelectedSegments.insert(segment);
    if (mOldSelectedSegments)
        mOldSelectedSegments->insert(segment);
    update();
}

void SegmentedTapeButtonView::clearSelectedSegment(int segment)
{
    mSelectedSegments.remove(segment);
    if (mOldSelectedSegments)
        mOldSelectedSegments->remove(segment);
    update();
}

void SegmentedTapeButtonView::clearSelectedSegments()
{
    // While a key is held the selected set is the latched set plus that key: drop the latched
    // part, keep showing the held key, and let its release restore nothing.
    if (mOldSelectedSegments) {
        mSelectedSegments.subtract(*mOldSelectedSegments);
        mOldSelectedSegments->clear();
    } else {
        mSelectedSegments.clear();
    }
    update();
}

bool SegmentedTapeButtonView::isSelectedSegment(int segment) const
{
    return mOldSelectedSegments ? mOldSelectedSegments->contains(segment)
                                : mSelectedSegments.contains(segment);
}

QRectF SegmentedTapeButtonView::rectForSegment(int segment) const
{
    if (segment < 0 || segment >= mSegments)
        return {};
    const QRectF housing = QRectF(rect()).adjusted(housingInset, housingInset - 1.0, -housingInset, -2.0);
    const qreal width = (housing.width() - keyGap * (mSegments - 1)) / mSegments;
    return {housing.left() + segment * (width + keyGap), housing.top(), width, housing.height()};
}

int SegmentedTapeButtonView::segmentForPoint(const QPointF& point) const
{
    for (int segment = 0; segment < mSegments; ++segment) {
        if (rectForSegment(segment).contains(point))
            return segment;
    }
    return -1;
}

int SegmentedTapeButtonView::keyCodeFor(const QString& actionName) const
{
    bool ok = false;
    const int code = mKeymap.value(actionName).toInt(&ok);
    return ok ? code : -1;
}

int SegmentedTapeButtonView::keyCodeForSegment(int segment) const
{
    static const QStringList names = {
        KeyboardTransportMap::recordName(), KeyboardTransportMap::playName(),
        KeyboardTransportMap::rewindName(), KeyboardTransportMap::fastForwardName(),
        KeyboardTransportMap::stopName(),   KeyboardTransportMap::pauseName()};
    return segment >= 0 && segment < names.size() ? keyCodeFor(names[segment]) : -1;
}

int SegmentedTapeButtonView::segmentForKeyCode(int keyCode) const
{
    if (keyCode < 0)
        return -1;
    if (keyCode == keyCodeFor(KeyboardTransportMap::recordName()))
        return 0;
    if (keyCode == keyCodeFor(KeyboardTransportMap::playName()) ||
        keyCode == KeyboardTransportMap::spaceKeyCode) {
        // One key for play and stop: stop while playing (or already stopping), else play.
        if (isDepressedSegment(1) || isDepressedSegment(4))
            return 4;
        return 1;
    }
    if (keyCode == keyCodeFor(KeyboardTransportMap::rewindName()))
        return 2;
    if (keyCode == keyCodeFor(KeyboardTransportMap::fastForwardName()))
        return 3;
    if (keyCode == keyCodeFor(KeyboardTransportMap::stopName()))
        return 4;
    if (keyCode == keyCodeFor(KeyboardTransportMap::pauseName()))
        return 5;
    return -1;
}

double SegmentedTapeButtonView::now() const
{
    if (mClock)
        return mClock();
    return static_cast<double>(QDateTime::currentMSecsSinceEpoch()) / 1000.0;
}

void SegmentedTapeButtonView::pressButtonForSegment(int segment)
{
    // The winding keys stay up while recording: the record key locks them mechanically.
    if (isDepressedSegment(mRecordSegment) && (segment == 2 || segment == 3))
        return;
    mOldSelectedSegments = mSelectedSegments;
    mSelectedSegments.insert(segment);
    // Record pulls play down with it.
    if (segment == mRecordSegment && mSegments >= 2)
        mSelectedSegments.insert(1);
    update();
}

void SegmentedTapeButtonView::clearPressedButtons()
{
    if (mOldSelectedSegments) {
        mSelectedSegments = *mOldSelectedSegments;
        mOldSelectedSegments.reset();
    }
    update();
}

void SegmentedTapeButtonView::press(int segment)
{
    mButtonPressTime = now();
    mHeldSegment = segment;
    pressButtonForSegment(segment);
    Q_EMIT segmentPressed(segment);
    Q_EMIT segmentAction(segment);
}

void SegmentedTapeButtonView::releaseHeld(int segment)
{
    mHeldSegment = -1;
    if (segment < 0)
        return;
    Q_EMIT segmentReleased(segment);
    if (isHoldableSegment(segment) && now() - mButtonPressTime > holdInterval)
        Q_EMIT segmentAction(segment);
}

void SegmentedTapeButtonView::tapSegment(int segment)
{
    if (segment < 0 || segment >= mSegments)
        return;
    press(segment);
    releaseHeldKey();
}

void SegmentedTapeButtonView::releaseHeldKey()
{
    if (mHeldSegment < 0)
        return;
    releaseHeld(mHeldSegment);
    clearPressedButtons();
}

void SegmentedTapeButtonView::focusOutEvent(QFocusEvent* event)
{
    releaseHeldKey();
    QWidget::focusOutEvent(event);
}

void SegmentedTapeButtonView::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::ActivationChange && !isActiveWindow())
        releaseHeldKey();
    QWidget::changeEvent(event);
}

void SegmentedTapeButtonView::hideEvent(QHideEvent* event)
{
    releaseHeldKey();
    QWidget::hideEvent(event);
}

void SegmentedTapeButtonView::mousePressEvent(QMouseEvent* event)
{
    const int segment = event->button() == Qt::LeftButton ? segmentForPoint(event->position()) : -1;
    if (segment < 0) {
        event->ignore();
        return;
    }
    setFocus(Qt::MouseFocusReason);
    press(segment);
}

void SegmentedTapeButtonView::mouseDoubleClickEvent(QMouseEvent* event)
{
    // A quick second click is one more press of the key, not a gesture of its own.
    mousePressEvent(event);
}

void SegmentedTapeButtonView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    clearPressedButtons();
    releaseHeld(segmentForPoint(event->position()));
}

void SegmentedTapeButtonView::keyPressEvent(QKeyEvent* event)
{
    const int segment = segmentForKeyCode(KeyboardTransportMap::hardwareKeyCode(*event));
    if (segment < 0 || event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) {
        QWidget::keyPressEvent(event);
        return;
    }
    if (!event->isAutoRepeat())
        press(segment);
}

void SegmentedTapeButtonView::keyReleaseEvent(QKeyEvent* event)
{
    int segment = segmentForKeyCode(KeyboardTransportMap::hardwareKeyCode(*event));
    if (segment < 0) {
        QWidget::keyReleaseEvent(event);
        return;
    }
    if (event->isAutoRepeat())
        return;
    // The release of a key pressed elsewhere (typed into a field before the keys had the
    // keyboard) is not one of ours. Play and stop share a key whose meaning flips once it is
    // down: the release is the held key's.
    if (mHeldSegment < 0)
        return;
    segment = mHeldSegment;
    releaseHeld(segment);
    clearPressedButtons();
}

QSize SegmentedTapeButtonView::sizeHint() const
{
    return {370, 66};
}

QSize SegmentedTapeButtonView::minimumSizeHint() const
{
    return {40 * std::max(1, mSegments), 48};
}

void SegmentedTapeButtonView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    DeckPainting::drawRecess(painter, QRectF(rect()).adjusted(1.0, 1.0, -1.0, -1.0), 6.0, QColor(10, 10, 12));
    for (int segment = 0; segment < mSegments; ++segment)
        paintKey(painter, segment);
    if (hasFocus())
        DeckPainting::drawFocusRing(painter, QRectF(rect()).adjusted(2.0, 2.0, -2.0, -2.0), 6.0);
}

void SegmentedTapeButtonView::paintKey(QPainter& painter, int segment) const
{
    const QRectF slot = rectForSegment(segment);
    const bool down = isDepressedSegment(segment);
    const bool record = segment == mRecordSegment;
    const qreal sink = down ? keyTravel : 0.0;
    const qreal lip = down ? lipHeight - keyTravel : lipHeight;
    const QRectF face(slot.left(), slot.top() + sink, slot.width(), slot.height() - lipHeight - 1.0);
    const QRectF front(slot.left() + 0.5, face.bottom() - 3.0, slot.width() - 1.0, lip + 3.0);

    painter.save();
    // Shadow the key throws onto the floor of the housing; short when the key is down.
    QPainterPath shadowPath;
    shadowPath.addRoundedRect(front.adjusted(-0.5, 1.0, 0.5, down ? 0.5 : 2.0), 3.0, 3.0);
    painter.fillPath(shadowPath, QColor(0, 0, 0, down ? 60 : 110));

    // The front edge, seen from above at an angle.
    QLinearGradient frontShade(front.topLeft(), front.bottomLeft());
    if (record) {
        frontShade.setColorAt(0.0, QColor(120, 24, 20));
        frontShade.setColorAt(1.0, QColor(62, 10, 8));
    } else {
        frontShade.setColorAt(0.0, QColor(150, 152, 156));
        frontShade.setColorAt(1.0, QColor(82, 84, 88));
    }
    QPainterPath frontPath;
    frontPath.addRoundedRect(front, 3.0, 3.0);
    painter.fillPath(frontPath, frontShade);

    // The top of the key: brushed aluminium, or the red of the record key.
    QLinearGradient faceShade(face.topLeft(), face.bottomLeft());
    if (record) {
        faceShade.setColorAt(0.0, down ? QColor(206, 58, 48) : QColor(232, 84, 70));
        faceShade.setColorAt(0.55, down ? QColor(168, 34, 28) : QColor(196, 44, 36));
        faceShade.setColorAt(1.0, down ? QColor(136, 24, 20) : QColor(160, 30, 24));
    } else {
        faceShade.setColorAt(0.0, down ? QColor(212, 214, 218) : QColor(246, 247, 249));
        faceShade.setColorAt(0.55, down ? QColor(186, 188, 192) : QColor(214, 216, 220));
        faceShade.setColorAt(1.0, down ? QColor(164, 166, 170) : QColor(190, 192, 196));
    }
    QPainterPath facePath;
    facePath.addRoundedRect(face, 3.5, 3.5);
    painter.fillPath(facePath, faceShade);
    painter.save();
    painter.setClipPath(facePath);
    DeckPainting::drawGloss(painter, face, 3.5, down ? 0.35 : 0.8);
    // Fine brushing across the face.
    for (qreal y = face.top() + 2.0; y < face.bottom(); y += 2.0) {
        painter.setPen(QPen(QColor(255, 255, 255, record ? 10 : 26), 0.5));
        painter.drawLine(QPointF(face.left(), y), QPointF(face.right(), y));
    }
    painter.restore();
    painter.setPen(QPen(QColor(0, 0, 0, down ? 120 : 90), 1.0));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(face.adjusted(0.5, 0.5, -0.5, -0.5), 3.5, 3.5);
    painter.setPen(QPen(QColor(255, 255, 255, down ? 60 : 150), 1.0));
    painter.drawLine(QPointF(face.left() + 3.0, face.top() + 1.5),
                     QPointF(face.right() - 3.0, face.top() + 1.5));

    // Glyph above, label below.
    const QImage glyph = mImages.value(segment);
    const qreal labelHeight = 12.0;
    const QRectF glyphArea(face.left(), face.top() + 2.0, face.width(), face.height() - labelHeight - 4.0);
    if (!glyph.isNull()) {
        const QSizeF size = glyph.deviceIndependentSize();
        const qreal scale =
            std::min(1.0, std::min(glyphArea.width() / size.width(), glyphArea.height() / size.height()));
        const QSizeF drawn = size * scale;
        const QRectF target(glyphArea.center().x() - drawn.width() / 2.0,
                            glyphArea.center().y() - drawn.height() / 2.0, drawn.width(), drawn.height());
        painter.setOpacity(record ? 0.9 : 0.85);
        painter.drawImage(target, glyph);
        painter.setOpacity(1.0);
    }
    const QRectF labelRect(face.left(), face.bottom() - labelHeight - 3.0, face.width(), labelHeight);
    QFont font = DeckPainting::labelFont(9.5);
    font.setLetterSpacing(QFont::AbsoluteSpacing, 0.8);
    if (record)
        DeckPainting::drawEmbossedText(painter, labelRect, Qt::AlignCenter, mLabels.value(segment), font,
                                       QColor(255, 232, 226), QColor(90, 0, 0, 140));
    else
        DeckPainting::drawEmbossedText(painter, labelRect, Qt::AlignCenter, mLabels.value(segment), font,
                                       QColor(54, 56, 60), QColor(255, 255, 255, 170));
    painter.restore();
}

} // namespace spindrel
