#include "tapes/MailDraft.h"

#include "tapes/Tape.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace spindrel {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("spindrel::MailDraft", text);
}

const QString kComposer = QStringLiteral("xdg-email");

} // namespace

QString MailDraft::webAddress()
{
    return QStringLiteral(SPINDREL_WEB_ADDRESS);
}

MailDraft MailDraft::forTape(const Tape& tape)
{
    MailDraft draft;
    draft.subject = tr("Spindrel Recording: %1").arg(tape.title());
    draft.body = QLatin1Char('\n') + tr("Recorded with Spindrel") + QLatin1Char('\n') + webAddress() +
                 QStringLiteral("\n\n");
    draft.attachments = {tape.filename()};
    return draft;
}

QStringList MailDraft::arguments() const
{
    // --utf8 comes first: it says that every argument after it is UTF-8.
    QStringList arguments{QStringLiteral("--utf8"), QStringLiteral("--subject"), subject,
                          QStringLiteral("--body"), body};
    for (const QString& attachment : attachments)
        arguments << QStringLiteral("--attach") << QFileInfo(attachment).absoluteFilePath();
    return arguments;
}

void MailDraft::open(ProcessLauncher& launcher, Done done) const
{
    for (const QString& attachment : attachments) {
        if (!QFileInfo(attachment).isFile()) {
            done(SP_ERROR_MESSAGE(tr("“%1” can’t be sent by mail because it no longer exists.")
                                      .arg(QFileInfo(attachment).fileName())));
            return;
        }
    }
    const QString composer = launcher.findProgram(kComposer);
    if (composer.isEmpty()) {
        done(SP_ERROR_MESSAGE(tr("No mail program could be found to write the message. Install xdg-utils "
                                 "and choose a mail program in your desktop’s settings.")));
        return;
    }
    launcher.start(composer, arguments(), [done](std::optional<int> exitCode) {
        if (!exitCode) {
            done(std::nullopt);
            return;
        }
        // xdg-email's own statuses: 3 no tool for the job, 4 the mail program failed.
        if (*exitCode == 3 || *exitCode == 4)
            done(SP_ERROR_MESSAGE(tr("No mail program is set up to write the message. Choose a mail program "
                                     "in your desktop’s settings.")));
        else if (*exitCode < 0)
            done(SP_ERROR_MESSAGE(tr("The mail program could not be started.")));
        else
            done(SP_ERROR_MESSAGE(
                tr("The mail program could not write the message (status %1).").arg(*exitCode)));
    });
}

} // namespace spindrel
