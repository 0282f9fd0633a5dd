#pragma once

#include <QObject>

namespace spindrel {

class DeckWindow;
class TapeBoxViewController;

/// Keeps the keyboard with the deck's transport keys: an edit on the cassette that ends and an
/// Escape that no control wanted give the keys the keyboard back, and a transport key pressed
/// on a control that has no use for it (a HUD control reached with Tab) still works the deck.
/// Also sets the order Tab walks: keys, HUD controls, drawer handle, search field, tape list.
class DeckKeyboardFocus : public QObject
{
    Q_OBJECT

public:
    DeckKeyboardFocus(DeckWindow& window, TapeBoxViewController& tapeBox, QObject* parent = nullptr);

    /// Gives the keyboard to the transport keys.
    void returnFocusToKeys();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    DeckWindow& mWindow;
    bool mForwarding = false;
    int mForwardedKey = 0; // the Qt key of a forwarded press still down
};

} // namespace spindrel
