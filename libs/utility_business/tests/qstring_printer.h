#pragma once
// Lets GoogleTest print QString and QStringList values as text in failure messages.

#include <QString>
#include <QStringList>

#include <ostream>

QT_BEGIN_NAMESPACE
inline void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }
inline void PrintTo(const QStringList& list, std::ostream* out)
{
    *out << '{';
    for (int i = 0; i < list.size(); ++i) *out << (i ? ", \"" : "\"") << list[i].toStdString() << '"';
    *out << '}';
}
QT_END_NAMESPACE
