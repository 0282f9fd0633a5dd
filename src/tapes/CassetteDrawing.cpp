#include "tapes/CassetteDrawing.h"

#include "tapes/CassetteGeometry.h"
#include "tapes/GlyphGrabber.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>

namespace spindrel {

using G = CassetteGeometry;

namespace {

constexpr double shellCornerRadius = 11.0;

QPainterPath shellPath()
{
    QPainterPath path;
    path.addRoundedRect(G::shellRect().adjusted(0.5, 0.5, -0.5, -0.5), shellCornerRadius, shellCornerRadius);
    return path;
}

// The raised plate along the bottom edge that carries the guide holes and the head openings.
QPainterPath guidePlatePath()
{
    const double bottom = G::tapeSize().height() - 0.5;
    QPainterPath path;
    path.moveTo(76.0, bottom);
    path.lineTo(97.0, 232.0);
    path.quadTo(99.0, 226.0, 105.0, 226.0);
    path.lineTo(335.0, 226.0);
    path.quadTo(341.0, 226.0, 343.0, 232.0);
    path.lineTo(364.0, bottom);
    path.closeSubpath();
    return path;
}

void drawScrew(QPainter& painter, const QPointF& center, double slotAngle)
{
    painter.save();
    painter.translate(center);
    QRadialGradient recess(QPointF(0, 0), 7.0);
    recess.setColorAt(0.0, QColor(10, 10, 12));
    recess.setColorAt(0.75, QColor(22, 22, 25));
    recess.setColorAt(1.0, QColor(60, 61, 66));
    painter.setPen(Qt::NoPen);
    painter.setBrush(recess);
    painter.drawEllipse(QPointF(0, 0), 7.0, 7.0);

    QRadialGradient head(QPointF(-1.8, -1.8), 6.5, QPointF(-1.8, -1.8));
    head.setColorAt(0.0, QColor(246, 246, 248));
    head.setColorAt(0.45, QColor(178, 179, 184));
    head.setColorAt(1.0, QColor(88, 89, 95));
    painter.setBrush(head);
    painter.setPen(QPen(QColor(30, 30, 34), 0.6));
    painter.drawEllipse(QPointF(0, 0), 5.0, 5.0);

    painter.rotate(slotAngle);
    painter.setPen(QPen(QColor(255, 255, 255, 110), 1.0, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(-3.0, 0.6), QPointF(3.0, 0.6));
    painter.drawLine(QPointF(0.6, -3.0), QPointF(0.6, 3.0));
    painter.setPen(QPen(QColor(40, 40, 44), 1.3, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(-3.0, 0), QPointF(3.0, 0));
    painter.drawLine(QPointF(0, -3.0), QPointF(0, 3.0));
    painter.restore();
}

void drawHole(QPainter& painter, const QPointF& center, double radius)
{
    QRadialGradient depth(center + QPointF(0, -radius * 0.35), radius * 1.2);
    depth.setColorAt(0.0, QColor(4, 4, 5));
    depth.setColorAt(0.7, QColor(12, 12, 14));
    depth.setColorAt(1.0, QColor(32, 32, 36));
    painter.setBrush(depth);
    painter.setPen(Qt::NoPen);
    painter.drawEllipse(center, radius, radius);
    // The lower lip catches the light.
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(255, 255, 255, 55), 0.8));
    painter.drawArc(QRectF(center.x() - radius, center.y() - radius, 2 * radius, 2 * radius), 200 * 16,
                    140 * 16);
}

void drawSlot(QPainter& painter, const QRectF& rect)
{
    QPainterPath path;
    path.addRoundedRect(rect.adjusted(0, 0, 0, 3.0), 1.5, 1.5);
    painter.save();
    painter.setClipRect(QRectF(rect.x() - 1, rect.y() - 1, rect.width() + 2, rect.height() + 1));
    QLinearGradient depth(rect.topLeft(), rect.bottomLeft());
    depth.setColorAt(0.0, QColor(6, 6, 7));
    depth.setColorAt(1.0, QColor(20, 20, 22));
    painter.fillPath(path, depth);
    painter.setPen(QPen(QColor(255, 255, 255, 40), 0.7));
    painter.drawLine(QPointF(rect.left(), rect.top() - 0.5), QPointF(rect.right(), rect.top() - 0.5));
    // The tape runs just inside the openings, in front of the heads.
    QLinearGradient tape(0, rect.bottom() - 5.0, 0, rect.bottom() - 2.5);
    tape.setColorAt(0.0, QColor(92, 70, 58));
    tape.setColorAt(1.0, QColor(48, 37, 32));
    painter.fillRect(QRectF(rect.left(), rect.bottom() - 5.0, rect.width(), 2.5), tape);
    painter.restore();
}

void drawGuidePlate(QPainter& painter)
{
    const QPainterPath plate = guidePlatePath();
    CassetteDrawing::drawSoftShadow(painter, plate, 3.0, QPointF(0, -1.0), 0.35);
    QLinearGradient face(0, 226, 0, 280);
    face.setColorAt(0.0, QColor(74, 75, 81));
    face.setColorAt(0.12, QColor(58, 59, 64));
    face.setColorAt(1.0, QColor(36, 37, 40));
    painter.fillPath(plate, face);
    painter.setPen(QPen(QColor(255, 255, 255, 70), 0.8));
    painter.drawLine(QPointF(104, 226.6), QPointF(336, 226.6));
    painter.setPen(QPen(QColor(0, 0, 0, 150), 0.8));
    painter.drawLine(QPointF(76.5, 279.5), QPointF(97.3, 231.5));
    painter.drawLine(QPointF(363.5, 279.5), QPointF(342.7, 231.5));

    drawHole(painter, QPointF(134, 256), 7.5);
    drawHole(painter, QPointF(306, 256), 7.5);
    const double bottom = G::tapeSize().height();
    drawSlot(painter, QRectF(112, bottom - 9, 10, 9));
    drawSlot(painter, QRectF(148, bottom - 11, 22, 11));
    drawSlot(painter, QRectF(200, bottom - 13, 40, 13));
    drawSlot(painter, QRectF(270, bottom - 11, 22, 11));
    drawSlot(painter, QRectF(318, bottom - 9, 10, 9));
    drawScrew(painter, QPointF(220, 243), 12.0);
}

void drawGrips(QPainter& painter)
{
    for (const double x : {6.0, 427.0}) {
        for (int i = 0; i < 7; ++i) {
            const double y = 94.0 + i * 7.0;
            painter.setPen(QPen(QColor(0, 0, 0, 120), 1.0));
            painter.drawLine(QPointF(x, y), QPointF(x + 7.0, y));
            painter.setPen(QPen(QColor(255, 255, 255, 38), 1.0));
            painter.drawLine(QPointF(x, y + 1.0), QPointF(x + 7.0, y + 1.0));
        }
    }
}

// The shallow well the label is pressed into: shaded along its top, lit along its bottom.
void drawLabelRecess(QPainter& painter)
{
    const QRectF well = G::labelRect().adjusted(-3.5, -3.5, 3.5, 3.5);
    QLinearGradient edge(well.topLeft(), well.bottomLeft());
    edge.setColorAt(0.0, QColor(0, 0, 0, 150));
    edge.setColorAt(0.5, QColor(0, 0, 0, 60));
    edge.setColorAt(0.97, QColor(255, 255, 255, 20));
    edge.setColorAt(1.0, QColor(255, 255, 255, 60));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QBrush(edge), 1.0));
    painter.drawRoundedRect(well, 9.0, 9.0);
}

} // namespace

