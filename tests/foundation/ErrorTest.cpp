#include "foundation/Error.h"

#include "foundation/UUID.h"

#include <QRegularExpression>
#include <cerrno>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

Error diskOnFire()
{
    return SP_ERROR_MESSAGE(QStringLiteral("Disk on fire"));
}

} // namespace

TEST(ErrorTest, MessagesNameWhereTheyWereMadeAndSystemErrorsDescribeThemselves)
{
    const Error error = diskOnFire();
    EXPECT_EQ(error.localizedDescription(), QStringLiteral("Disk on fire"));
    EXPECT_TRUE(error.userInfo().contains(Error::OriginKey));
    EXPECT_TRUE(
        error.userInfo().value(Error::ReportingFileKey).toString().endsWith(QStringLiteral("ErrorTest.cpp")));
    EXPECT_GT(error.userInfo().value(Error::ReportingLineKey).toInt(), 0);
    EXPECT_EQ(error.userInfo().value(Error::ReportingMethodKey).toString(), QStringLiteral("diskOnFire"));

    // Without a message the system's text describes a system error.
    EXPECT_EQ(Error(Error::PosixDomain, ENOENT).localizedDescription(), Error::systemErrorText(ENOENT));
    EXPECT_NE(Error::systemErrorText(ENOENT), Error::systemErrorText(ENOSPC));
}

TEST(UUIDTest, TextFormAndBytes)
{
    const QString a = stringWithUUID();
    EXPECT_TRUE(
        QRegularExpression(QStringLiteral("^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$"))
            .match(a)
            .hasMatch());
    EXPECT_NE(a, stringWithUUID());
    const QByteArray bytes = dataWithUUID(QStringLiteral("400006E8-76A0-48EC-A380-DE5F9E5CAB6C"));
    EXPECT_EQ(bytes.toHex(), QByteArray("400006e876a048eca380de5f9e5cab6c"));
    EXPECT_TRUE(dataWithUUID(QStringLiteral("not a uuid")).isEmpty());
}
