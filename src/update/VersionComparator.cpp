#include "update/VersionComparator.h"

#include <QList>

namespace spindrel::VersionComparator {

namespace {

enum class PartType { Number, Period, String, Separator };

struct Part
{
    PartType type;
    QString text;
};

PartType typeOf(QChar c)
{
    if (c.isDigit())
        return PartType::Number;
    if (c == QLatin1Char('.'))
        return PartType::Period;
    if (c.isSpace() || c == QLatin1Char('-') || c == QLatin1Char('_') || c == QLatin1Char('+'))
        return PartType::Separator;
    return PartType::String;
}

QList<Part> split(const QString& version)
{
    QList<Part> parts;
    for (QChar c : version) {
        const PartType type = typeOf(c);
        // Runs of digits or letters make one part; every period or separator is a part of its own.
        const bool joins = !parts.isEmpty() && parts.last().type == type &&
                           (type == PartType::Number || type == PartType::String);
        if (joins)
            parts.last().text += c;
        else
            parts.append({type, QString(c)});
    }
    return parts;
}

int sign(qlonglong value)
{
    return value < 0 ? -1 : (value > 0 ? 1 : 0);
}

} // namespace

int compareVersions(const QString& a, const QString& b)
{
    const QList<Part> partsA = split(a);
    const QList<Part> partsB = split(b);
    const qsizetype common = std::min(partsA.size(), partsB.size());
    for (qsizetype i = 0; i < common; ++i) {
        const Part& partA = partsA[i];
        const Part& partB = partsB[i];
        if (partA.type == partB.type) {
            if (partA.type == PartType::Number) {
                const int order = sign(partA.text.toLongLong() - partB.text.toLongLong());
                if (order != 0)
                    return order;
            } else if (partA.type == PartType::String) {
                const int order = sign(QString::compare(partA.text, partB.text));
                if (order != 0)
                    return order;
            }
            continue;
        }
        // Different kinds at the same place: a letter part marks a pre-release, so anything else
        // is newer; between a number and punctuation the number is newer.
        if (partB.type == PartType::String)
            return 1;
        if (partA.type == PartType::String)
            return -1;
        return partA.type == PartType::Number ? 1 : -1;
    }
    if (partsA.size() == partsB.size())
        return 0;
    // One is the other plus more: more letters make a pre-release, more numbers a later release.
    const bool aIsLonger = partsA.size() > partsB.size();
    const QList<Part>& longer = aIsLonger ? partsA : partsB;
    qsizetype next = common;
    while (next < longer.size() && longer[next].type != PartType::Number &&
           longer[next].type != PartType::String)
        ++next;
    if (next == longer.size())
        return 0;
    const bool longerIsNewer = longer[next].type == PartType::Number;
    return (longerIsNewer == aIsLonger) ? 1 : -1;
}

} // namespace spindrel::VersionComparator
