#pragma once

#include <QWidget>
#include <functional>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QStackedWidget;
class QToolBar;

namespace spindrel {

class DeckPreferences;
class PreferencesController;
class PTKeyCombo;

/// The preferences window: general settings, hot keys and audio devices, one pane each, chosen
/// from the tool bar.
class PreferencesWindow : public QWidget
{
    Q_OBJECT

public:
    enum Pane { GeneralPane, HotKeysPane, AudioPane };

    explicit PreferencesWindow(PreferencesController& controller, QWidget* parent = nullptr);
    ~PreferencesWindow() override;

    /// Fills the device and channel pop-ups and the controls from the defaults.
    void refresh();
    void populateRecordDevicePopUp();
    void populatePlaybackDevicePopUp();
    void populateRecordDeviceChannelsPopUp();

    // Tool bar actions: show a pane and fit the window to it.
    void preferencesToolbarPressed() { showPane(GeneralPane); }
    void hotkeysToolbarPressed() { showPane(HotKeysPane); }
    void audioToolbarPressed() { showPane(AudioPane); }

    // The hot-key buttons: a sheet takes the new combination; OK stores it.
    void changeRecordHotkey();
    void changePauseHotkey();
    void changeStopHotkey();
    void showPane(Pane pane);
    Pane currentPane() const;
    /// Puts the window over the middle of `other`, within the screen's room.
    void centreOn(const QWidget& other);

    QComboBox* recordDevicePopUp() const { return mRecordDevicePopUp; }
    QComboBox* recordDeviceChannelsPopUp() const { return mChannelsPopUp; }
    QLabel* recordDeviceChannelsLabel() const { return mChannelsLabel; }
    QComboBox* playbackDevicePopUp() const { return mPlaybackDevicePopUp; }
    QLineEdit* authorField() const { return mAuthorField; }
    QLabel* libraryLocationLabel() const { return mLibraryLabel; }

private:
    QWidget* makeGeneralPane();
    QWidget* makeHotKeysPane();
    QWidget* makeAudioPane();
    /// A check box that shows and sets one switch of the preferences; named `key`.
    QCheckBox* boundCheckBox(const QString& title, const QString& key, bool (DeckPreferences::*value)() const,
                             void (DeckPreferences::*setValue)(bool),
                             void (DeckPreferences::*valueChanged)(bool));
    /// Opens the key-combination sheet for a hot key and stores what the user typed.
    void changeHotkey(const QString& name, const PTKeyCombo& current,
                      std::function<void(const PTKeyCombo&)> apply);
    void chooseLibraryFolder();
    void authorEdited();

    PreferencesController& mController;
    QToolBar* mToolBar = nullptr;
    QStackedWidget* mPanes = nullptr;
    QComboBox* mRecordDevicePopUp = nullptr;
    QComboBox* mChannelsPopUp = nullptr;
    QLabel* mChannelsLabel = nullptr;
    QComboBox* mPlaybackDevicePopUp = nullptr;
    QLineEdit* mAuthorField = nullptr;
    QLabel* mLibraryLabel = nullptr;
    bool mPopulating = false;
};

} // namespace spindrel
