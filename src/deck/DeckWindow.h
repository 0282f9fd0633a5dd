#pragma once

#include <QMainWindow>
#include <QTimer>
#include <functional>

class QLabel;
class QFrame;
class QPushButton;

namespace spindrel {

class DeckBackgroundView;
class DrawerButton;
class HUDView;
class SegmentedTapeButtonView;
class TapeView;

/// The deck's window: the HUD, the cassette, the speaker grilles and the transport keys on the
/// deck's face, a message strip for failures, and the tape box drawer at the right, which shows
/// as the window widens while it is open. A window taller than the screen allows makes the deck
/// shorter (down to minimumDeckHeight); one larger than the deck shows it centred on the metal.
class DeckWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// Width of the deck's face; the drawer lies beyond it.
    static constexpr int faceWidth = 390;
    static constexpr int deckHeight = 540;
    /// The shortest the deck becomes on a small screen, with the keys still easy to hit.
    static constexpr int minimumDeckHeight = 360;
    /// How long a message without a button stays, unless told otherwise.
    static constexpr int kMessageSeconds = 20;

    explicit DeckWindow(QWidget* parent = nullptr);
    ~DeckWindow() override;

    HUDView* hudView() const { return mHUDView; }
    SegmentedTapeButtonView* buttonView() const { return mButtonView; }
    TapeView* tapeView() const { return mTapeView; }
    DrawerButton* drawerButton() const { return mDrawerButton; }
    /// Puts the drawer's contents beyond the face.
    void setDrawer(QWidget* drawer);
    QWidget* drawer() const { return mDrawer; }
    /// Whether the deck reaches over the drawer: the drawer shows as far as the window allows.
    void setDrawerOpen(bool open);
    bool drawerOpen() const { return mDrawerOpen; }
    /// The deck itself (face and drawer), centred in the window.
    QWidget* deckView() const;
    /// The deck's size for the window as it is: as large as it allows, never beyond its full size.
    QSize deckSize() const;

    /// Keeps the window's frame within `available` (a screen's available area): a window off it
    /// moves onto it, and one too large for it becomes smaller, the deck with it.
    void fitInto(const QRect& available);

    /// Shows a message over the deck, clear of the cassette's title, until the user dismisses it
    /// or another replaces it. With an `actionText`, a button beside the message runs `action`
    /// (and dismisses the message); without one, the message also leaves after a while.
    void showMessage(const QString& message, const QString& actionText = QString(),
                     std::function<void()> action = {});
    void setMessageLifetime(int milliseconds) { mMessageLifetimeMs = milliseconds; }
    QRect messageGeometry() const;
    /// The button of the message shown, or null when it has none.
    QPushButton* messageAction() const;
    QString message() const;
    void dismissMessage();
    /// Dismisses the message only while it is `message`: one shown since then stays up.
    void dismissMessage(const QString& message);

Q_SIGNALS:
    void drawerButtonPressed();
    /// The window is closing (before it hides).
    void closing();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void placeMessage();
    void layoutDeck();

    QWidget* mBackdrop = nullptr;
    DeckBackgroundView* mBody = nullptr;
    HUDView* mHUDView = nullptr;
    SegmentedTapeButtonView* mButtonView = nullptr;
    TapeView* mTapeView = nullptr;
    DrawerButton* mDrawerButton = nullptr;
    QWidget* mDrawer = nullptr;
    QWidget* mLeftGrille = nullptr;
    QWidget* mRightGrille = nullptr;
    bool mDrawerOpen = false;
    QFrame* mMessageStrip = nullptr;
    QLabel* mMessageLabel = nullptr;
    QPushButton* mMessageButton = nullptr;
    std::function<void()> mMessageAction;
    QTimer mMessageExpiry;
    int mMessageLifetimeMs = kMessageSeconds * 1000;
};

} // namespace spindrel
