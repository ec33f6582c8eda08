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

TEST(PaperLayout, AlignsTheLineLeftCentreOrRight) {
    // Four columns of 12 dots on 384: centred at (384 - 48) / 2, right at 384 - 48.
    EXPECT_EQ(glyphXs(layOut(bytes("\x1b\x61\x00" "ABCD\n"))), (Dots{0, 12, 24, 36}));
    EXPECT_EQ(glyphXs(layOut(bytes("\x1b\x61\x01" "ABCD\n"))), (Dots{168, 180, 192, 204}));
    EXPECT_EQ(glyphXs(layOut(bytes("\x1b\x61\x02" "ABCD\n"))), (Dots{336, 348, 360, 372}));
    EXPECT_EQ(glyphXs(layOut(bytes("\x1b\x61\x32" "ABCD\n"))), (Dots{336, 348, 360, 372})); // ASCII '2'
    EXPECT_EQ(glyphXs(layOut(bytes("\x1b\x61\x01" "ABCD\n"), 48)), (Dots{264, 276, 288, 300}));
}

TEST(PaperLayout, AlignmentInForceWhenTheLinePrintsAppliesToTheWholeLine) {
    EXPECT_EQ(glyphXs(layOut(bytes("\x1b\x61\x00" "AB\x1b\x61\x02\n"))), (Dots{360, 372}));
}

TEST(PaperLayout, KeepsAlignmentAcrossLinesAndIgnoresInvalidValues) {
    const PaperLayout layout = layOut(bytes("\x1b\x61\x02" "A\n\x1b\x61\x07" "B\n"));
    EXPECT_EQ(glyphXs(layout), (Dots{372, 372}));
}

TEST(PaperLayout, DoubleWidthTakesTwoCellsPerColumn) {
    const PaperLayout layout = layOut(bytes("\x1b\x61\x01\x1d\x21\x10" "AB\n"));
    EXPECT_EQ(glyphXs(layout), (Dots{168, 192}));
    EXPECT_EQ(layout.glyphs[0].widthScale, 2);
    EXPECT_EQ(layout.glyphs[0].heightScale, 1);
    EXPECT_EQ(layout.heightDots, 30);
}

