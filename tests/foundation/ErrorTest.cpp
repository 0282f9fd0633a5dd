#include "foundation/Error.h"

#include "AssertionText.h"
#include "foundation/Assertion.h"
#include "foundation/Log.h"
#include "foundation/UUID.h"

#include <QRegularExpression>
#include <cerrno>
#include <climits>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

std::optional<Error> failingOpen()
{
    errno = ENOENT;
    int result = -1;
    return SP_ERROR_FOR(result);
}

} // namespace

TEST(ErrorTest, DomainFollowsTheTypeOfTheFailedResult)
{
    const void* nothing = nullptr;
    const char* noText = nullptr;
    short status = -50;
    long longStatus = 12;
    EXPECT_EQ(SP_ERROR_FOR(nothing)->domain(), Error::NullPointerDomain);
    EXPECT_EQ(SP_ERROR_FOR(noText)->domain(), Error::NullPointerDomain);
    EXPECT_EQ(SP_ERROR_FOR(false)->domain(), Error::BoolDomain);
    EXPECT_EQ(SP_ERROR_FOR(false)->code(), -1);
    EXPECT_EQ(SP_ERROR_FOR(5)->domain(), Error::MachDomain);
    EXPECT_EQ(SP_ERROR_FOR(5)->code(), 5);
    EXPECT_EQ(SP_ERROR_FOR(0u)->domain(), Error::MachDomain);
    EXPECT_EQ(SP_ERROR_FOR(0u)->code(), -1);
    EXPECT_EQ(SP_ERROR_FOR(UINT_MAX)->code(), -1);
    EXPECT_EQ(SP_ERROR_FOR(status)->domain(), Error::OSStatusDomain);
    EXPECT_EQ(SP_ERROR_FOR(status)->code(), -50);
    EXPECT_EQ(SP_ERROR_FOR(longStatus)->code(), 12);
    std::shared_ptr<int> object;
    EXPECT_EQ(SP_ERROR_FOR_OBJECT(object)->domain(), Error::CocoaDomain);
}

TEST(ErrorTest, SuccessfulResultsGiveNoError)
{
    int value = 1;
    EXPECT_FALSE(SP_ERROR_FOR(&value));
    EXPECT_FALSE(SP_ERROR_FOR("text"));
    EXPECT_FALSE(SP_ERROR_FOR(true));
    EXPECT_FALSE(SP_ERROR_FOR(0));
    EXPECT_FALSE(SP_ERROR_FOR(7u));
    EXPECT_FALSE(SP_ERROR_FOR(0L));
    EXPECT_FALSE(SP_ERROR_FOR(short(0)));
    EXPECT_FALSE(SP_ERROR_FOR_OBJECT(std::make_shared<int>(1)));
}

TEST(ErrorTest, MinusOneIsPosixWithErrnoAndUserInfoNamesTheCall)
{
    const auto error = failingOpen();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain(), Error::PosixDomain);
    EXPECT_EQ(error->code(), ENOENT);
    EXPECT_EQ(error->userInfo().value(Error::OriginKey).toString(), QStringLiteral("result"));
    EXPECT_TRUE(error->userInfo()
                    .value(Error::ReportingFileKey)
                    .toString()
                    .endsWith(QStringLiteral("ErrorTest.cpp")));
    EXPECT_GT(error->userInfo().value(Error::ReportingLineKey).toInt(), 0);
    EXPECT_EQ(error->userInfo().value(Error::ReportingMethodKey).toString(), QStringLiteral("failingOpen"));
}

TEST(ErrorTest, MessageOnlyErrorsUseTheMessageDomain)
{
    const Error error = SP_ERROR_MESSAGE(QStringLiteral("Disk on fire"));
    EXPECT_EQ(error.domain(), QStringLiteral("errstr_t"));
    EXPECT_EQ(error.code(), 0);
    EXPECT_EQ(error.localizedDescription(), QStringLiteral("Disk on fire"));
    EXPECT_TRUE(error.userInfo().contains(Error::OriginKey));
}

TEST(ErrorTest, UnknownTypeCodeIsAnAssertion)
{
    EXPECT_EQ(test::assertionFrom([] { errorForReturn('x', 1, false, 0, SP_ERROR_ORIGIN("call()")); }),
              "NSXErrorCodeType_Unknown: \"x\"");
}

TEST(AssertionTest, FailureCarriesTextUnitAndLine)
{
    try {
        handleAssertionFailure("Popping empty state stack", "SMC/statemap", 205, "popState");
        FAIL() << "no exception";
    } catch (const InternalInconsistency& e) {
        EXPECT_STREQ(e.what(), "Popping empty state stack");
        EXPECT_EQ(e.sourceUnit(), "SMC/statemap");
        EXPECT_EQ(e.line(), 205);
    }
    EXPECT_THROW(SP_ASSERT(1 + 1 == 3, "arithmetic"), InternalInconsistency);
    EXPECT_NO_THROW(SP_ASSERT(1 + 1 == 2, "arithmetic"));
}

TEST(LogTest, BothFixedFormsReachTheSink)
{
    QStringList lines;
    const LogSink previous = setLogSink([&](const QString& line) { lines << line; });
    logError(QStringLiteral("WindowController"), QStringLiteral("could not get system output device ID"));
    logErrorAfterSource(QStringLiteral("MP4Tags"), QStringLiteral("No moov atom found in file!"));
    setLogSink(previous);
    EXPECT_EQ(lines,
              QStringList({QStringLiteral("(ERROR) WindowController : could not get system output device ID"),
                           QStringLiteral("MP4Tags : (ERROR) No moov atom found in file!")}));
    EXPECT_EQ(logSourceName("src/tapes/Tape.cpp"), QStringLiteral("Tape"));
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
