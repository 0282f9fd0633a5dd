#include "HotKeysLib3/PTHotKeyCenter.h"

#include "HotKeysLib3/PTPortalHotKeyBackend.h"
#include "HotKeysLib3/PTX11HotKeyBackend.h"
#include "foundation/Assertion.h"

#include <QCoreApplication>
#include <QGuiApplication>

namespace spindrel {

PTHotKeyCenter& PTHotKeyCenter::sharedCenter()
{
    static PTHotKeyCenter* center = [] {
        auto* c = new PTHotKeyCenter(backendForSession());
        // The center's grabs and bus connection must go before the application object does.
        if (QCoreApplication* app = QCoreApplication::instance())
            QObject::connect(app, &QObject::destroyed, c, [c] { delete c; });
        return c;
    }();
    return *center;
}

std::unique_ptr<PTHotKeyBackend> PTHotKeyCenter::backendForSession()
{
    const QByteArray choice = qgetenv("SPINDREL_HOTKEYS");
    if (choice == "x11")
        return PTX11HotKeyBackend::connect();
    if (choice == "portal")
        return std::make_unique<PTPortalHotKeyBackend>();
    if (choice == "none")
        return std::make_unique<PTUnavailableHotKeyBackend>();

    // In a Wayland session X11 grabs only see keys typed into X11 windows: only the portal is global.
    const bool wayland = QGuiApplication::platformName() == QLatin1String("wayland") ||
                         qgetenv("XDG_SESSION_TYPE") == "wayland" ||
                         !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    if (wayland)
        return std::make_unique<PTPortalHotKeyBackend>();
    if (!qEnvironmentVariableIsEmpty("DISPLAY")) {
        auto x11 = PTX11HotKeyBackend::connect();
        if (x11->availability() == Availability::Available)
            return x11;
    }
    return std::make_unique<PTPortalHotKeyBackend>();
}

PTHotKeyCenter::PTHotKeyCenter(std::unique_ptr<PTHotKeyBackend> backend, QObject* parent)
    : QObject(parent), mBackend(std::move(backend))
{
    connect(mBackend.get(), &PTHotKeyBackend::availabilityChanged, this,
            &PTHotKeyCenter::availabilityChanged);
    connect(mBackend.get(), &PTHotKeyBackend::activated, this, &PTHotKeyCenter::hotKeyActivated);
}

PTHotKeyCenter::~PTHotKeyCenter()
{
    for (auto& [id, hotKey] : mHotKeys) {
        mBackend->unregisterHotKey(id);
        hotKey->setHotKeyID(0);
    }
}

bool PTHotKeyCenter::registerHotKey(const std::shared_ptr<PTHotKey>& hotKey)
{
    SP_ASSERT(hotKey, "Registering no hot key");
    if (mHotKeys.contains(hotKey->hotKeyID()))
        unregisterHotKey(hotKey);
    if (!hotKey->keyCombo().isValidHotKeyCombo())
        return true;

    const uint32_t id = ++mHotKeyCount;
    if (!mBackend->registerHotKey(id, hotKey->identifier(), hotKey->name(), hotKey->keyCombo()))
        return false;
    hotKey->setHotKeyID(id);
    mHotKeys[id] = hotKey;
    return true;
}

void PTHotKeyCenter::unregisterHotKey(const std::shared_ptr<PTHotKey>& hotKey)
{
    if (!hotKey)
        return;
    const auto it = mHotKeys.find(hotKey->hotKeyID());
    if (it == mHotKeys.end() || it->second != hotKey)
        return;
    mBackend->unregisterHotKey(it->first);
    mHotKeys.erase(it);
    hotKey->setHotKeyID(0);
}

QList<std::shared_ptr<PTHotKey>> PTHotKeyCenter::allHotKeys() const
{
    QList<std::shared_ptr<PTHotKey>> hotKeys;
    for (const auto& [id, hotKey] : mHotKeys)
        hotKeys << hotKey;
    return hotKeys;
}

std::shared_ptr<PTHotKey> PTHotKeyCenter::hotKeyWithIdentifier(const QString& identifier) const
{
    for (const auto& [id, hotKey] : mHotKeys)
        if (hotKey->identifier() == identifier)
            return hotKey;
    return nullptr;
}

void PTHotKeyCenter::hotKeyActivated(uint32_t id, bool pressed)
{
    // A press can still be on its way when its hot key has just been unregistered.
    const auto it = mHotKeys.find(id);
    if (it == mHotKeys.end())
        return;
    const std::shared_ptr<PTHotKey> hotKey = it->second;
    if (pressed)
        hotKeyDown(*hotKey);
    else
        hotKeyUp(*hotKey);
}

QString PTHotKeyCenter::availabilityText() const
{
    switch (availability()) {
    case Availability::Available:
        return {};
    case Availability::Pending:
        return tr("Looking for the desktop's global shortcuts…");
    case Availability::Unavailable:
        break;
    }
    return tr("Global hot keys are unavailable in this session.");
}

void PTHotKeyCenter::hotKeyDown(PTHotKey& hotKey)
{
    if (!mInvocationsSuspended)
        hotKey.invoke();
    Q_EMIT hotKeyPressed(hotKey.identifier());
}

void PTHotKeyCenter::hotKeyUp(PTHotKey& hotKey)
{
    Q_EMIT hotKeyReleased(hotKey.identifier());
}

} // namespace spindrel
