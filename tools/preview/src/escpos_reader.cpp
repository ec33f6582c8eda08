#include "escpos_reader_p.h"

#include <optional>

namespace receipt_preview {
namespace {

constexpr unsigned char kLf = 0x0A;
constexpr unsigned char kDle = 0x10;
constexpr unsigned char kEsc = 0x1B;
constexpr unsigned char kFs = 0x1C;
constexpr unsigned char kGs = 0x1D;

// Lengths are 64-bit: a declared data size may reach 2^32 and must not wrap before it is compared with the
// bytes that are really there.
class Reader {
public:
    explicit Reader(const QByteArray& bytes)
        : data_(reinterpret_cast<const unsigned char*>(bytes.constData())), size_(bytes.size()) {}

    CommandStream run();

private:
    // The byte at pos_ + offset, or nothing past the end.
    std::optional<int> at(qint64 offset) const {
        if (offset >= size_ - pos_) return std::nullopt;
        return data_[pos_ + offset];
    }
    // Little-endian count of `bytes` bytes at pos_ + offset.
    std::optional<qint64> count(qint64 offset, int bytes) const;

    void readText();
    // Each returns the length of the command at pos_, or nothing when the stream ends inside it.
    std::optional<qint64> escCommand();
    std::optional<qint64> gsCommand();
    std::optional<qint64> fsCommand();
    std::optional<qint64> dleCommand();
    std::optional<qint64> userCharacters();
    std::optional<qint64> nvImages();
    std::optional<qint64> barcode();

    void emit(CommandKind kind, int value = 0, QByteArray data = QByteArray()) {
        stream_.commands.push_back(Command{kind, value, std::move(data)});
    }

