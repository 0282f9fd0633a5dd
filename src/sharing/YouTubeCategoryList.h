#pragma once

#include <QByteArray>
#include <QString>
#include <optional>
#include <vector>

namespace spindrel {

/// The video categories a viewer may pick, from the service's videoCategories.list answer.
class YouTubeCategoryList
{
public:
    struct Category
    {
        QString title; ///< the label, or the term when there is no label
        QString term;  ///< the category's identifier, what an upload names
        bool operator==(const Category&) const = default;
    };

    struct Result
    {
        std::vector<Category> categories;
        /// Set when nothing usable came: the line to log, and the list on screen stays as it was.
        std::optional<QString> failure;
    };

    /// `fetchError` is the transfer's error, if it failed; `body` what came back.
    static Result parse(const QByteArray& body, const QString& fetchError = {});
};

} // namespace spindrel
