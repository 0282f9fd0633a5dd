#pragma once

#include "foundation/Error.h"
#include "tapes/ProcessLauncher.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

namespace spindrel {

class Tape;

/// A mail message opened in the user's mail program for them to finish and send, through the
/// desktop's `xdg-email`. Nothing is sent by us.
class MailDraft
{
public:
    /// "Spindrel Recording: <title>", the short signature, and the tape's file attached.
    static MailDraft forTape(const Tape& tape);
    /// The product's web address that the signature names.
    static QString webAddress();

    QString subject;
    QString body;
    QStringList attachments;

    /// The composer's arguments: one per value, so no text is ever read by a shell.
    QStringList arguments() const;

    using Done = std::function<void(std::optional<Error> error)>;
    /// Opens the draft; `done` hears of a missing attachment or mail program, or of a composer
    /// that failed. A composer that stays open until the user sends reports only then.
    void open(ProcessLauncher& launcher, Done done) const;
};

} // namespace spindrel
