// The readable dump of receipt bytes: commands by name, text as it is, and no failure on any input.

#include "escpos_dump.h"

#include <gtest/gtest.h>

#include <random>

using sbtool::dumpEscPos;

namespace {

QByteArray bytes(std::initializer_list<int> values)
{
    QByteArray out;
    for (int v : values)
        out.append(char(v));
    return out;
}

TEST(EscPosDump, NamesCommandsKeepsTextAndShowsStrayOrCutOffBytes)
{
    const std::pair<QByteArray, QByteArray> table[] = {
        // A styled line: ESC a 1, ESC ! 08, GS ! 11, "ab", GS ! 00, ESC ! 00, LF.
        {bytes({0x1B, 0x61, 0x01, 0x1B, 0x21, 0x08, 0x1D, 0x21, 0x11, 'a', 'b', 0x1D, 0x21, 0x00, 0x1B, 0x21, 0x00,
                0x0A}),
         "[ESC a 1][ESC ! 0x08][GS ! 0x11]ab[GS ! 0x00][ESC ! 0x00]\n"},
        {bytes({0x1D, 0x56, 0x00, 0x1D, 0x56, 0x31, 0x1B, 0x70, 0x00, 0x3C, 0xFF, 0x00}),
         "[CUT][CUT partial][DRAWER][NUL]"},
        // CODE128 digits in pairs, then the id as text.
        {bytes({0x1D, 0x68, 0x60, 0x1D, 0x77, 0x02, 0x1D, 0x6B, 0x49, 0x05, 0x7B, 0x43, 0x01, 0x17, 0x2D, '1', '2',
                '3', '4', '5'}),
         "[GS h 96][GS w 2][BARCODE CODE128 {C 01 23 45]12345"},
        {QByteArray("完") + bytes({0xE5, 0x41, 0x80, 0x07}), "完[0xE5]A[0x80][0x07]"},
        {bytes({'x', 0x1B, 0x61}), "x[cut off: 1B 61]"},
        {bytes({0x1D, 0x6B, 0x49, 0x09, 0x7B}), "[cut off: 1D 6B 49 09 7B]"},
        {bytes({0x1D, 0x6B, 0x04, '1', '2'}), "[cut off: 1D 6B 04 31 32]"},
    };
    for (const auto& row : table)
        EXPECT_EQ(dumpEscPos(row.first), row.second) << row.first.toHex().constData();
}

TEST(EscPosDump, AcceptsArbitraryBytes)
{
    std::mt19937 random(20240315);
    for (int round = 0; round < 2000; round++) {
        QByteArray noise(int(random() % 64), '\0');
        for (char& c : noise) {
            // Mostly command starts and their arguments, so that every decoder path is taken.
            static const char interesting[] = {0x1B, 0x1D, 0x0A, 0x00, 'a', '!', 'V', 'k', 'p', 0x49, 0x7B, 'C'};
            c = random() % 2 ? interesting[random() % sizeof interesting] : char(random());
        }
        EXPECT_EQ(noise.isEmpty(), dumpEscPos(noise).isEmpty());
    }
}

}  // namespace
