#include "sharing/YouTubeCategoryList.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace spindrel {

YouTubeCategoryList::Result YouTubeCategoryList::parse(const QByteArray& body, const QString& fetchError)
{
    Result result;
    if (body.isEmpty()) {
        result.failure = QStringLiteral("Fetch failed with error %1")
                             .arg(fetchError.isEmpty() ? QStringLiteral("(no data)") : fetchError);
        return result;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(body, &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isObject()) {
        result.failure =
            QStringLiteral("category fetch could not parse XML: %1")
                .arg(parseError.error != QJsonParseError::NoError ? parseError.errorString()
                                                                  : QStringLiteral("not an object"));
        return result;
    }
    const QJsonObject root = document.object();
    for (const QJsonValue& value : root.value(QStringLiteral("items")).toArray()) {
        const QJsonObject item = value.toObject();
        const QJsonObject snippet = item.value(QStringLiteral("snippet")).toObject();
        if (!snippet.value(QStringLiteral("assignable")).toBool())
            continue;
        const QString term = item.value(QStringLiteral("id")).toString();
        if (term.isEmpty())
            continue;
        const QString label = snippet.value(QStringLiteral("title")).toString();
        result.categories.push_back({label.isEmpty() ? term : label, term});
    }
    if (result.categories.empty()) {
        const QString reason =
            root.contains(QStringLiteral("error"))
                ? root.value(QStringLiteral("error")).toObject().value(QStringLiteral("message")).toString()
                : QStringLiteral("no assignable categories");
        result.failure = QStringLiteral("category fetch could not find nodes: %1").arg(reason);
    }
    return result;
}

} // namespace spindrel
