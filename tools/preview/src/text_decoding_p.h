//
//  Private to the receipt preview: not part of its interface.
//  Shared inside the library and with its tests only.
//
#ifndef RECEIPT_PREVIEW_TEXT_DECODING_P_H
#define RECEIPT_PREVIEW_TEXT_DECODING_P_H

#include "escpos_reader_p.h"
#include "receipt_preview/receipt_preview.h"

class QTextCodec;

namespace receipt_preview {

// The codec for the stream's text runs. Auto looks at the text runs only (command arguments may hold any
// byte): UTF-8 when they are all valid UTF-8 and hold at least one multi-byte character, else GB18030,
// which reads plain ASCII the same way.
QTextCodec* textCodec(Encoding encoding, const CommandStream& stream);

} // namespace receipt_preview

#endif
