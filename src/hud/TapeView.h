#pragma once

#include "hud/LayerCache.h"
#include "tapes/CassetteArtwork.h"
#include "tapes/Tape.h"
#include "tapes/TapeLetter.h"

#include <QDateTime>
#include <QImage>
#include <QMetaType>
#include <QPointer>
#include <QVariantAnimation>
#include <QWidget>
#include <memory>

class QLineEdit;
class QTimer;

Q_DECLARE_METATYPE(spindrel::TapeLetter)

namespace spindrel {

class TapeNotesEditor;

/// The cassette in the deck: the tape's label, its reels turning while the transport moves, and
/// the slide of the cassette into and out of the deck. The tape's title and notes are edited in
/// place, a click on the letter cycles its colours, and Ctrl-dragging the cassette drags the file.
/// The drawing itself is the shared cassette artwork.
class TapeView : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)
    Q_PROPERTY(QDateTime date READ date WRITE setDate NOTIFY dateChanged)
    Q_PROPERTY(double duration READ duration WRITE setDuration NOTIFY durationChanged)
    Q_PROPERTY(QString quality READ quality WRITE setQuality NOTIFY qualityChanged)
    Q_PROPERTY(spindrel::TapeLetter tapeLetter READ tapeLetter WRITE setTapeLetter NOTIFY tapeLetterChanged)
    Q_PROPERTY(QString notes READ notes WRITE setNotes NOTIFY notesChanged)
    Q_PROPERTY(QString filename READ filename WRITE setFilename NOTIFY filenameChanged)
    Q_PROPERTY(double rotationSpeed READ rotationSpeed WRITE setRotationSpeed NOTIFY rotationSpeedChanged)
    Q_PROPERTY(double spoolRotation READ spoolRotation NOTIFY spoolRotationChanged)
    Q_PROPERTY(double tapeOffset READ tapeOffset WRITE setTapeOffset NOTIFY tapeOffsetChanged)
    Q_PROPERTY(double playProgress READ playProgress WRITE setPlayProgress NOTIFY playProgressChanged)

public:
    /// Margin around the cassette, in the cassette's units.
    static constexpr double tapePadding = 1.0;
    /// The length of the insert and eject slides, and of the out-and-in motion.
    static constexpr int motionMilliseconds = 300;
    static constexpr int fullMotionMilliseconds = 400;
    /// The cassette's natural size.
    static QSizeF tapeSize() { return CassetteArtwork::tapeSize(); }
    /// The share button on the cassette, in the cassette's units.
    static QRectF shareButtonRect() { return {376.0, 233.0, 24.0, 24.0}; }

    explicit TapeView(QWidget* parent = nullptr);
    ~TapeView() override;

    /// Shows a tape and keeps in step with it; edits in the view are written to it. Null shows
    /// an empty deck (a cassette still sliding out stays visible until it is gone).
    TapePtr tape() const { return mTape; }
    void setTape(const TapePtr& tape);

    // The displayed values; setTape fills them in from the tape.
    const QString& title() const { return mTitle; }
    void setTitle(const QString& title);
    const QDateTime& date() const { return mDate; }
    void setDate(const QDateTime& date);
    /// Seconds.
    double duration() const { return mDuration; }
    void setDuration(double duration);
    const QString& quality() const { return mQuality; }
    void setQuality(const QString& quality);
    const TapeLetter& tapeLetter() const { return mTapeLetter; }
    void setTapeLetter(const TapeLetter& tapeLetter);
    const QString& notes() const { return mNotes; }
    void setNotes(const QString& notes);
    const QString& filename() const { return mFilename; }
    void setFilename(const QString& filename);

    // Reels.
    /// The signed transport speed each step turns the reels by: 1 play, 8 winding, negative back.
    double rotationSpeed() const { return mRotationSpeed; }
    void setRotationSpeed(double rotationSpeed);
    /// True starts a repeating step every 1/30 s (replacing a running timer); false stops it.
    void startRotationAnimation(bool start);
    bool isRotating() const { return mSpinTimer != nullptr; }
    /// One reel step: 2 degrees per unit of speed. The movie export calls it once per frame.
    void rotationTimerFired();
    /// Radians; both hubs, the right one times the multiplier.
    double spoolRotation() const { return mSpoolRotation; }
    double rightRotationMultiplier() const { return mRightRotationMultiplier; }
    void setRightRotationMultiplier(double multiplier);
    /// How far the tape has played (0 to 1): the wound packs follow it. The right reel turns as
    /// much faster than the left as its pack is smaller, fixed when the tape is loaded.
    double playProgress() const { return mPlayProgress; }
    void setPlayProgress(double progress);

    // The slide into and out of the deck.
    void insertTape();
    void ejectTape();
    /// Out and back in again.
    void playFullAnimation();
    bool isMoving() const;
    /// How far the cassette stands out of the deck, in its own units: 0 is inserted, the
    /// cassette's height ejected.
    double tapeOffset() const { return mTapeOffset; }
    void setTapeOffset(double offset);

    /// The view's drawing at its window's backing scale (or at `devicePixelRatio`).
    QImage thumbnail() const;
    QImage thumbnail(qreal devicePixelRatio) const;
    /// The image a file drag shows: the thumbnail 128 points wide.
    QImage dragImage() const;

    // Editing in place.
    /// Whether the label can be edited now: a tape is shown and stands still.
    bool canEditLabel() const;
    void editTitle();
    /// Closes the title editor, writing its text to the tape when `commit` and it changed.
    void endTitleEditing(bool commit = true);
    bool isEditingTitle() const;
    QLineEdit* titleEditor() const;
    void displayNotesEditor();
    /// Closes the notes editor and writes its text to the tape when it changed.
    void doneEditingNotes();
    bool isEditingNotes() const;
    TapeNotesEditor* notesEditor() const;
    /// Gives the letter its next colour, as a click on it does.
    void advanceColorScheme();

    /// Where the cassette lies in the view when inserted, and the mapping from its units.
    QRectF cassetteRect() const;
    double cassetteScale() const;
    QPointF mapToCassette(const QPointF& viewPoint) const;
    QRectF mapFromCassette(const QRectF& cassetteRect) const;

    const CassetteValues& cassetteValues() const { return mArtwork.values(); }

    QSize sizeHint() const override;