    const unsigned char* data_;
    qint64 size_;
    qint64 pos_ = 0;
    CommandStream stream_;
};

std::optional<qint64> Reader::count(qint64 offset, int bytes) const {
    qint64 value = 0;
    for (int i = bytes - 1; i >= 0; --i) {
        const auto byte = at(offset + i);
        if (!byte) return std::nullopt;
        value = value * 256 + *byte;
    }
    return value;
}

CommandStream Reader::run() {
    while (pos_ < size_) {
        const unsigned char byte = data_[pos_];
        if (byte >= 0x20) {
            readText();
            continue;
        }
        std::optional<qint64> length = 1;
        switch (byte) {
        case kLf: emit(CommandKind::LineFeed); break;
        case kEsc: length = escCommand(); break;
        case kGs: length = gsCommand(); break;
        case kFs: length = fsCommand(); break;
        case kDle: length = dleCommand(); break;
        default: break; // NUL, CR, HT and the other control bytes print nothing
        }
        if (!length || *length > size_ - pos_) {
            // A command the stream does not finish; commands emit only once their bytes are all there.
            break;
        }
        pos_ += *length;
    }
    return std::move(stream_);
}

void Reader::readText() {
    const qint64 start = pos_;
    while (pos_ < size_ && data_[pos_] >= 0x20) ++pos_;
    emit(CommandKind::Text, 0, QByteArray(reinterpret_cast<const char*>(data_ + start), int(pos_ - start)));
}

std::optional<qint64> Reader::escCommand() {
    const auto code = at(1);
    if (!code) return std::nullopt;
    const auto arg = at(2);
    switch (*code) {
    case '!':
    case 'E':
    case 'J':
    case 'a':
    case 'd':
        if (!arg) return std::nullopt;
        emit(*code == '!'   ? CommandKind::PrintMode
             : *code == 'E' ? CommandKind::Emphasis
             : *code == 'J' ? CommandKind::FeedDots
             : *code == 'a' ? CommandKind::Align
                            : CommandKind::FeedLines,
             *arg);
        return 3;
    case '@': emit(CommandKind::Initialize); return 2;
    case 'i':
    case 'm': emit(CommandKind::Cut); return 2;
    case '2':
    case '<':
    case 'L':
    case 'S':
    case 'v':
    case 0x0C: return 2;
    case ' ':
    case '%':
    case '-':
    case '3':
    case '=':
    case '?':
    case 'G':
    case 'K':
    case 'M':
    case 'R':
    case 'T':
    case 'U':
    case 'V':
    case 'e':
    case 'r':
    case 't':
    case 'u':
    case '{': return 3;
    case '$':
    case '\\':
    case 'c':
    case 'f': return 4;
    case 'p': return 5; // drawer pulse: nothing on paper
    case 'W': return 10;
    case '&': return userCharacters();
    case '(': {
        const auto length = count(3, 2);
        if (!length) return std::nullopt;
        return 5 + *length;
    }
    case '*': {
        const auto mode = at(2);
        const auto columns = count(3, 2);
        if (!mode || !columns) return std::nullopt;
        return 5 + *columns * ((*mode == 0 || *mode == 1) ? 1 : 3);
    }
    case 'D': // tab positions, up to a NUL
        for (qint64 i = 2;; ++i) {
            const auto byte = at(i);
            if (!byte) return std::nullopt;
            if (*byte == 0) return i + 1;
        }
    default: return 2;
    }
}

std::optional<qint64> Reader::gsCommand() {
    const auto code = at(1);
    if (!code) return std::nullopt;
    const auto arg = at(2);
    switch (*code) {
    case '!':
    case 'h':
    case 'w':
        if (!arg) return std::nullopt;
        emit(*code == '!' ? CommandKind::CharacterSize
             : *code == 'h' ? CommandKind::BarcodeHeight
                            : CommandKind::BarcodeModuleWidth,
             *arg);
        return 3;
    case 'V': {
        if (!arg) return std::nullopt;
        if (*arg == 65 || *arg == 66 || *arg == 97 || *arg == 98 || *arg == 103 || *arg == 104) {
            const auto feed = at(3);
            if (!feed) return std::nullopt;
            emit(CommandKind::Cut, (*arg == 65 || *arg == 66) ? *feed : 0);
            return 4;
        }
        if (*arg == 0 || *arg == 1 || *arg == 48 || *arg == 49) emit(CommandKind::Cut);
        return 3;
    }
    case 'k': return barcode();
    case ':':
    case 'c': return 2;
    case '#':
    case '/':
    case 'B':
    case 'E':
    case 'H':
    case 'I':
    case 'T':
    case 'a':
    case 'b':
    case 'f':
    case 'j':
    case 'r': return 3;
    case '$':
    case 'L':
    case 'P':
    case 'W':
    case '\\': return 4;
    case '^': return 5;
    case 'g': return 6;
    case '(': {
        const auto length = count(3, 2);
        if (!length) return std::nullopt;
        return 5 + *length;
    }
    case '8': { // GS 8 L / GS 8 D: 32-bit data length
        const auto length = count(3, 4);
        if (!length) return std::nullopt;
        return 7 + *length;
    }
    case '*': {
        const auto columns = at(2);
        const auto rows = at(3);
        if (!columns || !rows) return std::nullopt;
        return 4 + qint64(*columns) * *rows * 8;
    }
    case 'v': { // raster image: GS v 0 m xL xH yL yH data
        const auto widthBytes = count(4, 2);
        const auto rows = count(6, 2);
        if (!widthBytes || !rows) return std::nullopt;
        return 8 + *widthBytes * *rows;
    }
    default: return 2;
    }
}

std::optional<qint64> Reader::fsCommand() {
    const auto code = at(1);
    if (!code) return std::nullopt;
    switch (*code) {
    case '&':
    case '.': return 2;
    case '!':
    case '-':
    case 'C':
    case 'W': return 3;
    case 'S':
    case 'p': return 4;
    case '2': return 76; // one user-defined 24 x 24 character: code c1 c2 and 72 bytes
    case 'q': return nvImages();
    default: return 2;
    }
}

std::optional<qint64> Reader::dleCommand() {
    const auto code = at(1);
    if (!code) return 1;
    if (*code == 0x04 || *code == 0x05) return 3;
    if (*code == 0x14) return 5;
    return 1;
}

// ESC & y c1 c2, then for each character c1..c2 its width x and y * x bytes.
std::optional<qint64> Reader::userCharacters() {
    const auto height = at(2);
    const auto first = at(3);
    const auto last = at(4);
    if (!height || !first || !last) return std::nullopt;
    qint64 length = 5;
    for (int c = *first; c <= *last; ++c) {
        const auto width = at(length);
        if (!width) return std::nullopt;
        length += 1 + qint64(*height) * *width;
    }
    return length;
}

// FS q n, then n images, each xL xH yL yH and x * y * 8 bytes.
std::optional<qint64> Reader::nvImages() {
    const auto images = at(2);
    if (!images) return std::nullopt;
    qint64 length = 3;
    for (int i = 0; i < *images; ++i) {
        const auto width = count(length, 2);
        const auto height = count(length + 2, 2);
        if (!width || !height) return std::nullopt;
        length += 4 + *width * *height * 8;
        if (length > size_ - pos_) return std::nullopt;
    }
    return length;
}

// GS k m: systems 0 to 6 end their data with a NUL, systems 65 to 79 give its length n first.
std::optional<qint64> Reader::barcode() {
    const auto system = at(2);
    if (!system) return std::nullopt;
    if (*system <= 6) {
        for (qint64 i = 3;; ++i) {
            const auto byte = at(i);
            if (!byte) return std::nullopt;
            if (*byte == 0) {
                emit(CommandKind::Barcode, *system,
                     QByteArray(reinterpret_cast<const char*>(data_ + pos_ + 3), int(i - 3)));
                return i + 1;
            }
        }
    }
    if (*system >= 65 && *system <= 79) {
        const auto length = at(3);
        if (!length) return std::nullopt;
        if (*length > size_ - pos_ - 4) return std::nullopt;
        emit(CommandKind::Barcode, *system, QByteArray(reinterpret_cast<const char*>(data_ + pos_ + 4), *length));
        return 4 + *length;
    }
    return 3;
}

} // namespace

CommandStream readCommands(const QByteArray& bytes) {
    return Reader(bytes).run();
}

} // namespace receipt_preview
