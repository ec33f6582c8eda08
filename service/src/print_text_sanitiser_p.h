#pragma once
//
//  Private to service_business: not part of its interface.
//  Shared inside service_business and with its tests only.
//

#include <QString>

namespace service_business {
namespace print_cmd_formater {

// A customer's text made safe to print: a tab or a line break (LF, CR or CR LF) becomes one space and
// every other control character (U+0000 to U+001F, U+007F) is dropped, since the printer would take it,
// with the characters after it, as a command (open the drawer, cut the paper).
QString stripPrinterControls(const QString& text);

}  // namespace print_cmd_formater
}  // namespace service_business
