// The catalogues under translations/, read as a translator's tool reads them: every text finished,
// and nothing that the code fills in or the keyboard needs lost on the way.
#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QXmlStreamReader>
#include <gtest/gtest.h>

namespace {

struct Message
{
    QString context;
    QString source;
    QStringList translations; // one, or one per plural form
    bool unfinished = false;
};

QList<Message> readCatalogue(QIODevice& file, QString* language, QString* error)
{
    QList<Message> messages;
    QXmlStreamReader xml(&file);
    QString context;
    Message message;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement())
            continue;
        const auto name = xml.name();
        if (name == QLatin1String("TS")) {
            *language = xml.attributes().value(QLatin1String("language")).toString();
        } else if (name == QLatin1String("name")) {
            context = xml.readElementText();
        } else if (name == QLatin1String("message")) {
            message = Message{context, {}, {}, false};
        } else if (name == QLatin1String("source")) {
            message.source = xml.readElementText();
        } else if (name == QLatin1String("translation")) {
            const QString type = xml.attributes().value(QLatin1String("type")).toString();
            message.unfinished = type == QLatin1String("unfinished");
            if (type == QLatin1String("obsolete") || type == QLatin1String("vanished"))
                continue;
            // Plural texts hold one form per element; a singular one is the element's text.
            QString text;
            bool plural = false;
            while (xml.readNext() != QXmlStreamReader::EndElement ||
                   xml.name() != QLatin1String("translation")) {
                if (xml.isCharacters())
                    text += xml.text();
                else if (xml.isStartElement() && xml.name() == QLatin1String("numerusform")) {
                    plural = true;
                    message.translations << xml.readElementText();
                }
                if (xml.atEnd())
                    break;
            }
            if (!plural)
                message.translations << text;
            messages << message;
        }
    }
    if (xml.hasError())
        *error = xml.errorString() + QStringLiteral(" at line ") + QString::number(xml.lineNumber());
    return messages;
}

// The sorted matches of `pattern` in `text`: placeholders or markup.
QStringList matches(const QRegularExpression& pattern, const QString& text, bool unique)
{
    QStringList found;
    for (auto it = pattern.globalMatch(text); it.hasNext();)
        found << it.next().captured(pattern.captureCount());
    if (unique)
        found.removeDuplicates();
    found.sort();
    return found;
}

QStringList placeholders(const QString& text)
{
    static const QRegularExpression marker(QStringLiteral("%L?(\\d{1,2}|n)"));
    return matches(marker, text, true);
}

QStringList tags(const QString& text)
{
    static const QRegularExpression tag(QStringLiteral("</?[a-zA-Z]+[^>]*>"));
    return matches(tag, text, false);
}

int mnemonics(const QString& text)
{
    int count = 0;
    for (qsizetype i = 0; i + 1 < text.size(); ++i) {
        if (text.at(i) != QLatin1Char('&'))
            continue;
        if (text.at(i + 1) != QLatin1Char('&'))
            ++count;
        ++i;
    }
    return count;
}

// Every fault of one message, in words a translator can act on.
QStringList problems(const Message& message)
{
    QStringList found;
    if (message.unfinished)
        found << QStringLiteral("unfinished");
    const QChar ellipsis(0x2026);
    for (const QString& translation : message.translations) {
        if (translation.trimmed().isEmpty()) {
            found << QStringLiteral("empty translation");
            continue;
        }
        if (placeholders(translation) != placeholders(message.source))
            found << QStringLiteral("placeholders %1 in the source, %2 in the translation")
                         .arg(placeholders(message.source).join(QLatin1Char(',')),
                              placeholders(translation).join(QLatin1Char(',')));
        if (mnemonics(message.source) != mnemonics(translation))
            found << QStringLiteral("the mnemonic & is not kept exactly once");
        if (message.source.endsWith(ellipsis) != translation.endsWith(ellipsis))
            found << QStringLiteral("the closing … differs");
        if (message.source.endsWith(QLatin1Char(':')) != translation.endsWith(QLatin1Char(':')))
            found << QStringLiteral("the closing colon differs");
        if (tags(message.source) != tags(translation))
            found << QStringLiteral("the markup differs");
    }
    return found;
}