QFont CassetteDrawing::font(int pixelSize, QFont::Weight weight, bool italic)
{
    QFont font;
    font.setFamilies({QStringLiteral("Helvetica Neue"), QStringLiteral("Helvetica"),
                      QStringLiteral("Liberation Sans"), QStringLiteral("Nimbus Sans"),
                      QStringLiteral("DejaVu Sans")});
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(pixelSize);
    font.setWeight(weight);
    font.setItalic(italic);
    return font;
}

void CassetteDrawing::drawSoftShadow(QPainter& painter, const QPainterPath& path, double blur,
                                     const QPointF& offset, double opacity)
{
    // Strokes of falling width, each faint, add up to a shadow that fades out from the edge: a blur
    // that needs no pixel buffer, so it scales with the painter like the rest of the drawing.
    constexpr int steps = 8;
    painter.save();
    painter.translate(offset);
    painter.setBrush(Qt::NoBrush);
    for (int i = steps; i >= 1; --i) {
        const double width = 2.0 * blur * i / steps;
        painter.setPen(QPen(QColor(0, 0, 0, static_cast<int>(255 * opacity / steps)), width, Qt::SolidLine,
                            Qt::RoundCap, Qt::RoundJoin));
        painter.drawPath(path);
    }
    painter.fillPath(path, QColor(0, 0, 0, static_cast<int>(255 * opacity)));
    painter.restore();
}

