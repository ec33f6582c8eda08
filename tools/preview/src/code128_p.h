//
//  Private to the receipt preview: not part of its interface.
//  Shared inside the library and with its tests only.
//
#ifndef RECEIPT_PREVIEW_CODE128_P_H
#define RECEIPT_PREVIEW_CODE128_P_H

#include <QByteArray>

#include <vector>

namespace receipt_preview {

// The CODE128 symbol of barcode data as a printer takes it (GS k 73): the data opens with "{A", "{B" or
// "{C" to choose the start code set; later "{A", "{B", "{C" switch sets, "{S" shifts one character between
// sets A and B, "{1" to "{4" are the function characters and "{{" is a "{" in set B. In set C each data
// byte is one value 0 to 99, that is one pair of digits.
//
// Returns the element widths in modules, bar first and then alternating space and bar: the start code,
// the data symbols, the checksum symbol and the stop pattern. Empty when the data breaks these rules, in
// which case a printer prints no barcode.
std::vector<int> code128Elements(const QByteArray& data);

} // namespace receipt_preview

#endif
