#pragma once
// GoogleTest prints Qt values as text in failure messages. In Qt's namespace so that argument-dependent
// lookup finds them from any test.

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <ostream>

QT_BEGIN_NAMESPACE
void PrintTo(const QString& text, std::ostream* out);
void PrintTo(const QStringList& list, std::ostream* out);
void PrintTo(const QByteArray& bytes, std::ostream* out);
QT_END_NAMESPACE
