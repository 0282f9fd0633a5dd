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

} // namespace spindrel
