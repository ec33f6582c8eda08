#include "escpos_dump.h"

#include <cstdint>
#include <cstdio>

namespace sbtool {
namespace {

class Decoder {
public:
    explicit Decoder(const QByteArray& bytes)
        : data_(reinterpret_cast<const uint8_t*>(bytes.constData())), size_(size_t(bytes.size()))
    {}

    QByteArray run()
    {
        while (at_ < size_) {
            uint8_t b = data_[at_];
            if (b == 0x0A) {
                out_ += '\n';
                at_++;
            } else if (b == 0x00) {
                out_ += "[NUL]";
                at_++;
            } else if (b == 0x1B) {
                escape();
            } else if (b == 0x1D) {
                groupSeparator();
            } else if (b < 0x20 || b == 0x7F) {
                hexByte(b);
                at_++;
            } else if (b < 0x80) {
                out_ += char(b);
                at_++;
            } else {
                utf8();
            }
        }
        return out_;
    }

private:
    bool has(size_t count) const { return size_ - at_ >= count; }
    uint8_t at(size_t offset) const { return data_[at_ + offset]; }

    void hexByte(uint8_t b) { append("[0x%02X]", b); }

    void append(const char* format, unsigned value)
    {
        char text[48];
        std::snprintf(text, sizeof text, format, value);
        out_ += text;
    }

    // The rest of the input was a command that never ended.
    void cutOff()
    {
        out_ += "[cut off:";
        for (; at_ < size_; at_++)
            append(" %02X", data_[at_]);
        out_ += ']';
    }

    void escape()
    {
        if (!has(2))
            return cutOff();
        switch (at(1)) {
        case 'a':
        case '!':
        case 'd':
        case 'E':
            if (!has(3))
                return cutOff();
            if (at(1) == '!')
                append("[ESC ! 0x%02X]", at(2));
            else
                append(at(1) == 'a' ? "[ESC a %u]" : at(1) == 'd' ? "[ESC d %u]" : "[ESC E %u]", at(2));
            at_ += 3;
            return;
        case 'p':
            if (!has(5))
                return cutOff();
            out_ += "[DRAWER]";
            at_ += 5;
            return;
        case '@':
            out_ += "[ESC @]";
            at_ += 2;
            return;
        default:
            append("[ESC 0x%02X]", at(1));
            at_ += 2;
            return;
        }
    }

    void groupSeparator()
    {
        if (!has(2))
            return cutOff();
        uint8_t command = at(1);
        if (command == 'k')
            return barcode();
        if (command != '!' && command != 'V' && command != 'h' && command != 'w' && command != 'H') {
            append("[GS 0x%02X]", command);
            at_ += 2;
            return;
        }
        if (!has(3))
            return cutOff();
        uint8_t n = at(2);
        if (command == 'V') {
            if (n == 65 || n == 66) {
                if (!has(4))
                    return cutOff();
                append("[CUT feed %u]", at(3));
                at_ += 4;
                return;
            }
            out_ += (n == 1 || n == 0x31) ? "[CUT partial]" : "[CUT]";
        } else if (command == '!') {
            append("[GS ! 0x%02X]", n);
        } else {
            append(command == 'h' ? "[GS h %u]" : command == 'w' ? "[GS w %u]" : "[GS H %u]", n);
        }
        at_ += 3;
    }

    void barcode()
    {
        static const char* const names[] = {"UPC-A", "UPC-E",   "EAN13",  "EAN8",   "CODE39",
                                            "ITF",   "CODABAR", "CODE93", "CODE128"};
        if (!has(3))
            return cutOff();
        uint8_t system = at(2);
        size_t start = 0;
        size_t length = 0;
        size_t skip = 0;
        const char* name = nullptr;
        if (system <= 6) {
            // Function A: the data ends with a NUL.
            name = names[system];
            start = 3;
            while (has(start + length + 1) && at(start + length) != 0)
                length++;
            if (!has(start + length + 1))
                return cutOff();
            skip = start + length + 1;
        } else if (system >= 65 && system <= 73) {
            // Function B: a length byte, then the data.
            name = names[system - 65];
            if (!has(4))
                return cutOff();
            start = 4;
            length = at(3);
            if (!has(start + length))
                return cutOff();
            skip = start + length;
        } else {
            append("[GS k 0x%02X]", system);
            at_ += 3;
            return;
        }
        out_ += "[BARCODE ";
        out_ += name;
        char codeSet = 0;
        for (size_t i = 0; i < length; i++) {
            uint8_t b = at(start + i);
            if (b == '{' && i + 1 < length) {
                codeSet = char(at(start + i + 1));
                out_ += " {";
                out_ += codeSet > 0x20 && codeSet < 0x7F ? codeSet : '?';
                i++;
            } else if (codeSet == 'C' && b < 100) {
                append(" %02u", b);
            } else if (b > 0x20 && b < 0x7F) {
                append(" %c", b);
            } else {
                append(" 0x%02X", b);
            }
        }
        out_ += ']';
        at_ += skip;
    }

    // Copies one valid UTF-8 character, or shows the stray byte.
    void utf8()
    {
        uint8_t lead = at(0);
        size_t length = lead >= 0xC2 && lead <= 0xDF   ? 2
                        : lead >= 0xE0 && lead <= 0xEF ? 3
                        : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                       : 0;
        bool valid = length > 0 && has(length);
        for (size_t i = 1; valid && i < length; i++)
            valid = (at(i) & 0xC0) == 0x80;
        if (!valid) {
            hexByte(lead);
            at_++;
            return;
        }
        out_.append(reinterpret_cast<const char*>(data_ + at_), int(length));
        at_ += length;
    }

    const uint8_t* data_;
    size_t size_;
    size_t at_ = 0;
    QByteArray out_;
};

}  // namespace

QByteArray dumpEscPos(const QByteArray& receipt)
{
    return Decoder(receipt).run();
}

}  // namespace sbtool
