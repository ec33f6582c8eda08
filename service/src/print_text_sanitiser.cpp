#include "print_text_sanitiser_p.h"

#include <algorithm>

namespace service_business {
namespace print_cmd_formater {

namespace {
bool isControl(QChar c) { return c.unicode() < 0x20 || c.unicode() == 0x7f; }
}  // namespace

QString stripPrinterControls(const QString& text)
{
    if (std::none_of(text.cbegin(), text.cend(), isControl)) return text;
    QString clean;
    clean.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (!isControl(c)) {
            clean += c;
        } else if (c == QLatin1Char('\t') || c == QLatin1Char('\n')) {
            clean += QLatin1Char(' ');
        } else if (c == QLatin1Char('\r')) {
            clean += QLatin1Char(' ');
            if (i + 1 < text.size() && text.at(i + 1) == QLatin1Char('\n')) ++i;  // CR LF is one break
        }
    }
    return clean;
}

}  // namespace print_cmd_formater
}  // namespace service_business
