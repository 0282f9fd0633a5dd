#pragma once

#include "HotKeysLib3/PTHotKeyCenter.h"
#include "HotKeysLib3/PTKeyCombo.h"

#include <QDialog>
#include <QPointer>
#include <functional>
#include <memory>

class QLabel;

namespace spindrel {

class PTKeyBroadcaster;

/// The sheet in which the user types a new combination for a hot key: OK keeps what was typed,
/// Clear ends with the clear combination, Cancel keeps the old one.
class PTKeyComboPanel : public QDialog
{
    Q_OBJECT
public:
    static PTKeyComboPanel& sharedPanel();

    explicit PTKeyComboPanel(QWidget* parent = nullptr);
    ~PTKeyComboPanel() override;

    /// Runs modally for the hot key; on OK gives it the new combination and registers it with it.
    int runModalForHotKey(const std::shared_ptr<PTHotKey>& hotKey,
                          PTHotKeyCenter& center = PTHotKeyCenter::sharedCenter());
    /// Opens as a sheet over the window and returns at once; didEnd gets QDialog::Accepted or
    /// QDialog::Rejected when the sheet ends (the keyCombo() then holds the result).
    void runSheeetForModalWindow(QWidget* window, std::function<void(int returnCode)> didEnd,
                                 PTHotKeyCenter& center = PTHotKeyCenter::sharedCenter());

    void setKeyCombo(const PTKeyCombo& keyCombo);
    PTKeyCombo keyCombo() const { return mKeyCombo; }
    void setKeyBindingName(const QString& name);
    QString keyBindingName() const { return mKeyName; }
    PTKeyBroadcaster* keyBroadcaster() const { return mKeyBroadcaster; }
    /// The combination in this desktop's key names, under the field ("Ctrl+Shift+7").
    QString platformText() const;

public Q_SLOTS:
    void ok();
    void cancel();
    void clear();

private:
    void noteKeyBroadcast(const QVariantMap& userInfo);
    // Registered hot keys would fire instead of reaching the field: hold them while the panel is open.
    void holdHotKeys(PTHotKeyCenter& center);
    void releaseHotKeys();
    void refreshContents();

    QLabel* mTitleField;
    PTKeyBroadcaster* mKeyBroadcaster;
    QLabel* mPlatformField;
    PTKeyCombo mKeyCombo;
    QString mKeyName;
    std::function<void(int)> mSheetDidEnd;
    QPointer<PTHotKeyCenter> mHeldCenter;
    QMetaObject::Connection mHeldConnection;
};

} // namespace spindrel
