// Readable failure messages for Qt texts in the profile and notification tests.
#include <QString>

#include <ostream>

void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }
