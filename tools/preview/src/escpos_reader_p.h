//
//  Private to the receipt preview: not part of its interface.
//  Shared inside the library and with its tests only.
//
#ifndef RECEIPT_PREVIEW_ESCPOS_READER_P_H
#define RECEIPT_PREVIEW_ESCPOS_READER_P_H

#include <QByteArray>

#include <vector>

namespace receipt_preview {

// What the preview acts on. Every other command of the printer is recognised only to be skipped whole.
enum class CommandKind {
    Text,               // data: printable bytes, still in the stream's encoding
    LineFeed,           // LF
    FeedLines,          // ESC d n: value = n
    FeedDots,           // ESC J n: value = n
    Align,              // ESC a n: value = n
    PrintMode,          // ESC ! n: value = n
    CharacterSize,      // GS ! n: value = n
    Emphasis,           // ESC E n: value = n
    Initialize,         // ESC @
    Cut,                // GS V, ESC i, ESC m: value = dots fed before the cut
    BarcodeHeight,      // GS h n: value = n
    BarcodeModuleWidth, // GS w n: value = n
    Barcode             // GS k m ...: value = m, data = the barcode data
};

struct Command {
    CommandKind kind;
    int value = 0;
    QByteArray data;
};

struct CommandStream {
    std::vector<Command> commands;
};

// Splits a printer byte stream into commands and text runs. Never fails: NUL, other control bytes and
// commands the preview does not draw are skipped by their lengths, an unknown ESC, GS or FS command is
// taken as two bytes long, and a command that the stream ends inside is dropped with all that follows.
CommandStream readCommands(const QByteArray& bytes);

} // namespace receipt_preview

#endif
