#pragma once

#include <QByteArray>
#include <QString>
#include <ostream>

// Readable failure messages for Qt strings.
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QByteArray& bytes, std::ostream* out)
{
    *out << '"' << bytes.left(200).toStdString() << (bytes.size() > 200 ? "...\"" : "\"");
}
