#include "qt_print.h"

QT_BEGIN_NAMESPACE

void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

void PrintTo(const QStringList& list, std::ostream* out)
{
    *out << '{';
    for (int i = 0; i < list.size(); ++i) *out << (i ? ", \"" : "\"") << list[i].toStdString() << '"';
    *out << '}';
}

void PrintTo(const QByteArray& bytes, std::ostream* out)
{
    *out << bytes.size() << " bytes: " << bytes.toHex(' ').toStdString();
}

QT_END_NAMESPACE
