#pragma once
// A readable form of receipt-printer bytes: one text line per printed line, commands by name.

#include <QByteArray>

namespace sbtool {

// Decodes ESC/POS bytes: a line feed ends a line; text (valid UTF-8) stands as it is; commands show as
// "[ESC a 1]", "[GS ! 0x11]", "[ESC ! 0x08]", "[CUT]", "[BARCODE CODE128 {C 01 17 45]", "[DRAWER]",
// "[NUL]"; any other byte as "[0x1F]"; a command cut off by the end as "[cut off: 1B 61]". Accepts any
// bytes.
QByteArray dumpEscPos(const QByteArray& receipt);

}  // namespace sbtool
