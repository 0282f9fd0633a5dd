#include "foundation/Error.h"

#include "foundation/Assertion.h"

#include <cerrno>
#include <climits>
#include <cstring>

namespace spindrel {

Error::Error(QString domain, qint64 code, QVariantMap userInfo)
    : mDomain(std::move(domain)), mCode(code), mUserInfo(std::move(userInfo))
{
}

QString Error::localizedDescription() const
{
    const QString text = mUserInfo.value(DescriptionKey).toString();
    if (!text.isEmpty())
        return text;
    if (mDomain == PosixDomain)
        return systemErrorText(int(mCode));
    return QStringLiteral("The operation couldn’t be completed. (%1 error %2.)").arg(mDomain).arg(mCode);
}

QString Error::systemErrorText(int code)
{
    return QString::fromLocal8Bit(std::strerror(code));
}

namespace {

QVariantMap originInfo(const ErrorOrigin& origin)
{
    return {
        {Error::ReportingFileKey, QString::fromUtf8(origin.file)},
        {Error::ReportingLineKey, origin.line},
        {Error::ReportingMethodKey, QString::fromUtf8(origin.method)},
        {Error::OriginKey, QString::fromUtf8(origin.expression)},
    };
}

Error make(const QString& domain, qint64 code, const ErrorOrigin& origin)
{
    return Error(domain, code, originInfo(origin));
}

} // namespace

std::optional<Error> errorForReturn(char type, qint64 value, bool isNull, int savedErrno,
                                    const ErrorOrigin& origin)
{
    switch (ReturnType(type)) {
    case ReturnType::Object:
        return isNull ? std::optional(make(Error::CocoaDomain, -1, origin)) : std::nullopt;
    case ReturnType::Pointer:
    case ReturnType::CString:
        return isNull ? std::optional(make(Error::NullPointerDomain, -1, origin)) : std::nullopt;
    case ReturnType::Bool:
        return value == 0 ? std::optional(make(Error::BoolDomain, -1, origin)) : std::nullopt;
    case ReturnType::Int:
        if (value == -1)
            return make(Error::PosixDomain, savedErrno, origin);
        return value != 0 ? std::optional(make(Error::MachDomain, value, origin)) : std::nullopt;
    case ReturnType::UnsignedInt:
        return value == 0 || value == qint64(UINT_MAX) ? std::optional(make(Error::MachDomain, -1, origin))
                                                       : std::nullopt;
    case ReturnType::Long:
    case ReturnType::Short:
        return value != 0 ? std::optional(make(Error::OSStatusDomain, value, origin)) : std::nullopt;
    }
    const char code[2] = {type, '\0'};
    handleAssertionFailure("NSXErrorCodeType_Unknown: \"" + std::string(code) + "\"",
                           sourceUnitName(__FILE__), __LINE__, __func__);
}

std::optional<Error> errorForResult(const void* pointer, const ErrorOrigin& origin)
{
    return errorForReturn(char(ReturnType::Pointer), 0, pointer == nullptr, 0, origin);
}

std::optional<Error> errorForResult(const char* cString, const ErrorOrigin& origin)
{
    return errorForReturn(char(ReturnType::CString), 0, cString == nullptr, 0, origin);
}

std::optional<Error> errorForResult(bool ok, const ErrorOrigin& origin)
{
    return errorForReturn(char(ReturnType::Bool), ok ? 1 : 0, false, 0, origin);
}

std::optional<Error> errorForResult(int result, const ErrorOrigin& origin)
{
    return errorForReturn(char(ReturnType::Int), result, false, errno, origin);
}

std::optional<Error> errorForResult(unsigned int result, const ErrorOrigin& origin)
{
    return errorForReturn(char(ReturnType::UnsignedInt), qint64(result), false, 0, origin);
}

std::optional<Error> errorForResult(long result, const ErrorOrigin& origin)
{
    return errorForReturn(char(ReturnType::Long), result, false, 0, origin);
}

std::optional<Error> errorForResult(short result, const ErrorOrigin& origin)
{
    return errorForReturn(char(ReturnType::Short), result, false, 0, origin);
}

Error errorWithMessage(const QString& message, const ErrorOrigin& origin)
{
    QVariantMap info = originInfo(origin);
    info.insert(Error::DescriptionKey, message);
    return Error(Error::MessageDomain, 0, info);
}

} // namespace spindrel