QStringList catalogueProblems(QIODevice& file, QString* language)
{
    QString error;
    const QList<Message> messages = readCatalogue(file, language, &error);
    QStringList report;
    if (!error.isEmpty())
        report << QStringLiteral("unreadable: ") + error;
    for (const Message& message : messages) {
        for (const QString& problem : problems(message))
            report << message.context + QStringLiteral(" / \"") + message.source + QStringLiteral("\": ") +
                          problem;
    }
    if (messages.isEmpty())
        report << QStringLiteral("no messages");
    return report;
}

QStringList problemsIn(const char* source, const char* translation)
{
    QBuffer buffer;
    buffer.setData(
        QByteArrayLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n"
                          "<TS version=\"2.1\" language=\"de\"><context><name>C</name><message><source>") +
        source + QByteArrayLiteral("</source>") + translation +
        QByteArrayLiteral("</message></context></TS>\n"));
    buffer.open(QIODevice::ReadOnly);
    QString language;
    return catalogueProblems(buffer, &language);
}

TEST(TranslationCatalogueTest, EveryCatalogueIsCompleteAndKeepsPlaceholdersMnemonicsAndMarkup)
{
    const QDir folder(QStringLiteral(SPINDREL_TRANSLATIONS_DIR));
    const QStringList files = folder.entryList({QStringLiteral("spindrel_*.ts")}, QDir::Files);
    ASSERT_TRUE(files.contains(QStringLiteral("spindrel_de.ts"))) << folder.path().toStdString();
    for (const QString& name : files) {
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
        QString language;
        const QStringList report = catalogueProblems(file, &language);
        EXPECT_TRUE(report.isEmpty())
            << name.toStdString() << " (run scripts/update-translations, then fill in):\n"
            << report.join(QLatin1Char('\n')).toStdString();
        EXPECT_EQ(QStringLiteral("spindrel_") + language + QStringLiteral(".ts"), name);
    }
}

TEST(TranslationCatalogueTest, TheCheckFindsEachKindOfFault)
{
    EXPECT_EQ(problemsIn("Play", "<translation>Wiedergeben</translation>"), QStringList());
    EXPECT_EQ(problemsIn("Rock &amp;&amp; Roll", "<translation>Rock &amp;&amp; Roll</translation>"),
              QStringList());
    EXPECT_EQ(problemsIn("Play", "<translation type=\"unfinished\">Wiedergeben</translation>"),
              QStringList{QStringLiteral("C / \"Play\": unfinished")});
    EXPECT_EQ(problemsIn("From “%1” to “%2”:", "<translation>Von „%1“ nach</translation>").size(), 2)
        << "a lost %2, a lost colon";
    const std::pair<const char*, const char*> oneFault[] = {
        {"Play", "<translation> </translation>"},
        {"Took %1", "<translation>Dauerte %1 %4</translation>"},
        {"%n tape(s)", "<translation numerus=\"yes\"><numerusform>%n Kassette</numerusform>"
                       "<numerusform>Kassetten</numerusform></translation>"},
        {"&amp;Edit", "<translation>Bearbeiten</translation>"},
        {"Import…", "<translation>Importieren...</translation>"},
        {"&lt;p&gt;A&lt;br&gt;B&lt;/p&gt;", "<translation>&lt;p&gt;A B&lt;/p&gt;</translation>"},
    };
    for (const auto& [source, translation] : oneFault)
        EXPECT_EQ(problemsIn(source, translation).size(), 1) << source;
    QBuffer broken;
    broken.setData("<TS><context>");
    broken.open(QIODevice::ReadOnly);
    QString language;
    EXPECT_FALSE(catalogueProblems(broken, &language).isEmpty());
}

} // namespace
