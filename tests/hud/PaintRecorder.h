#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QImage>
#include <QPaintEvent>
#include <QPointer>
#include <QRegion>
#include <QTest>
#include <QWidget>

namespace spindrel::test {

/// Collects the regions a widget is asked to paint, as its paint events carry them.
class PaintRecorder : public QObject
{
public:
    explicit PaintRecorder(QWidget* widget) : mWidget(widget) { widget->installEventFilter(this); }
    ~PaintRecorder() override
    {
        if (mWidget)
            mWidget->removeEventFilter(this);
    }

    /// Lets every pending repaint happen, then forgets what was painted so far.
    void settle()
    {
        flush();
        mRegions.clear();
    }
    /// Lets pending repaints happen: the backing store paints on a zero timer and a later pass.
    static void flush()
    {
        for (int pass = 0; pass < 5; ++pass) {
            QCoreApplication::processEvents();
            QTest::qWait(20);
        }
    }
    const QList<QRegion>& regions() const { return mRegions; }
    QRegion painted() const
    {
        QRegion all;
        for (const QRegion& region : mRegions)
            all += region;
        return all;
    }

protected:
    bool eventFilter(QObject* object, QEvent* event) override
    {
        if (object == mWidget && event->type() == QEvent::Paint)
            mRegions << static_cast<QPaintEvent*>(event)->region();
        return false;
    }

private:
    QPointer<QWidget> mWidget;
    QList<QRegion> mRegions;
};

/// The widget drawn on black into an image of its own at a device pixel ratio.
inline QImage rendered(QWidget& widget, qreal devicePixelRatio)
{
    QImage image((QSizeF(widget.size()) * devicePixelRatio).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(devicePixelRatio);
    image.fill(Qt::black);
    widget.render(&image);
    return image;
}

} // namespace spindrel::test
