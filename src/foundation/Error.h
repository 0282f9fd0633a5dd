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
    static inline const QString NullPointerDomain = QStringLiteral("NULLPointerErrorDomain");
    static inline const QString BoolDomain = QStringLiteral("BOOLErrorDomain");
    static inline const QString PosixDomain = QStringLiteral("NSPOSIXErrorDomain");
    static inline const QString MachDomain = QStringLiteral("NSMachErrorDomain");
    static inline const QString OSStatusDomain = QStringLiteral("NSOSStatusErrorDomain");
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

/// Type codes of the values a failing call can return; they decide the error's domain.
enum class ReturnType : char {
    Object = '@',
    Pointer = '^',
    CString = '*',
    Bool = 'B',
    Int = 'i',
    UnsignedInt = 'I',
    Long = 'l',
    Short = 's',
};

/// The error for a call that returned `value`, read according to `type`, or nothing when the value
/// means success. `value` holds the bits of the result (pointers as their address, `isNull` tells
/// a null object or pointer). An unknown type code is a programming error.
std::optional<Error> errorForReturn(char type, qint64 value, bool isNull, int savedErrno,
                                    const ErrorOrigin& origin);

std::optional<Error> errorForResult(const void* pointer, const ErrorOrigin& origin);
std::optional<Error> errorForResult(const char* cString, const ErrorOrigin& origin);
std::optional<Error> errorForResult(bool ok, const ErrorOrigin& origin);
std::optional<Error> errorForResult(int result, const ErrorOrigin& origin);
std::optional<Error> errorForResult(unsigned int result, const ErrorOrigin& origin);
std::optional<Error> errorForResult(long result, const ErrorOrigin& origin);
std::optional<Error> errorForResult(short result, const ErrorOrigin& origin);

/// Objects: anything comparable with nullptr (smart pointers, QObject pointers).
template <typename T> std::optional<Error> errorForObject(const T& object, const ErrorOrigin& origin)
{
    return errorForReturn(char(ReturnType::Object), 0, object == nullptr, 0, origin);
}

/// The message-only form: domain "errstr_t", code 0, the message as description.
Error errorWithMessage(const QString& message, const ErrorOrigin& origin);

} // namespace spindrel

#define SP_ERROR_ORIGIN(expr) (::spindrel::ErrorOrigin{__FILE__, __LINE__, __func__, expr})

/// Evaluates `expr` once and yields std::optional<Error>: set when the result means failure.
#define SP_ERROR_FOR(expr) (::spindrel::errorForResult((expr), SP_ERROR_ORIGIN(#expr)))
#define SP_ERROR_FOR_OBJECT(expr) (::spindrel::errorForObject((expr), SP_ERROR_ORIGIN(#expr)))
#define SP_ERROR_MESSAGE(message) (::spindrel::errorWithMessage((message), SP_ERROR_ORIGIN("")))
