#pragma once

#include <QByteArray>
#include <QString>
#include <ostream>

// Readable Qt strings in test failures.
QT_BEGIN_NAMESPACE
inline std::ostream& operator<<(std::ostream& out, const QString& text)
{
    return out << text.toStdString();
}

inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QByteArray& bytes, std::ostream* out)
{
    *out << '"' << bytes.left(200).toStdString() << (bytes.size() > 200 ? "...\"" : "\"");
}
QT_END_NAMESPACE
