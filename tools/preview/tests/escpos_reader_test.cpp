#include "escpos_reader_p.h"

#include "stream_bytes.h"

#include <gtest/gtest.h>

namespace receipt_preview {
namespace {

// The commands as "Kind:value" words, text as its bytes in quotes, for readable comparisons.
std::vector<std::string> summary(const CommandStream& stream) {
    static const char* const names[] = {"Text",    "LF",         "FeedLines", "FeedDots", "Align",
                                        "Mode",    "Size",       "Emphasis",  "Init",     "Cut",
                                        "BarcodeHeight", "BarcodeModule", "Barcode"};
    std::vector<std::string> words;
    for (const Command& command : stream.commands) {
        if (command.kind == CommandKind::Text) {
            words.push_back('"' + command.data.toStdString() + '"');
            continue;
        }
        std::string word = names[int(command.kind)];
        word += ':' + std::to_string(command.value);
        if (command.kind == CommandKind::Barcode) word += ':' + command.data.toHex().toStdString();
        words.push_back(word);
    }
    return words;
}

using Words = std::vector<std::string>;

TEST(EscPosReader, SplitsTextAtControlBytesAndDropsNul) {
    EXPECT_EQ(summary(readCommands(bytes("ab\0cd\r\tx\n\n"))), (Words{"\"ab\"", "\"cd\"", "\"x\"", "LF:0", "LF:0"}));
}

TEST(EscPosReader, ReadsBarcodeDataByItsCountEvenWithNulAndLineFeedInside) {
    const QByteArray stream = bytes("\x1d\x68\x60\x1d\x77\x02\x1d\x6b\x49\x04{C\x00\x0a" "1000\n");
    EXPECT_EQ(summary(readCommands(stream)),
              (Words{"BarcodeHeight:96", "BarcodeModule:2", "Barcode:73:7b43000a", "\"1000\"", "LF:0"}));

    // The older barcode systems end at a NUL.
    EXPECT_EQ(summary(readCommands(bytes("\x1d\x6b\x04*AB*\0x"))), (Words{"Barcode:4:2a41422a", "\"x\""}));
}

TEST(EscPosReader, ReadsEveryCutForm) {
    const QByteArray stream = bytes("\x1d\x56\x00\x1d\x56\x01\x1d\x56\x30\x1d\x56\x41\x0a\x1d\x56\x42\x05"
                                    "\x1d\x56\x61\x07\x1b\x69\x1b\x6d");
    EXPECT_EQ(summary(readCommands(stream)),
              (Words{"Cut:0", "Cut:0", "Cut:0", "Cut:10", "Cut:5", "Cut:0", "Cut:0", "Cut:0"}));
}

TEST(EscPosReader, SkipsCommandsItDoesNotDrawByTheirLengths) {
    // Each command below carries argument bytes that would print as text if they were miscounted.
    const QByteArray stream = bytes("\x1b\x70\x00\x3c\xff"              // drawer pulse
                                    "\x1b\x40"                          // initialise
                                    "\x1b\x33\x41"                      // line spacing
                                    "\x1b\x24\x41\x41"                  // absolute position
                                    "\x1b\x44\x41\x42\x00"              // tab stops up to NUL
                                    "\x1b\x2a\x21\x02\x00" "AAAAAA"     // 24-dot bit image, 2 columns
                                    "\x1b\x26\x03\x41\x42\x01" "AAA\x01" "BBB" // two user characters
                                    "\x1d\x76\x30\x00\x02\x00\x02\x00" "AAAA" // raster image 2 x 2 bytes
                                    "\x1d\x28\x6b\x03\x00\x31\x43\x41"  // a two-dimensional code function
                                    "\x1d\x38\x4c\x02\x00\x00\x00" "AA" // long graphics function
                                    "\x1d\x2a\x01\x01" "AAAAAAAA"       // downloaded bit image
                                    "\x1c\x26\x1c\x2e\x1c\x21\x41\x1c\x53\x41\x41" // Chinese mode
                                    "\x1c\x32\xfe\xa1") // a user CJK character, its 72 bytes follow
                             + QByteArray(72, 'A') +
                             bytes("\x1c\x71\x01\x01\x00\x01\x00" "AAAAAAAA" // one NV image
                                    "\x10\x04\x01\x10\x14\x01\x00\x01" // real-time requests
                                    "\x1b\xf0\x1d\xf0\x1c\xf0"          // unknown: two bytes each
                                    "ok\n");
    EXPECT_EQ(summary(readCommands(stream)), (Words{"Init:0", "\"ok\"", "LF:0"}));
}

TEST(EscPosReader, DropsACommandTheStreamEndsInside) {
    for (const QByteArray& tail : {bytes("\x1b"), bytes("\x1b\x61"), bytes("\x1d\x6b\x49\x05{C\x01"),
                                   bytes("\x1d\x6b\x49"), bytes("\x1d\x6b\x04" "123"), bytes("\x1d\x56\x41"),
                                   bytes("\x1d\x76\x30\x00\xff\xff\xff\xff" "A"), bytes("\x1b\x44\x01"),
                                   bytes("\x1d\x38\x4c\xff\xff\xff\xff"), bytes("\x1c\x71\x02\x01\x00\x01\x00")}) {
        EXPECT_EQ(summary(readCommands(bytes("A\n") + tail)), (Words{"\"A\"", "LF:0"}))
            << tail.toHex().toStdString();
    }
}

} // namespace
} // namespace receipt_preview
