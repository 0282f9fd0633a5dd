#include "update/VersionComparator.h"

#include <gtest/gtest.h>

using spindrel::VersionComparator::compareVersions;

namespace {

void expectOlder(const char* older, const char* newer)
{
    EXPECT_EQ(compareVersions(QString::fromLatin1(older), QString::fromLatin1(newer)), -1)
        << older << " < " << newer;
    EXPECT_EQ(compareVersions(QString::fromLatin1(newer), QString::fromLatin1(older)), 1)
        << newer << " > " << older;
}

TEST(VersionComparatorTest, NumbersCompareAsNumbersAndPreReleasesComeFirst)
{
    expectOlder("0.1.0", "0.2.0");
    expectOlder("1.9", "1.10");
    expectOlder("1.2.9", "1.3");
    expectOlder("2", "10");
    expectOlder("1.0", "1.0.1");
    EXPECT_EQ(compareVersions(QStringLiteral("0.1.0"), QStringLiteral("0.1.0")), 0);
    EXPECT_EQ(compareVersions(QStringLiteral("1.02"), QStringLiteral("1.2")), 0);
    // Pre-releases come before their release.
    expectOlder("1.0b1", "1.0");
    expectOlder("1.0a2", "1.0b1");
    expectOlder("1.0b2", "1.0b10");
    expectOlder("1.0rc1", "1.0.1");
    expectOlder("1.0 beta", "1.0");
}

} // namespace
