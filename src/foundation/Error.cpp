#include "foundation/Error.h"

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

} // namespace

Error errorWithMessage(const QString& message, const ErrorOrigin& origin)
{
    QVariantMap info = originInfo(origin);
    info.insert(Error::DescriptionKey, message);
    return Error(Error::MessageDomain, 0, info);
}

} // namespace spindrel
