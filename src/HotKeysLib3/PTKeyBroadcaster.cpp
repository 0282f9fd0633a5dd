#include "HotKeysLib3/PTKeyBroadcaster.h"

#include "HotKeysLib3/PTKeyCodeTable.h"
#include "HotKeysLib3/PTKeyCodeTranslator.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <array>
#include <utility>

namespace spindrel {

PTKeyBroadcaster::PTKeyBroadcaster(QWidget* parent) : QLabel(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setAlignment(Qt::AlignCenter);
    setFrameShape(QFrame::StyledPanel);
    setFrameShadow(QFrame::Sunken);
    setMinimumHeight(40);
    QFont bigger = font();
    bigger.setPointSizeF(bigger.pointSizeF() * 1.4);
    setFont(bigger);
}

uint32_t PTKeyBroadcaster::cocoaModifiersAsCarbonModifiers(Qt::KeyboardModifiers modifiers)
{
    static constexpr std::array<std::pair<Qt::KeyboardModifier, uint32_t>, 4> table{{
        {Qt::ControlModifier, PTKeyCombo::cmdKey},
        {Qt::AltModifier, PTKeyCombo::optionKey},
        {Qt::MetaModifier, PTKeyCombo::controlKey},
        {Qt::ShiftModifier, PTKeyCombo::shiftKey},
    }};
    uint32_t result = 0;
    for (const auto& [flag, mask] : table)
        if (modifiers.testFlag(flag))
            result += mask;
    return result;
}

int32_t PTKeyBroadcaster::keyCodeForEvent(const QKeyEvent& event)
{
    // On X11 and Wayland the scan code is the XKB key code, which names the key's position.
    const QString platform = QGuiApplication::platformName();
    if (event.nativeScanCode() != 0 &&
        (platform == QLatin1String("xcb") || platform == QLatin1String("wayland"))) {
        const int32_t keyCode =
            PTKeyCodeTranslator::currentTranslator()->keyCodeForXkbKeycode(event.nativeScanCode());
        if (keyCode >= 0)
            return keyCode;
    }
    const PTKeyCodeEntry* entry =
        PTKeyCodeTable::entryForQtKey(event.key(), event.modifiers().testFlag(Qt::KeypadModifier));
    return entry ? entry->keyCode : -1;
}

bool PTKeyBroadcaster::event(QEvent* event)
{
    // Every key belongs to the combination being recorded: no shortcut fires, Tab does not move focus.
    if (event->type() == QEvent::ShortcutOverride) {
        event->accept();
        return true;
    }
    if (event->type() == QEvent::KeyPress) {
        keyPressEvent(static_cast<QKeyEvent*>(event));
        return true;
    }
    return QLabel::event(event);
}

void PTKeyBroadcaster::keyPressEvent(QKeyEvent* event)
{
    event->accept();
    switch (event->key()) {
    case Qt::Key_Control:
    case Qt::Key_Shift:
    case Qt::Key_Alt:
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
    case Qt::Key_AltGr:
    case Qt::Key_CapsLock:
        return;
    default:
        break;
    }
    const int32_t keyCode = keyCodeForEvent(*event);
    if (keyCode < 0)
        return;
    const PTKeyCombo combo(keyCode, cocoaModifiersAsCarbonModifiers(event->modifiers()));
    Q_EMIT keyEvent({{QStringLiteral("keyCombo"), QVariant::fromValue(combo)}});
}

} // namespace spindrel
