#include "HotKeysLib3/PTHotKeyCenter.h"
#include "deck/DeckPreferences.h"
#include "deck/DefaultsKeys.h"
#include "deck/WindowController.h"

#include <QAction>
#include <QApplication>
#include <QIcon>
#include <QMenu>
#include <QSystemTrayIcon>

namespace spindrel {

namespace {
const char* const kActionProperty = "spindrelAction";
} // namespace

void WindowController::buildStatusItemMenu()
{
    mStatusItemMenu = new QMenu;
    mStatusItemMenu->setObjectName(QStringLiteral("StatusItemMenu"));
    auto add = [this](const QString& title, const char* action, void (WindowController::*slot)()) {
        QAction* item = mStatusItemMenu->addAction(title, this, slot);
        item->setProperty(kActionProperty, QString::fromLatin1(action));
        return item;
    };
    add(tr("Record"), "recordTape", &WindowController::recordTape);
    add(tr("Pause"), "pauseTape", &WindowController::pauseTape)->setCheckable(true);
    add(tr("Stop"), "stopTape", &WindowController::stopTape);
    add(tr("Play"), "playTape", &WindowController::playTape);
    mStatusItemMenu->addSeparator();
    add(tr("Show Spindrel"), "activateApp", &WindowController::activateApp);
    mStatusItemMenu->addSeparator();
    QAction* quit = mStatusItemMenu->addAction(tr("Quit Spindrel"), qApp, &QApplication::closeAllWindows);
    quit->setProperty(kActionProperty, QStringLiteral("terminate"));
    refreshStatusItemState();
}

void WindowController::installStatusItem()
{
    if (mStatusItem)
        return;
    if (!mStatusItemMenu)
        buildStatusItemMenu();
    mStatusItem = new QSystemTrayIcon(this);
    mStatusItem->setObjectName(QStringLiteral("SpindrelStatusItem"));
    mStatusItem->setToolTip(QStringLiteral("Spindrel"));
    mStatusItem->setContextMenu(mStatusItemMenu);
    setStatusItemImage(mStatusItemImageName.isEmpty() ? QStringLiteral("spstatus") : mStatusItemImageName);
    connect(mStatusItem, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger)
            activateApp();
    });
    mStatusItem->show();
}

void WindowController::removeStatusItem()
{
    if (!mStatusItem)
        return;
    mStatusItem->hide();
    delete mStatusItem;
}

void WindowController::refreshStatusItemState()
{
    if (!mStatusItemMenu)
        return;
    for (QAction* item : mStatusItemMenu->actions()) {
        if (item->property(kActionProperty).toString() == QLatin1String("pauseTape"))
            item->setChecked(mRecordingPaused);
    }
}

void WindowController::setStatusItemImage(const QString& name)
{
    mStatusItemImageName = name;
    if (!mStatusItem)
        return;
    // The highlighted image shows while the menu is open, where the panel supports it.
    QIcon icon(QStringLiteral(":/images/%1.svg").arg(name));
    icon.addFile(QStringLiteral(":/images/spstatus-hilite.svg"), QSize(), QIcon::Selected);
    mStatusItem->setIcon(icon);
    mStatusItem->setProperty("imageName", name);
}

void WindowController::registerHotkeys()
{
    struct Binding
    {
        QString identifier;
        QString key;
        void (WindowController::*action)();
        std::shared_ptr<PTHotKey>* hotKey;
    };
    const Binding bindings[] = {
        {QStringLiteral("Record"), DefaultsKeys::RecordHotKey, &WindowController::recordTape, &mRecordHotKey},
        {QStringLiteral("Stop"), DefaultsKeys::StopHotKey, &WindowController::stopTape, &mStopHotKey},
        {QStringLiteral("Pause"), DefaultsKeys::PauseHotKey, &WindowController::pauseTape, &mPauseHotKey},
    };
    PTHotKeyCenter& center = PTHotKeyCenter::sharedCenter();
    const bool enabled = mPreferences.boolForKey(DefaultsKeys::EnableHotKeys);
    for (const Binding& binding : bindings) {
        const PTKeyCombo combo =
            enabled ? PTKeyCombo::fromPlistRepresentation(mPreferences.defaultsValue(binding.key))
                    : PTKeyCombo::clearKeyCombo();
        if (*binding.hotKey)
            center.unregisterHotKey(*binding.hotKey);
        auto hotKey = std::make_shared<PTHotKey>(binding.identifier, combo);
        hotKey->setName(tr("Spindrel: %1").arg(binding.identifier));
        hotKey->setTarget(this);
        hotKey->setAction([this, action = binding.action](PTHotKey&) { (this->*action)(); });
        // A combination the desktop refuses leaves that hot key unregistered; nothing is said.
        center.registerHotKey(hotKey);
        *binding.hotKey = hotKey;
    }
}

void WindowController::unregisterHotkeys()
{
    for (std::shared_ptr<PTHotKey>* hotKey : {&mRecordHotKey, &mStopHotKey, &mPauseHotKey}) {
        if (*hotKey)
            PTHotKeyCenter::sharedCenter().unregisterHotKey(*hotKey);
        hotKey->reset();
    }
}

} // namespace spindrel
