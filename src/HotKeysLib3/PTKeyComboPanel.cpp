#include "HotKeysLib3/PTKeyComboPanel.h"

#include "HotKeysLib3/PTHotKey.h"
#include "HotKeysLib3/PTKeyBroadcaster.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace spindrel {

namespace {

QPointer<PTKeyComboPanel> theSharedPanel;

void deleteSharedPanel()
{
    delete theSharedPanel.data();
}

} // namespace

PTKeyComboPanel& PTKeyComboPanel::sharedPanel()
{
    if (!theSharedPanel) {
        theSharedPanel = new PTKeyComboPanel;
        qAddPostRoutine(deleteSharedPanel);
    }
    return *theSharedPanel;
}

PTKeyComboPanel::PTKeyComboPanel(QWidget* parent)
    : QDialog(parent), mTitleField(new QLabel(this)), mKeyBroadcaster(new PTKeyBroadcaster(this)),
      mPlatformField(new QLabel(this))
{
    setWindowTitle(tr("Hot Key"));
    mTitleField->setWordWrap(true);
    mPlatformField->setAlignment(Qt::AlignCenter);
    mPlatformField->setForegroundRole(QPalette::PlaceholderText);

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* clearButton = buttons->addButton(tr("Clear"), QDialogButtonBox::ResetRole);
    QPushButton* cancelButton = buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole);
    QPushButton* okButton = buttons->addButton(tr("OK"), QDialogButtonBox::AcceptRole);
    // The field takes every key, Return included: the buttons are for the mouse.
    for (QPushButton* button : {clearButton, cancelButton, okButton}) {
        button->setAutoDefault(false);
        button->setFocusPolicy(Qt::NoFocus);
    }
    connect(clearButton, &QPushButton::clicked, this, &PTKeyComboPanel::clear);
    connect(cancelButton, &QPushButton::clicked, this, &PTKeyComboPanel::cancel);
    connect(okButton, &QPushButton::clicked, this, &PTKeyComboPanel::ok);
    connect(mKeyBroadcaster, &PTKeyBroadcaster::keyEvent, this, &PTKeyComboPanel::noteKeyBroadcast);
    connect(this, &QDialog::finished, this, [this](int result) {
        releaseHotKeys();
        if (auto didEnd = std::exchange(mSheetDidEnd, nullptr))
            didEnd(result);
    });

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(mTitleField);
    layout->addWidget(mKeyBroadcaster);
    layout->addWidget(mPlatformField);
    layout->addWidget(buttons);
    setMinimumWidth(320);
    refreshContents();
}

PTKeyComboPanel::~PTKeyComboPanel()
{
    releaseHotKeys();
}

int PTKeyComboPanel::runModalForHotKey(const std::shared_ptr<PTHotKey>& hotKey, PTHotKeyCenter& center)
{
    setKeyBindingName(hotKey->name());
    setKeyCombo(hotKey->keyCombo());
    setWindowModality(Qt::ApplicationModal);
    mKeyBroadcaster->setFocus();
    holdHotKeys(center);
    const int result = exec();
    if (result == QDialog::Accepted) {
        hotKey->setKeyCombo(mKeyCombo);
        center.registerHotKey(hotKey);
    }
    return result;
}

void PTKeyComboPanel::runSheeetForModalWindow(QWidget* window, std::function<void(int returnCode)> didEnd,
                                              PTHotKeyCenter& center)
{
    mSheetDidEnd = std::move(didEnd);
    if (window && parentWidget() != window)
        setParent(window, windowFlags() | Qt::Sheet);
    setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
    holdHotKeys(center);
    open();
    mKeyBroadcaster->setFocus();
}

void PTKeyComboPanel::holdHotKeys(PTHotKeyCenter& center)
{
    releaseHotKeys();
    mHeldCenter = &center;
    center.setInvocationsSuspended(true);
    mHeldConnection =
        connect(&center, &PTHotKeyCenter::hotKeyPressed, this, [this](const QString& identifier) {
            if (const auto hotKey = mHeldCenter ? mHeldCenter->hotKeyWithIdentifier(identifier) : nullptr)
                setKeyCombo(hotKey->keyCombo());
        });
}

void PTKeyComboPanel::releaseHotKeys()
{
    disconnect(mHeldConnection);
    if (mHeldCenter)
        mHeldCenter->setInvocationsSuspended(false);
    mHeldCenter = nullptr;
}

void PTKeyComboPanel::setKeyCombo(const PTKeyCombo& keyCombo)
{
    mKeyCombo = keyCombo;
    refreshContents();
}

void PTKeyComboPanel::setKeyBindingName(const QString& name)
{
    mKeyName = name;
    refreshContents();
}

QString PTKeyComboPanel::platformText() const
{
    return mPlatformField->text();
}

void PTKeyComboPanel::ok()
{
    accept();
}

void PTKeyComboPanel::cancel()
{
    reject();
}

void PTKeyComboPanel::clear()
{
    setKeyCombo(PTKeyCombo::clearKeyCombo());
    accept();
}

void PTKeyComboPanel::noteKeyBroadcast(const QVariantMap& userInfo)
{
    setKeyCombo(userInfo.value(QStringLiteral("keyCombo")).value<PTKeyCombo>());
}

void PTKeyComboPanel::refreshContents()
{
    mTitleField->setText(tr("Type the keys for “%1”:").arg(mKeyName));
    // Written the way the desktop writes shortcuts ("Ctrl+Shift+7"), not in another system's glyphs.
    mKeyBroadcaster->setText(mKeyCombo.platformDescription());
    if (mKeyCombo.isValidHotKeyCombo())
        mPlatformField->setText(mKeyCombo.platformDescription());
    else if (mKeyCombo.isClearCombo())
        mPlatformField->setText(tr("No hot key"));
    else
        mPlatformField->setText(tr("A hot key needs Ctrl, Alt, Super or Shift."));
}

} // namespace spindrel
