#pragma once

#include <QString>
#include <QVariantMap>
#include <optional>

namespace spindrel {

/// An error handed to callers: a domain, a code and user info, like the platform error objects
/// whose domains tapes and logs still name.
class Error
{
public:
    static inline const QString CocoaDomain = QStringLiteral("NSCocoaErrorDomain");
    static inline const QString PosixDomain = QStringLiteral("NSPOSIXErrorDomain");
    static inline const QString MessageDomain = QStringLiteral("errstr_t");

    static inline const QString DescriptionKey = QStringLiteral("NSLocalizedDescription");
    static inline const QString ReportingFileKey = QStringLiteral("reportingFile");
    static inline const QString ReportingLineKey = QStringLiteral("reportingLine");
    static inline const QString ReportingMethodKey = QStringLiteral("reportingMethod");
    static inline const QString OriginKey = QStringLiteral("origin");

    Error() = default;
    Error(QString domain, qint64 code, QVariantMap userInfo = {});

    const QString& domain() const { return mDomain; }
    qint64 code() const { return mCode; }
    const QVariantMap& userInfo() const { return mUserInfo; }

    /// The description in the user info, or one made from domain and code.
    QString localizedDescription() const;
    /// The system's words for an errno value.
    static QString systemErrorText(int code);

    bool operator==(const Error&) const = default;

private:
    QString mDomain;
    qint64 mCode = 0;
    QVariantMap mUserInfo;
};

/// Where a failing call was made, and the text of the call.
struct ErrorOrigin
{
    const char* file;
    int line;
    const char* method;
    const char* expression;
};

/// The message-only form: domain "errstr_t", code 0, the message as description.
Error errorWithMessage(const QString& message, const ErrorOrigin& origin);

} // namespace spindrel

#define SP_ERROR_ORIGIN(expr) (::spindrel::ErrorOrigin{__FILE__, __LINE__, __func__, expr})

#define SP_ERROR_MESSAGE(message) (::spindrel::errorWithMessage((message), SP_ERROR_ORIGIN("")))