QImage CassetteDrawing::blankImage(const QSize& pixels, qreal devicePixelRatio)
{
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(devicePixelRatio);
    image.fill(Qt::transparent);
    return image;
}

void CassetteDrawing::beginDrawing(QPainter& painter)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
}

void CassetteDrawing::drawShell(QPainter& painter)
{
    const QPainterPath shell = shellPath();
    const double height = G::tapeSize().height();
    QLinearGradient body(0, 0, 0, height);
    body.setColorAt(0.0, QColor(78, 79, 86));
    body.setColorAt(0.08, QColor(60, 61, 67));
    body.setColorAt(0.6, QColor(44, 45, 50));
    body.setColorAt(1.0, QColor(30, 31, 34));
    painter.fillPath(shell, body);
    // Moulded plastic: a faint sheen across the width.
    QLinearGradient sheen(0, 0, G::tapeSize().width(), 0);
    sheen.setColorAt(0.0, QColor(255, 255, 255, 10));
    sheen.setColorAt(0.35, QColor(255, 255, 255, 0));
    sheen.setColorAt(0.8, QColor(255, 255, 255, 14));
    sheen.setColorAt(1.0, QColor(255, 255, 255, 0));
    painter.fillPath(shell, sheen);

    drawGrips(painter);
    drawGuidePlate(painter);
    drawLabelRecess(painter);
    const double right = G::tapeSize().width();
    drawScrew(painter, QPointF(13, 13), 20.0);
    drawScrew(painter, QPointF(right - 13, 13), 65.0);
    drawScrew(painter, QPointF(13, height - 13), 40.0);
    drawScrew(painter, QPointF(right - 13, height - 13), 5.0);

    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(255, 255, 255, 45), 1.0));
    painter.drawRoundedRect(G::shellRect().adjusted(1.5, 1.5, -1.5, -1.5), shellCornerRadius - 1,
                            shellCornerRadius - 1);
    painter.setPen(QPen(QColor(0, 0, 0, 220), 1.0));
    painter.drawPath(shell);
}

void CassetteDrawing::drawDoor(QPainter& painter, const QString& slogan)
{
    const QPainterPath shell = shellPath();
    const QSizeF size = G::tapeSize();
    painter.fillPath(shell, QColor(10, 12, 18, 22));

    // A broad reflection across the pane, as from a window behind the listener.
    QPainterPath glare;
    glare.moveTo(size.width() * 0.58, 0);
    glare.lineTo(size.width() * 0.80, 0);
    glare.lineTo(size.width() * 0.50, size.height());
    glare.lineTo(size.width() * 0.28, size.height());
    glare.closeSubpath();
    QLinearGradient glareFade(0, 0, 0, size.height());
    glareFade.setColorAt(0.0, QColor(255, 255, 255, 34));
    glareFade.setColorAt(1.0, QColor(255, 255, 255, 6));
    painter.save();
    painter.setClipPath(shell);
    painter.fillPath(glare, glareFade);
    painter.restore();

    constexpr double sloganKerning = 1.0;
    QPainterPath text = GlyphGrabber::glyphForCharacter(slogan, font(12, QFont::Bold), sloganKerning);
    const QRectF bounds = text.boundingRect();
    const QRectF strip = G::sloganRect();
    text.translate(strip.center() - bounds.center());
    painter.fillPath(text.translated(0, 1.0), QColor(0, 0, 0, 170));
    QLinearGradient ink(0, strip.top(), 0, strip.bottom());
    ink.setColorAt(0.0, QColor(236, 237, 242));
    ink.setColorAt(1.0, QColor(170, 172, 180));
    painter.fillPath(text, ink);

    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(255, 255, 255, 60), 1.0));
    painter.drawLine(QPointF(shellCornerRadius, 1.0), QPointF(size.width() - shellCornerRadius, 1.0));
}

} // namespace spindrel
