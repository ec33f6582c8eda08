#include "paper_layout_p.h"

#include "receipt_preview/receipt_preview.h"
#include "stream_bytes.h"

#include <QTextCodec>

#include <gtest/gtest.h>

namespace receipt_preview {
namespace {

PaperLayout layOut(const QByteArray& stream, int columns = 32) {
    PaperLayout layout;
    QString error;
    EXPECT_TRUE(layoutPaper(readCommands(stream), QTextCodec::codecForName("UTF-8"), columns * kCellWidth, &layout,
                            &error))
        << error.toStdString();
    return layout;
}

std::vector<int> glyphXs(const PaperLayout& layout) {
    std::vector<int> xs;
    for (const PlacedGlyph& glyph : layout.glyphs) xs.push_back(glyph.x);
    return xs;
}

using Dots = std::vector<int>;

TEST(PaperLayout, AlignsEachLineAsTheAlignmentInForceWhenItPrints) {
    // Four columns of 12 dots on 384: centred at (384 - 48) / 2, right at 384 - 48.
    const struct {
        QByteArray stream;
        int columns;
        Dots xs;
    } table[] = {
        {bytes("\x1b\x61\x00" "ABCD\n"), 32, {0, 12, 24, 36}},
        {bytes("\x1b\x61\x01" "ABCD\n"), 32, {168, 180, 192, 204}},
        {bytes("\x1b\x61\x02" "ABCD\n"), 32, {336, 348, 360, 372}},
        {bytes("\x1b\x61\x32" "ABCD\n"), 32, {336, 348, 360, 372}}, // ASCII '2'
        {bytes("\x1b\x61\x01" "ABCD\n"), 48, {264, 276, 288, 300}},
        {bytes("\x1b\x61\x00" "AB\x1b\x61\x02\n"), 32, {360, 372}},   // the whole line takes the last one
        {bytes("\x1b\x61\x02" "A\n\x1b\x61\x07" "B\n"), 32, {372, 372}}, // kept across lines; 7 is ignored
    };
    for (const auto& row : table) EXPECT_EQ(glyphXs(layOut(row.stream, row.columns)), row.xs) << row.stream.toHex().toStdString();
}

TEST(PaperLayout, WrapsAtTheColumnLimit) {
    const PaperLayout layout = layOut(QByteArray(33, 'A') + '\n');
    ASSERT_EQ(layout.glyphs.size(), 33u);
    EXPECT_EQ(layout.glyphs[31].y, 0);
    EXPECT_EQ(layout.glyphs[31].x, 372);
    EXPECT_EQ(layout.glyphs[32].y, 30);
    EXPECT_EQ(layout.glyphs[32].x, 0);
    EXPECT_EQ(layout.heightDots, 60);
}

TEST(PaperLayout, WrapsADoubleWidthCjkCharacterWhole) {
    // 15 double-width letters (360 dots) leave 24 dots: a double-width CJK character needs 48.
    const PaperLayout layout = layOut(bytes("\x1d\x21\x11") + QByteArray(15, 'A') + "\xe4\xb8\xad\n");
    ASSERT_EQ(layout.glyphs.size(), 16u);
    EXPECT_EQ(layout.glyphs[15].x, 0);
    EXPECT_EQ(layout.glyphs[15].y, 54);
}

TEST(PaperLayout, CharacterSizeGoesUpToEightTimesAndIgnoresLargerValues) {
    const PaperLayout layout = layOut(bytes("\x1d\x21\x77" "A\x1d\x21\x88" "B\n"));
    ASSERT_EQ(layout.glyphs.size(), 2u);
    EXPECT_EQ(std::vector<int>({layout.glyphs[1].widthScale, layout.glyphs[1].heightScale, layout.glyphs[1].x}),
              std::vector<int>({8, 8, 96}));
}

TEST(PaperLayout, InitialiseResetsTheStyleAndDropsTheBufferedLine) {
    const PaperLayout layout = layOut(bytes("\x1b\x61\x02\x1d\x21\x11" "lost\x1b\x40" "A\n"));
    ASSERT_EQ(layout.glyphs.size(), 1u);
    EXPECT_EQ(layout.glyphs[0].x, 0);
    EXPECT_EQ(layout.glyphs[0].widthScale, 1);
}

TEST(PaperLayout, FeedsBlankLinesAndDotsAndAFullLineWithItsLineFeedOnce) {
    EXPECT_EQ(layOut(QByteArray(32, ' ') + '\n').heightDots, 30);
    EXPECT_EQ(layOut(QByteArray(48, 'A') + '\n', 48).heightDots, 30);
    EXPECT_EQ(layOut(bytes("\n\n\n")).heightDots, 90);
    EXPECT_EQ(layOut(bytes("\x1b\x64\x03")).heightDots, 90);
    EXPECT_EQ(layOut(bytes("A\x1b\x64\x00")).heightDots, 30);
    EXPECT_EQ(layOut(bytes("\x1b\x4a\x32")).heightDots, 50);
    EXPECT_EQ(layOut(bytes("A\x1b\x4a\x32")).heightDots, 24 + 50);
    EXPECT_TRUE(layOut("waiting").glyphs.empty()); // never ended by a line feed, so never printed
}

TEST(PaperLayout, CutMarksItsRowAndPrintsThePendingLineFirst) {
    const PaperLayout layout = layOut(bytes("A\n\x1d\x56\x00" "B\x1d\x56\x42\x0a" "C\n"));
    EXPECT_EQ(layout.cuts, (Dots{30 + kCutBand / 2, 30 + kCutBand + 30 + 10 + kCutBand / 2}));
    ASSERT_EQ(layout.glyphs.size(), 3u);
    EXPECT_EQ(layout.glyphs[1].y, 30 + kCutBand);
    EXPECT_EQ(layout.heightDots, 30 + kCutBand + 30 + 10 + kCutBand + 30);
}

TEST(PaperLayout, LeavesOutBarcodesAPrinterWouldRefuse) {
    EXPECT_TRUE(layOut(bytes("\x1d\x6b\x49\x03" "123\n")).bars.empty());              // no code set
    EXPECT_TRUE(layOut(bytes("\x1d\x6b\x04" "123\0\n")).bars.empty());                // not CODE128
    EXPECT_TRUE(layOut(bytes("\x1d\x77\x06\x1d\x6b\x49\x0c{Babcdefghij\n")).bars.empty()); // wider than paper
}

TEST(PaperLayout, RefusesPaperLongerThanTheLimit) {
    PaperLayout layout;
    QString error;
    EXPECT_FALSE(layoutPaper(readCommands(QByteArray(700, '\n')), QTextCodec::codecForName("UTF-8"), 384, &layout,
                             &error));
    EXPECT_TRUE(error.contains(QString::number(kMaxHeightDots))) << error.toStdString();
    EXPECT_TRUE(layout.glyphs.empty());
}

} // namespace
} // namespace receipt_preview
