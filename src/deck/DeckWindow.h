#pragma once

#include <QMainWindow>
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
/// as the window widens.
class DeckWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// Width of the deck's face; the drawer lies beyond it.
    static constexpr int faceWidth = 390;
    static constexpr int deckHeight = 540;

    explicit DeckWindow(QWidget* parent = nullptr);
    ~DeckWindow() override;

    HUDView* hudView() const { return mHUDView; }
    SegmentedTapeButtonView* buttonView() const { return mButtonView; }
    TapeView* tapeView() const { return mTapeView; }
    DrawerButton* drawerButton() const { return mDrawerButton; }
    /// Puts the drawer's contents beyond the face.
    void setDrawer(QWidget* drawer);
    QWidget* drawer() const { return mDrawer; }

    /// Shows a message over the deck until the user dismisses it or another replaces it. With an
    /// `actionText`, a button beside the message runs `action` (and dismisses the message).
    void showMessage(const QString& message, const QString& actionText = QString(),
                     std::function<void()> action = {});
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
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void placeMessage();

    DeckBackgroundView* mBody = nullptr;
    HUDView* mHUDView = nullptr;
    SegmentedTapeButtonView* mButtonView = nullptr;
    TapeView* mTapeView = nullptr;
    DrawerButton* mDrawerButton = nullptr;
    QWidget* mDrawer = nullptr;
    QFrame* mMessageStrip = nullptr;
    QLabel* mMessageLabel = nullptr;
    QPushButton* mMessageButton = nullptr;
    std::function<void()> mMessageAction;
};

} // namespace spindrel
