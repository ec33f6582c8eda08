#include "text_decoding_p.h"

#include <QTextCodec>

#include <algorithm>

namespace receipt_preview {
namespace {

bool hasMultiByteText(const CommandStream& stream) {
    return std::any_of(stream.commands.begin(), stream.commands.end(), [](const Command& command) {
        return command.kind == CommandKind::Text &&
               std::any_of(command.data.begin(), command.data.end(), [](char c) { return c & 0x80; });
    });
}

bool isValidUtf8(QTextCodec* utf8, const CommandStream& stream) {
    return std::all_of(stream.commands.begin(), stream.commands.end(), [utf8](const Command& command) {
        if (command.kind != CommandKind::Text) return true;
        QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
        utf8->toUnicode(command.data.constData(), command.data.size(), &state);
        return state.invalidChars == 0 && state.remainingChars == 0;
    });
}

} // namespace

QTextCodec* textCodec(Encoding encoding, const CommandStream& stream) {
    QTextCodec* utf8 = QTextCodec::codecForName("UTF-8");
    QTextCodec* gb18030 = QTextCodec::codecForName("GB18030");
    switch (encoding) {
    case Encoding::Utf8: return utf8;
    case Encoding::Gb18030: return gb18030;
    case Encoding::Auto: break;
    }
    return hasMultiByteText(stream) && isValidUtf8(utf8, stream) ? utf8 : gb18030;
}

} // namespace receipt_preview
