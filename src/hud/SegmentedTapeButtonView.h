#pragma once

#include <QImage>
#include <QMap>
#include <QSet>
#include <QVariantMap>
#include <QWidget>
#include <functional>
#include <optional>

namespace spindrel {

/// The deck's row of piano-key transport buttons. A press of a key (mouse or keyboard) shows it
/// down and sends its segment's action; letting go of a holdable key after a while sends the
/// action again, so the receiver can tell a held key from a tap. Which keys stay latched is set
/// from outside; the strip does not know what an action means.
class SegmentedTapeButtonView : public QWidget
{
    Q_OBJECT

public:
    /// How long a holdable key must be held for its release to count (the single-precision 0.32).
    static constexpr double holdInterval = static_cast<double>(0.32f);

    explicit SegmentedTapeButtonView(QWidget* parent = nullptr);

    /// The deck's six keys: 0 "REC", 1 "PLAY", 2 "REW", 3 "FFWD", 4 "STOP", 5 "PAUSE" with their
    /// glyphs, record segment 0, play and the winding keys holdable, the default keyboard map.
    void setUpTransportSegments();

    int segments() const { return mSegments; }
    void setSegments(int segments);
    int recordSegment() const { return mRecordSegment; }
    void setRecordSegment(int segment) { mRecordSegment = segment; }

    QString label(int segment) const { return mLabels.value(segment); }
    void setLabel(const QString& label, int segment);
    /// The key's name for assistive technologies ("Fast Forward" where the key says "FFWD"); the
    /// label when none is set.
    QString spokenLabel(int segment) const { return mSpokenLabels.value(segment, label(segment)); }
    void setSpokenLabel(const QString& label, int segment) { mSpokenLabels[segment] = label; }
    /// The hardware key code the keyboard map gives the segment's action, or -1.
    int keyCodeForSegment(int segment) const;
    QImage image(int segment) const { return mImages.value(segment); }
    void setImage(const QImage& image, int segment);
    bool isHoldableSegment(int segment) const { return mHoldableSegments.value(segment, false); }
    void setHoldableSegment(int segment, bool holdable) { mHoldableSegments[segment] = holdable; }
    const QMap<int, bool>& holdableSegments() const { return mHoldableSegments; }

    /// Action name ("record", "play", ...) to hardware key code, as in the user default.
    const QVariantMap& keymap() const { return mKeymap; }
    void setKeymap(const QVariantMap& keymap) { mKeymap = keymap; }

    // Latched state, driven by the transport.
    void setSelectedSegment(int segment);
    void clearSelectedSegment(int segment);
    /// Clears every latched key, sparing the state saved for a key that is held right now.
    void clearSelectedSegments();
    /// Drawn pressed: in the selected set.
    bool isDepressedSegment(int segment) const { return mSelectedSegments.contains(segment); }
    /// Latched by the transport: the saved set while a key is held, else the selected set.
    bool isSelectedSegment(int segment) const;
    const QSet<int>& selectedSegments() const { return mSelectedSegments; }

    /// The segment under a point in widget coordinates, or -1 between keys and outside them.
    int segmentForPoint(const QPointF& point) const;
    /// The segment a hardware key code presses now, or -1 (play and the space bar toggle stop).
    int segmentForKeyCode(int keyCode) const;
    QRectF rectForSegment(int segment) const;

    /// A press and an immediate release of a key, as a click on it (assistive technologies).
    void tapSegment(int segment);
    /// The key held down now (mouse or keyboard), or -1.
    int heldSegment() const { return mHeldSegment; }
    /// Lets go of the held key as if it were released: the window lost the keyboard, so the real
    /// release will never arrive here.
    void releaseHeldKey();

    /// Seconds since the epoch; replaceable so that holds can be tested without waiting.
    void setClock(std::function<double()> clock) { mClock = std::move(clock); }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

Q_SIGNALS:
    /// The segment's action is sent: on every press, and on the release of a held holdable key.
    void segmentAction(int segment);
    /// A key went down or came up (the display shows it; the action is segmentAction).
    void segmentPressed(int segment);
    void segmentReleased(int segment);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void press(int segment);
    void pressButtonForSegment(int segment);
    void clearPressedButtons();
    void releaseHeld(int segment);
    double now() const;
    int keyCodeFor(const QString& actionName) const;
    void paintKey(QPainter& painter, int segment) const;

    int mSegments = 0;
    int mRecordSegment = 0;
    QMap<int, QString> mLabels;
    QMap<int, QString> mSpokenLabels;
    QMap<int, QImage> mImages;
    QMap<int, bool> mHoldableSegments;
    QVariantMap mKeymap;
    QSet<int> mSelectedSegments;
    std::optional<QSet<int>> mOldSelectedSegments;
    double mButtonPressTime = 0.0;
    int mHeldSegment = -1;
    std::function<double()> mClock;
};

} // namespace spindrel
