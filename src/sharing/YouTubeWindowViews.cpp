// The three stage views of the upload window.
#include "sharing/ProgressIndicator.h"
#include "sharing/YouTubeWindowController.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace spindrel {

namespace {

constexpr int viewWidth = 460;

QFont smallSystemFont()
{
    QFont font = QApplication::font();
    font.setPointSizeF(font.pointSizeF() * 0.85);
    return font;
}

} // namespace

void YouTubeWindowController::buildSettingsView()
{
    mUploadSettingsView = new QWidget(this);
    mUploadSettingsView->setMinimumWidth(viewWidth);
    auto* layout = new QVBoxLayout(mUploadSettingsView);

    auto* account = new QHBoxLayout;
    mLoginButton = new QPushButton(tr("Sign In"), mUploadSettingsView);
    connect(mLoginButton, &QPushButton::clicked, this, &YouTubeWindowController::signInOrOut);
    mCheckingPasswordProgressIndicator = new ProgressIndicator(mUploadSettingsView);
    mCheckingPasswordProgressIndicator->setMaximumWidth(80);
    mSignedInLabel = new QLabel(mUploadSettingsView);
    auto* needAccount = new QPushButton(tr("Need an account?"), mUploadSettingsView);
    needAccount->setFlat(true);
    connect(needAccount, &QPushButton::clicked, this, &YouTubeWindowController::needAnAccount);
    account->addWidget(mLoginButton);
    account->addWidget(mCheckingPasswordProgressIndicator);
    account->addWidget(mSignedInLabel, 1);
    account->addWidget(needAccount);
    layout->addLayout(account);

    mLoginFailedLabel = new QLabel(mUploadSettingsView);
    mLoginFailedLabel->setWordWrap(true);
    mLoginFailedLabel->setStyleSheet(QStringLiteral("color: #b00020"));
    layout->addWidget(mLoginFailedLabel);
    mKeyringNoticeLabel = new QLabel(
        tr("No keyring is available, so this sign-in lasts only until Spindrel quits."), mUploadSettingsView);
    mKeyringNoticeLabel->setWordWrap(true);
    mKeyringNoticeLabel->setFont(smallSystemFont());
    mKeyringNoticeLabel->hide();
    layout->addWidget(mKeyringNoticeLabel);

    auto* form = new QFormLayout;
    mTitleField = new QLineEdit(mUploadSettingsView);
    mDescriptionTextView = new QPlainTextEdit(mUploadSettingsView);
    mDescriptionTextView->setFont(smallSystemFont());
    mDescriptionTextView->setMinimumHeight(100);
    mKeywordsTokenField = new QLineEdit(mUploadSettingsView);
    mKeywordsTokenField->setPlaceholderText(tr("Keywords, separated by commas"));
    mCategoryPopUp = new QComboBox(mUploadSettingsView);
    mPrivateCheckbox = new QCheckBox(tr("Make this video private"), mUploadSettingsView);
    form->addRow(tr("Title:"), mTitleField);
    form->addRow(tr("Description:"), mDescriptionTextView);
    form->addRow(tr("Keywords:"), mKeywordsTokenField);
    form->addRow(tr("Category:"), mCategoryPopUp);
    mCategoryStatusLabel = new QLabel(mUploadSettingsView);
    mCategoryStatusLabel->setWordWrap(true);
    mCategoryStatusLabel->setFont(smallSystemFont());
    mCategoryStatusLabel->hide();
    form->addRow(QString(), mCategoryStatusLabel);
    form->addRow(QString(), mPrivateCheckbox);
    layout->addLayout(form);

    auto* buttons = new QHBoxLayout;
    auto* cancel = new QPushButton(tr("Cancel"), mUploadSettingsView);
    connect(cancel, &QPushButton::clicked, this, &YouTubeWindowController::cancelUpload);
    mUploadButton = new QPushButton(tr("Upload"), mUploadSettingsView);
    mUploadButton->setDefault(true);
    connect(mUploadButton, &QPushButton::clicked, this, &YouTubeWindowController::performUpload);
    buttons->addStretch(1);
    buttons->addWidget(cancel);
    buttons->addWidget(mUploadButton);
    layout->addLayout(buttons);
    mUploadSettingsView->hide();
}

void YouTubeWindowController::buildProgressView()
{
    mUploadProgressView = new QWidget(this);
    mUploadProgressView->setMinimumWidth(viewWidth);
    auto* layout = new QVBoxLayout(mUploadProgressView);
    mUploadProgressTextField = new QLabel(mUploadProgressView);
    mUploadProgressIndicator = new ProgressIndicator(mUploadProgressView);
    mUploadDetailLabel = new QLabel(mUploadProgressView);
    mUploadDetailLabel->setWordWrap(true);
    mUploadDetailLabel->setFont(smallSystemFont());
    mUploadDetailLabel->hide();
    auto* buttons = new QHBoxLayout;
    auto* cancel = new QPushButton(tr("Cancel"), mUploadProgressView);
    connect(cancel, &QPushButton::clicked, this, &YouTubeWindowController::cancelUpload);
    buttons->addStretch(1);
    buttons->addWidget(cancel);
    layout->addWidget(mUploadProgressTextField);
    layout->addWidget(mUploadProgressIndicator);
    layout->addWidget(mUploadDetailLabel);
    layout->addLayout(buttons);
    mUploadProgressView->hide();
}

void YouTubeWindowController::buildCompleteView()
{
    mUploadCompleteView = new QWidget(this);
    mUploadCompleteView->setMinimumWidth(viewWidth);
    auto* layout = new QVBoxLayout(mUploadCompleteView);
    auto* done = new QLabel(tr("Your video has been uploaded to YouTube. It may take a few minutes before "
                               "it can be watched."),
                            mUploadCompleteView);
    done->setWordWrap(true);
    auto* buttons = new QHBoxLayout;
    auto* visit = new QPushButton(tr("Visit My Videos"), mUploadCompleteView);
    connect(visit, &QPushButton::clicked, this, &YouTubeWindowController::visitMyVideos);
    auto* close = new QPushButton(tr("Done"), mUploadCompleteView);
    close->setDefault(true);
    connect(close, &QPushButton::clicked, this, &YouTubeWindowController::dismissPanel);
    buttons->addWidget(visit);
    buttons->addStretch(1);
    buttons->addWidget(close);
    layout->addWidget(done);
    layout->addLayout(buttons);
    mUploadCompleteView->hide();
}

} // namespace spindrel