TEST(PaperLayout, CjkCharactersTakeTwoColumns) {
    const PaperLayout layout = layOut("\xe4\xb8\xad\xe6\x96\x87" "A\n"); // 中文A
    EXPECT_EQ(glyphXs(layout), (Dots{0, 24, 48}));
    EXPECT_EQ(layout.glyphs[0].codePoint, U'中');
    EXPECT_EQ(layout.glyphs[0].columns, 2);
    EXPECT_EQ(layout.glyphs[2].columns, 1);
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

TEST(PaperLayout, AFullLineFollowedByALineFeedPrintsOnce) {
    EXPECT_EQ(layOut(QByteArray(32, ' ') + '\n').heightDots, 30);
    EXPECT_EQ(layOut(QByteArray(48, 'A') + '\n', 48).heightDots, 30);
}

TEST(PaperLayout, WrapsADoubleWidthCjkCharacterWhole) {
    // 15 double-width letters (360 dots) leave 24 dots: a double-width CJK character needs 48.
    const PaperLayout layout = layOut(bytes("\x1d\x21\x11") + QByteArray(15, 'A') + "\xe4\xb8\xad\n");
    ASSERT_EQ(layout.glyphs.size(), 16u);
    EXPECT_EQ(layout.glyphs[15].x, 0);
    EXPECT_EQ(layout.glyphs[15].y, 54);
}

TEST(PaperLayout, CharactersOfDifferentHeightsShareTheBaseline) {
    const PaperLayout layout = layOut(bytes("A\x1d\x21\x01" "B\x1d\x21\x00\n" "C\n"));
    ASSERT_EQ(layout.glyphs.size(), 3u);
    EXPECT_EQ(layout.glyphs[0].y, 24);
    EXPECT_EQ(layout.glyphs[1].y, 0);
    EXPECT_EQ(layout.glyphs[1].heightScale, 2);
    EXPECT_EQ(layout.glyphs[2].y, 54);
}

TEST(PaperLayout, PrintModeSetsEmphasisAndSizeTogether) {
    const PaperLayout layout = layOut(bytes("\x1b\x21\x38" "A\x1b\x21\x00" "B\x1b\x45\x01" "C\x1b\x45\x00" "D\n"));
    ASSERT_EQ(layout.glyphs.size(), 4u);
    EXPECT_TRUE(layout.glyphs[0].bold);
    EXPECT_EQ(layout.glyphs[0].widthScale, 2);
    EXPECT_EQ(layout.glyphs[0].heightScale, 2);
    EXPECT_FALSE(layout.glyphs[1].bold);
    EXPECT_EQ(layout.glyphs[1].widthScale, 1);
    EXPECT_TRUE(layout.glyphs[2].bold);
    EXPECT_FALSE(layout.glyphs[3].bold);
}

TEST(PaperLayout, CharacterSizeGoesUpToEightTimesAndIgnoresLargerValues) {
    const PaperLayout layout = layOut(bytes("\x1d\x21\x77" "A\x1d\x21\x88" "B\n"));
    ASSERT_EQ(layout.glyphs.size(), 2u);
    EXPECT_EQ(layout.glyphs[1].widthScale, 8);
    EXPECT_EQ(layout.glyphs[1].heightScale, 8);
    EXPECT_EQ(layout.glyphs[1].x, 96);
}

TEST(PaperLayout, InitialiseResetsTheStyleAndDropsTheBufferedLine) {
    const PaperLayout layout = layOut(bytes("\x1b\x61\x02\x1d\x21\x11" "lost\x1b\x40" "A\n"));
    ASSERT_EQ(layout.glyphs.size(), 1u);
    EXPECT_EQ(layout.glyphs[0].x, 0);
    EXPECT_EQ(layout.glyphs[0].widthScale, 1);
}

TEST(PaperLayout, FeedsBlankLinesAndDots) {
    EXPECT_EQ(layOut(bytes("\n\n\n")).heightDots, 90);
    EXPECT_EQ(layOut(bytes("\x1b\x64\x03")).heightDots, 90);
    EXPECT_EQ(layOut(bytes("A\x1b\x64\x00")).heightDots, 30);
    EXPECT_EQ(layOut(bytes("\x1b\x4a\x32")).heightDots, 50);
    EXPECT_EQ(layOut(bytes("A\x1b\x4a\x32")).heightDots, 24 + 50);
}

TEST(PaperLayout, TextNeverEndedByALineFeedStaysInTheBuffer) {
    EXPECT_TRUE(layOut("waiting").glyphs.empty());
}

TEST(PaperLayout, CutMarksItsRowAndPrintsThePendingLineFirst) {
    const PaperLayout layout = layOut(bytes("A\n\x1d\x56\x00" "B\x1d\x56\x42\x0a" "C\n"));
    EXPECT_EQ(layout.cuts, (Dots{30 + kCutBand / 2, 30 + kCutBand + 30 + 10 + kCutBand / 2}));
    ASSERT_EQ(layout.glyphs.size(), 3u);
    EXPECT_EQ(layout.glyphs[1].y, 30 + kCutBand);
    EXPECT_EQ(layout.heightDots, 30 + kCutBand + 30 + 10 + kCutBand + 30);
}

TEST(PaperLayout, BarcodeTakesItsHeightAndAlignmentAndTheTextFollowsBelow) {
    // GS h 96, GS w 2, then GS k 73 with "{C" and the pairs 01 23 45, centred as the engine prints it. The
    // symbol is five 11-module symbols and the 13-module stop: 136 dots. The bar pattern itself is checked
    // on the picture.
    const QByteArray stream = bytes("\x1b\x61\x01\x1d\x68\x60\x1d\x77\x02\x1d\x6b\x49\x05{C\x01\x17\x2d" "12345\n");
    const PaperLayout layout = layOut(stream);
    ASSERT_EQ(layout.bars.size(), 19u);
    EXPECT_EQ(layout.bars.front(), QRect((384 - 136) / 2, 0, 4, 96));
    EXPECT_EQ(layout.bars.back(), QRect((384 - 136) / 2 + 136 - 4, 0, 4, 96));
    ASSERT_EQ(layout.glyphs.size(), 5u);
    EXPECT_EQ(layout.glyphs[0].y, 96);
    EXPECT_EQ(layout.glyphs[0].x, (384 - 60) / 2);
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
