#pragma once

#include <QMainWindow>

class QLabel;
class QFrame;
class QToolButton;

namespace spindrel {

class HUDView;
class SegmentedTapeButtonView;
class TapeView;

/// The deck's window: the cassette, the HUD and the transport keys on the deck's face, a
/// message strip for failures, and the tape box drawer at the right, which shows as the window
/// widens.
class DeckWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// Width of the deck's face; the drawer lies beyond it.
    static constexpr int faceWidth = 390;

    explicit DeckWindow(QWidget* parent = nullptr);
    ~DeckWindow() override;

    HUDView* hudView() const { return mHUDView; }
    SegmentedTapeButtonView* buttonView() const { return mButtonView; }
    TapeView* tapeView() const { return mTapeView; }
    QWidget* drawer() const { return mDrawer; }
    void setDrawer(QWidget* drawer);
    QToolButton* drawerButton() const { return mDrawerButton; }

    /// Shows a message over the deck until the user dismisses it or another replaces it.
    void showMessage(const QString& message);
    QString message() const;
    void dismissMessage();

Q_SIGNALS:
    void drawerButtonPressed();
    /// The window is closing (before it hides).
    void closing();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    QWidget* mFace = nullptr;
    HUDView* mHUDView = nullptr;
    SegmentedTapeButtonView* mButtonView = nullptr;
    TapeView* mTapeView = nullptr;
    QWidget* mDrawer = nullptr;
    QToolButton* mDrawerButton = nullptr;
    QFrame* mMessageStrip = nullptr;
    QLabel* mMessageLabel = nullptr;
};

} // namespace spindrel
