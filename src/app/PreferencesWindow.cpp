#include "app/PreferencesWindow.h"

#include "HotKeysLib3/PTHotKeyCenter.h"
#include "HotKeysLib3/PTKeyComboPanel.h"
#include "app/PreferencesController.h"
#include "app/WhitespaceStrippingValueTransformer.h"
#include "audio/VORLAudioHardware.h"
#include "deck/DefaultsKeys.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QStackedWidget>
#include <QToolBar>
#include <QVBoxLayout>
#include <algorithm>

namespace spindrel {

namespace K = DefaultsKeys;

PreferencesWindow::PreferencesWindow(PreferencesController& controller, QWidget* parent)
    : QWidget(parent, Qt::Window), mController(controller)
{
    setWindowTitle(tr("Preferences"));
    setObjectName(QStringLiteral("PreferencesWindow"));

    mToolBar = new QToolBar(this);
    mToolBar->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    QAction* general = mToolBar->addAction(tr("General"), this, [this] { preferencesToolbarPressed(); });
    QAction* hotKeys = mToolBar->addAction(tr("Hot Keys"), this, [this] { hotkeysToolbarPressed(); });
    QAction* audio = mToolBar->addAction(tr("Audio"), this, [this] { audioToolbarPressed(); });
    for (QAction* action : {general, hotKeys, audio})
        action->setCheckable(true);

    mPanes = new QStackedWidget(this);
    mPanes->addWidget(makeGeneralPane());
    mPanes->addWidget(makeHotKeysPane());
    mPanes->addWidget(makeAudioPane());

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(mToolBar);
    layout->addWidget(mPanes);

    connect(&mController, &DeckPreferences::tapeAuthorChanged, this, [this](const QString& author) {
        if (!mAuthorField->hasFocus())
            mAuthorField->setText(author);
    });
    connect(&mController, &DeckPreferences::tapeLibraryPathChanged, mLibraryLabel, &QLabel::setText);
    refresh();
    // One width for every pane, the widest one's, so that the tool bar stays where it is.
    int width = mToolBar->sizeHint().width();
    for (int i = 0; i < mPanes->count(); ++i)
        width = std::max(width, mPanes->widget(i)->sizeHint().width());
    setFixedWidth(width + layout->contentsMargins().left() + layout->contentsMargins().right());
    showPane(GeneralPane);
}

PreferencesWindow::~PreferencesWindow() = default;

QWidget* PreferencesWindow::makeGeneralPane()
{
    auto* pane = new QWidget;
    auto* form = new QFormLayout(pane);
    form->addRow(boundCheckBox(tr("Play sound effects"), K::PlaySoundEffects,
                               &DeckPreferences::playSoundEffects, &DeckPreferences::setPlaySoundEffects,
                               &DeckPreferences::playSoundEffectsChanged));
    form->addRow(boundCheckBox(tr("Show the deck in the status area"), K::ShowNSStatusItem,
                               &DeckPreferences::showStatusItem, &DeckPreferences::setShowStatusItem,
                               &DeckPreferences::showStatusItemChanged));
    form->addRow(boundCheckBox(tr("Record at the sample rate of the quality"), K::SPLockRecordingSampleRate,
                               &DeckPreferences::lockRecordingSampleRate,
                               &DeckPreferences::setLockRecordingSampleRate,
                               &DeckPreferences::lockRecordingSampleRateChanged));

    mAuthorField = new QLineEdit(pane);
    mAuthorField->setObjectName(QStringLiteral("TapeAuthorField"));
    mAuthorField->setPlaceholderText(tr("Your name"));
    connect(mAuthorField, &QLineEdit::editingFinished, this, &PreferencesWindow::authorEdited);
    form->addRow(tr("Author of new tapes:"), mAuthorField);

    auto* library = new QWidget(pane);
    auto* row = new QHBoxLayout(library);
    row->setContentsMargins(0, 0, 0, 0);
    mLibraryLabel = new QLabel(library);
    mLibraryLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* choose = new QPushButton(tr("Choose…"), library);
    connect(choose, &QPushButton::clicked, this, &PreferencesWindow::chooseLibraryFolder);
    row->addWidget(mLibraryLabel, 1);
    row->addWidget(choose);
    form->addRow(tr("Tape library:"), library);
    return pane;
}

QWidget* PreferencesWindow::makeHotKeysPane()
{
    auto* pane = new QWidget;
    auto* form = new QFormLayout(pane);
    QCheckBox* enable =
        boundCheckBox(tr("Enable global hot keys"), K::EnableHotKeys, &DeckPreferences::enableHotKeys,
                      &DeckPreferences::setEnableHotKeys, &DeckPreferences::enableHotKeysChanged);
    form->addRow(enable);
    struct HotKey
    {
        QString name;
        QString key;
        PTKeyCombo (DeckPreferences::*combo)() const;
        void (DeckPreferences::*comboChanged)(const PTKeyCombo&);
        void (PreferencesWindow::*change)();
    };
    const std::array<HotKey, 3> hotKeys{{
        {tr("Record"), K::RecordHotKey, &DeckPreferences::recordHotKey, &DeckPreferences::recordHotKeyChanged,
         &PreferencesWindow::changeRecordHotkey},
        {tr("Pause"), K::PauseHotKey, &DeckPreferences::pauseHotKey, &DeckPreferences::pauseHotKeyChanged,
         &PreferencesWindow::changePauseHotkey},
        {tr("Stop"), K::StopHotKey, &DeckPreferences::stopHotKey, &DeckPreferences::stopHotKeyChanged,
         &PreferencesWindow::changeStopHotkey},
    }};
    for (const HotKey& hotKey : hotKeys) {
        auto* button = new QPushButton(pane);
        button->setObjectName(hotKey.key);
        const auto showCombo = [button](const PTKeyCombo& combo) {
            button->setText(combo.platformDescription());
        };
        connect(&mController, hotKey.comboChanged, button, showCombo);
        showCombo((mController.*hotKey.combo)());
        connect(&mController, &DeckPreferences::enableHotKeysChanged, button, &QPushButton::setEnabled);
        button->setEnabled(mController.enableHotKeys());
        connect(button, &QPushButton::clicked, this, hotKey.change);
        form->addRow(hotKey.name + QLatin1Char(':'), button);
    }
    // Wayland without the portal, or no X server: say so instead of keys that never fire.
    auto* availability = new QLabel(pane);
    availability->setObjectName(QStringLiteral("HotKeysAvailability"));
    availability->setWordWrap(true);
    PTHotKeyCenter& center = PTHotKeyCenter::sharedCenter();
    const auto showAvailability = [availability, &center] {
        availability->setText(center.availabilityText());
        availability->setVisible(!availability->text().isEmpty());
    };
    connect(&center, &PTHotKeyCenter::availabilityChanged, availability, showAvailability);
    showAvailability();
    form->addRow(availability);
    return pane;
}

void PreferencesWindow::changeRecordHotkey()
{
    changeHotkey(tr("Record"), mController.recordHotKey(),
                 [this](const PTKeyCombo& combo) { mController.setRecordHotKey(combo); });
}

void PreferencesWindow::changePauseHotkey()
{
    changeHotkey(tr("Pause"), mController.pauseHotKey(),
                 [this](const PTKeyCombo& combo) { mController.setPauseHotKey(combo); });
}

void PreferencesWindow::changeStopHotkey()
{
    changeHotkey(tr("Stop"), mController.stopHotKey(),
                 [this](const PTKeyCombo& combo) { mController.setStopHotKey(combo); });
}

void PreferencesWindow::changeHotkey(const QString& name, const PTKeyCombo& current,
                                     std::function<void(const PTKeyCombo&)> apply)
{
    PTKeyComboPanel& panel = PTKeyComboPanel::sharedPanel();
    panel.setKeyBindingName(name);
    panel.setKeyCombo(current);
    panel.runSheeetForModalWindow(this, [apply = std::move(apply)](int returnCode) {
        if (returnCode == QDialog::Accepted)
            apply(PTKeyComboPanel::sharedPanel().keyCombo());
    });
}

QWidget* PreferencesWindow::makeAudioPane()
{
    auto* pane = new QWidget;
    auto* form = new QFormLayout(pane);
    mRecordDevicePopUp = new QComboBox(pane);
    mRecordDevicePopUp->setObjectName(QStringLiteral("RecordDevicePopUp"));
    connect(mRecordDevicePopUp, &QComboBox::activated, this, [this](int index) {
        mController.recordDeviceChanged(mRecordDevicePopUp->itemData(index).toString());
    });
    form->addRow(tr("Record from:"), mRecordDevicePopUp);

    mChannelsLabel = new QLabel(pane);
    mChannelsPopUp = new QComboBox(pane);
    mChannelsPopUp->setObjectName(QStringLiteral("RecordDeviceChannelsPopUp"));
    connect(mChannelsPopUp, &QComboBox::activated, this, [this](int index) {
        QList<unsigned> channels;
        for (const QVariant& channel : mChannelsPopUp->itemData(index).toList())
            channels.append(channel.toUInt());
        mController.recordDeviceChannelsChanged(channels);
    });
    form->addRow(mChannelsLabel, mChannelsPopUp);

    mPlaybackDevicePopUp = new QComboBox(pane);
    mPlaybackDevicePopUp->setObjectName(QStringLiteral("PlaybackDevicePopUp"));
    connect(mPlaybackDevicePopUp, &QComboBox::activated, this, [this](int index) {
        mController.playbackDeviceChanged(mPlaybackDevicePopUp->itemData(index).toString());
    });
    form->addRow(tr("Play to:"), mPlaybackDevicePopUp);
    form->addRow(boundCheckBox(tr("Play the input through while recording"), K::EnableSoftwarePlaythrough,
                               &DeckPreferences::enableSoftwarePlaythrough,
                               &DeckPreferences::setEnableSoftwarePlaythrough,
                               &DeckPreferences::enableSoftwarePlaythroughChanged));
    return pane;
}

QCheckBox* PreferencesWindow::boundCheckBox(const QString& title, const QString& key,
                                            bool (DeckPreferences::*value)() const,
                                            void (DeckPreferences::*setValue)(bool),
                                            void (DeckPreferences::*valueChanged)(bool))
{
    auto* box = new QCheckBox(title);
    box->setObjectName(key);
    connect(&mController, valueChanged, box, &QCheckBox::setChecked);
    box->setChecked((mController.*value)());
    connect(box, &QCheckBox::toggled, &mController, setValue);
    return box;
}

void PreferencesWindow::refresh()
{
    populateRecordDevicePopUp();
    populateRecordDeviceChannelsPopUp();
    populatePlaybackDevicePopUp();
    if (!mAuthorField->hasFocus())
        mAuthorField->setText(mController.tapeAuthor());
    mLibraryLabel->setText(mController.tapeLibraryPath());
}

namespace {

void populateDevicePopUp(QComboBox* popUp, const QString& automatic, const QList<VORLAudioDevice>& devices,
                         const QString& storedUID)
{
    popUp->clear();
    popUp->addItem(automatic);
    popUp->insertSeparator(1);
    const QStringList names = VORLAudioDevice::distinctNames(devices);
    for (qsizetype i = 0; i < devices.size(); ++i)
        popUp->addItem(names[i], devices[i].deviceUID());
    const int stored = storedUID.isEmpty() ? 0 : popUp->findData(storedUID);
    popUp->setCurrentIndex(std::max(stored, 0));
}

} // namespace

void PreferencesWindow::populateRecordDevicePopUp()
{
    populateDevicePopUp(mRecordDevicePopUp, tr("Default Input Device (Auto)"),
                        VORLAudioHardware::recordingDevices(), mController.recordDeviceUID());
}

void PreferencesWindow::populatePlaybackDevicePopUp()
{
    populateDevicePopUp(mPlaybackDevicePopUp, tr("Default Output Device (Auto)"),
                        VORLAudioHardware::playbackDevices(), mController.playbackDeviceUID());
}

void PreferencesWindow::populateRecordDeviceChannelsPopUp()
{
    const bool stereo = mController.recordingIsStereo();
    const unsigned count =
        mController.recordingAudioDevice().numberOfChannelsForDirection(VORLAudioDevice::Input);
    mChannelsLabel->setText(stereo ? tr("On Channels:") : tr("On Channel:"));
    mChannelsPopUp->clear();
    const QList<unsigned> current = mController.recordingAudioDeviceChannels();
    for (const auto& choice : PreferencesController::channelChoices(count, stereo)) {
        QVariantList channels;
        for (unsigned channel : choice.channels)
            channels.append(channel);
        mChannelsPopUp->addItem(choice.title, channels);
        if (choice.channels == current)
            mChannelsPopUp->setCurrentIndex(mChannelsPopUp->count() - 1);
    }
}

void PreferencesWindow::showPane(Pane pane)
{
    mPanes->setCurrentIndex(pane);
    const QList<QAction*> actions = mToolBar->actions();
    for (int i = 0; i < actions.size(); ++i)
        actions.at(i)->setChecked(i == pane);
    // Fit the window's height to the pane shown, as each pane has its own.
    for (int i = 0; i < mPanes->count(); ++i)
        mPanes->widget(i)->setSizePolicy(QSizePolicy::Preferred,
                                         i == pane ? QSizePolicy::Preferred : QSizePolicy::Ignored);
    mPanes->adjustSize();
    adjustSize();
}

void PreferencesWindow::centreOn(const QWidget& other)
{
    QRect frame = frameGeometry();
    frame.moveCenter(other.frameGeometry().center());
    if (const QScreen* screen = other.screen()) {
        const QRect room = screen->availableGeometry();
        frame.moveLeft(
            std::clamp(frame.left(), room.left(), std::max(room.left(), room.right() - frame.width() + 1)));
        frame.moveTop(
            std::clamp(frame.top(), room.top(), std::max(room.top(), room.bottom() - frame.height() + 1)));
    }
    move(frame.topLeft());
}

PreferencesWindow::Pane PreferencesWindow::currentPane() const
{
    return Pane(mPanes->currentIndex());
}

void PreferencesWindow::chooseLibraryFolder()
{
    const QString folder = QFileDialog::getExistingDirectory(this, tr("Choose the Tape Library Folder"),
                                                             mController.tapeLibraryPath());
    if (!folder.isEmpty())
        mController.setTapeLibraryURL(folder);
}

void PreferencesWindow::authorEdited()
{
    const QString author =
        WhitespaceStrippingValueTransformer::reverseTransformedValue(mAuthorField->text()).toString();
    mAuthorField->setText(author);
    mController.setTapeAuthor(author);
}

} // namespace spindrel