Q_SIGNALS:
    void titleChanged();
    void dateChanged();
    void durationChanged();
    void qualityChanged();
    void tapeLetterChanged();
    void notesChanged();
    void filenameChanged();
    void rotationSpeedChanged();
    void spoolRotationChanged();
    void tapeOffsetChanged();
    void playProgressChanged();
    /// An insert or eject slide came to its end.
    void motionFinished();
    /// The share button on the cassette was pressed.
    void shareButtonPressed();
    /// Ctrl-click on the cassette: show the tape's file in the file manager.
    void revealTapeRequested();
    /// An editor that had the keyboard closed (Return, Escape, Done, or the tape went away): the
    /// keyboard should go back to the deck rather than to whatever comes next.
    void editingEnded();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    void bindTape();
    void unbindTape();
    void valuesChanged();
    void paintContents(QPainter& painter, qreal devicePixelRatio) const;
    /// The cassette and the door over it; the well beneath is a cached layer on screen.
    void paintCassette(QPainter& painter, qreal devicePixelRatio, CassetteArtwork::Hubs hubs) const;
    /// Pixels per cassette unit of the cassette's pictures.
    double pictureRatio(qreal devicePixelRatio) const;
    void paintWell(QPainter& painter, const QRectF& cassette) const;
    void paintShareButton(QPainter& painter) const;
    /// The deck's door drawn at `pictureRatio` pixels per cassette unit.
    const QImage& doorImage(qreal pictureRatio) const;
    bool showsCassette() const;
    void startMotion(const QList<QPair<double, QVariant>>& keyValues, int milliseconds);
    void updateReels();
    void placeEditors();
    void closeEditors();
    void startFileDrag();
    void updateHoverCursor(const QPointF& viewPoint);

    TapePtr mTape;
    QList<QMetaObject::Connection> mTapeConnections;

    QString mTitle;
    QDateTime mDate;
    double mDuration = 0.0;
    QString mQuality;
    TapeLetter mTapeLetter;
    QString mNotes;
    QString mFilename;

    double mRotationSpeed = 0.0;
    double mSpoolRotation = 0.0;
    double mRightRotationMultiplier = 1.0;
    double mPlayProgress = 0.0;
    bool mFollowsProgress = false;
    std::unique_ptr<QTimer> mSpinTimer;

    double mTapeOffset = 0.0;
    QVariantAnimation mMotion;

    mutable CassetteArtwork mArtwork;
    mutable QImage mDoorImage;
    LayerCache mWell;

    QPointer<QLineEdit> mEditField;
    QPointer<TapeNotesEditor> mNotesEditor;
    bool mEndingTitleEdit = false;

    QPointF mPressPoint;
    bool mCommandPress = false;
    bool mSharePressed = false;
};

} // namespace spindrel
