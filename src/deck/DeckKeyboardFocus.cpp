#include "deck/DeckKeyboardFocus.h"

#include "deck/DeckWindow.h"
#include "deck/TapeBoxViewController.h"
#include "hud/DrawerButton.h"
#include "hud/HUDView.h"
#include "hud/KeyboardTransportMap.h"
#include "hud/PositionView.h"
#include "hud/QualityView.h"
#include "hud/SegmentedTapeButtonView.h"
#include "hud/StereoView.h"
#include "hud/TapeBoxSearchField.h"
#include "hud/TapeBoxView.h"
#include "hud/TapeView.h"
#include "hud/VolumeView.h"

#include <QApplication>
#include <QKeyEvent>

namespace spindrel {

DeckKeyboardFocus::DeckKeyboardFocus(DeckWindow& window, TapeBoxViewController& tapeBox, QObject* parent)
    : QObject(parent), mWindow(window)
{
    HUDView* hud = window.hudView();
    const QList<QWidget*> order = {window.buttonView(),   hud->qualityView(),  hud->stereoView(),
                                   hud->volumeView(),     hud->positionView(), window.drawerButton(),
                                   tapeBox.searchField(), tapeBox.tableView(), window.buttonView()};
    for (qsizetype i = 0; i + 1 < order.size(); ++i)
        QWidget::setTabOrder(order[i], order[i + 1]);
    connect(window.tapeView(), &TapeView::editingEnded, this, &DeckKeyboardFocus::returnFocusToKeys);
    // Keys that no widget took travel up to the window and are caught there.
    window.installEventFilter(this);
}

void DeckKeyboardFocus::returnFocusToKeys()
{
    mWindow.buttonView()->setFocus(Qt::OtherFocusReason);
}

bool DeckKeyboardFocus::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != &mWindow || (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease))
        return false;
    auto* key = static_cast<QKeyEvent*>(event);
    SegmentedTapeButtonView* keys = mWindow.buttonView();
    if (key->type() == QEvent::KeyPress && key->key() == Qt::Key_Escape &&
        key->modifiers() == Qt::NoModifier) {
        returnFocusToKeys();
        return true;
    }
    // The keys passed this one on themselves, or it came back from them: it is nobody's.
    if (mForwarding || QApplication::focusWidget() == keys)
        return false;
    if (key->type() == QEvent::KeyPress) {
        if (key->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier) ||
            keys->segmentForKeyCode(KeyboardTransportMap::hardwareKeyCode(*key)) < 0)
            return false;
        if (!key->isAutoRepeat())
            mForwardedKey = key->key();
    } else {
        // Only the release of a press sent on: a letter typed into a field is not a key let go.
        if (key->key() != mForwardedKey)
            return false;
        if (!key->isAutoRepeat())
            mForwardedKey = 0;
    }
    mForwarding = true;
    QKeyEvent copy(key->type(), key->key(), key->modifiers(), key->nativeScanCode(), key->nativeVirtualKey(),
                   key->nativeModifiers(), key->text(), key->isAutoRepeat(),
                   static_cast<quint16>(key->count()));
    QApplication::sendEvent(keys, &copy);
    mForwarding = false;
    return copy.isAccepted();
}

} // namespace spindrel
