#include "tapes/MailDraft.h"

#include "TapeTestFiles.h"
#include "tapes/Tape.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

using namespace spindrel;
using namespace spindrel::test;

namespace {

// A stand-in composer first on PATH writes its arguments, NUL-separated, and ends with a status.
class MailDraftTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        mSavedPath = qgetenv("PATH");
        mTapePath = mDir.filePath(QStringLiteral("Sunday rehearsal.m4a"));
        ASSERT_TRUE(makeTapeFile(mTapePath));
    }
    void TearDown() override { qputenv("PATH", mSavedPath); }

    void installComposer(int status)
    {
        const QString script = writeFile(mDir.filePath(QStringLiteral("bin/xdg-email")),
                                         "#!/bin/sh\nprintf '%s\\0' \"$@\" > '" + argvFile().toUtf8() +
                                             "'\nexit " + QByteArray::number(status) + "\n");
        QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("PATH", QFileInfo(script).path().toLocal8Bit() + ':' + mSavedPath);
    }

    QString argvFile() const { return mDir.filePath(QStringLiteral("argv")); }

    // The composer's arguments; its file ends with a NUL.
    QStringList composerArguments() const
    {
        return QString::fromUtf8(readFile(argvFile()).chopped(1)).split(QChar(u'\0'));
    }

    std::optional<Error> openDraft(const MailDraft& draft)
    {
        bool reported = false;
        std::optional<Error> result;
        draft.open(ProcessLauncher::system(), [&](std::optional<Error> error) {
            reported = true;
            result = std::move(error);
        });
        EXPECT_TRUE(QTest::qWaitFor([&] { return reported; }, 60000));
        return result;
    }

    MailDraft draftForTape(const QString& title)
    {
        Tape tape(mTapePath);
        tape.setTitle(title);
        return MailDraft::forTape(tape);
    }

    QTemporaryDir mDir;
    QString mTapePath;
    QByteArray mSavedPath;
};

TEST_F(MailDraftTest, TheComposerReceivesSubjectBodyAndAttachmentAsSeparateArguments)
{
    installComposer(0);
    // Quotes, a semicolon and a dollar sign would do harm if any shell read them.
    const QString title = QStringLiteral("Rock 'n' roll; \"live\" $HOME & more");
    const std::optional<Error> error = openDraft(draftForTape(title));
    EXPECT_FALSE(error) << error->localizedDescription().toStdString();

    EXPECT_EQ(composerArguments(),
              (QStringList{QStringLiteral("--utf8"), QStringLiteral("--subject"),
                           QStringLiteral("Spindrel Recording: ") + title, QStringLiteral("--body"),
                           QStringLiteral("\nRecorded with Spindrel\n") + MailDraft::webAddress() +
                               QStringLiteral("\n\n"),
                           QStringLiteral("--attach"), mTapePath}));
}

TEST_F(MailDraftTest, AMissingOrFailingMailProgramIsReportedClearly)
{
    // Without xdg-email anywhere on PATH.
    qputenv("PATH", mDir.filePath(QStringLiteral("empty")).toLocal8Bit());
    std::optional<Error> error = openDraft(draftForTape(QStringLiteral("Take")));
    ASSERT_TRUE(error);
    EXPECT_TRUE(error->localizedDescription().contains(QStringLiteral("No mail program")))
        << error->localizedDescription().toStdString();

    // Status 3 (no mail program behind xdg-email) and a vanished tape are the deck's tests.
    installComposer(1);
    error = openDraft(draftForTape(QStringLiteral("Take")));
    ASSERT_TRUE(error);
    EXPECT_TRUE(error->localizedDescription().contains(QStringLiteral("status 1")));
}

} // namespace
