#include "update/Appcast.h"

#include <gtest/gtest.h>

using namespace spindrel;

namespace {

const QByteArray feed = R"(<?xml version="1.0" encoding="utf-8"?>
<rss version="2.0" xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle">
  <channel>
    <title>Spindrel</title>
    <item>
      <title>Version 0.2</title>
      <link>https://example.org/spindrel/0.2</link>
      <sparkle:releaseNotesLink>https://example.org/spindrel/0.2/notes.html</sparkle:releaseNotesLink>
      <description><![CDATA[<ul><li>Tapes remember their colour</li></ul>]]></description>
      <enclosure url="https://example.org/spindrel-0.2.tar.xz" sparkle:version="0.2.0"
                 sparkle:shortVersionString="0.2" length="123" type="application/x-xz"/>
    </item>
    <item>
      <title>Version 0.10 for another system</title>
      <enclosure url="https://example.org/spindrel-0.10.dmg" sparkle:version="0.10.0" sparkle:os="macos"/>
    </item>
    <item>
      <title>Version 0.1</title>
      <sparkle:version>0.1.0</sparkle:version>
      <enclosure url="https://example.org/spindrel-0.1.tar.xz"/>
    </item>
    <item><title>No version at all</title></item>
  </channel>
</rss>
)";

TEST(AppcastTest, ReadsItemsWithVersionsForThisSystemAndNothingFromBrokenFeeds)
{
    const Appcast appcast = Appcast::fromData(feed);
    EXPECT_EQ(appcast.errorString(), QString());
    ASSERT_EQ(appcast.items().size(), 2);
    const AppcastItem& newer = appcast.items().first();
    EXPECT_EQ(newer.title, QStringLiteral("Version 0.2"));
    EXPECT_EQ(newer.versionString, QStringLiteral("0.2.0"));
    EXPECT_EQ(newer.displayVersionString, QStringLiteral("0.2"));
    EXPECT_EQ(newer.itemDescription, QStringLiteral("<ul><li>Tapes remember their colour</li></ul>"));
    EXPECT_EQ(newer.releaseNotesURL, QUrl(QStringLiteral("https://example.org/spindrel/0.2/notes.html")));
    EXPECT_EQ(newer.downloadURL(), QUrl(QStringLiteral("https://example.org/spindrel/0.2")));

    const AppcastItem& older = appcast.items().last();
    EXPECT_EQ(older.versionString, QStringLiteral("0.1.0"));
    EXPECT_EQ(older.displayVersionString, QStringLiteral("0.1.0"));
    EXPECT_EQ(older.downloadURL(), QUrl(QStringLiteral("https://example.org/spindrel-0.1.tar.xz")))
        << "without a page the file is where to get it";

    ASSERT_NE(appcast.bestItem(), nullptr);
    EXPECT_EQ(appcast.bestItem()->versionString, QStringLiteral("0.2.0"));

    const Appcast truncated = Appcast::fromData(feed.left(feed.indexOf("<item><title>No")));
    EXPECT_TRUE(truncated.items().isEmpty());
    EXPECT_FALSE(truncated.errorString().isEmpty());
    EXPECT_EQ(truncated.bestItem(), nullptr);

    EXPECT_EQ(Appcast::fromData("<html><body>Not found</body></html>").errorString(),
              QStringLiteral("not an RSS feed"));
}

} // namespace
