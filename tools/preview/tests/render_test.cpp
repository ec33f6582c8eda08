#include "receipt_preview/receipt_preview.h"

#include "paper_layout_p.h"
#include "spooler_document.h"
#include "stream_bytes.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <ostream>
#include <random>
#include <thread>

// Pictures show up in failure messages by size and ink, not as raw bytes.
void PrintTo(const QImage& image, std::ostream* out) {
    int ink = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) ink += qGray(image.pixel(x, y)) < 128;
    *out << image.width() << "x" << image.height() << " picture with " << ink << " black dots";
}

namespace receipt_preview {
namespace {

QImage draw(const QByteArray& stream, Options options = Options()) {
    QString error;
    const QImage image = render(stream, options, &error);
    EXPECT_FALSE(image.isNull()) << error.toStdString();
    return image;
}

bool black(const QImage& image, int x, int y) {
    return qGray(image.pixel(x, y)) < 128;
}

int blackCount(const QImage& image, const QRect& area) {
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x) count += black(image, x, y);
    return count;
}

// Lengths of the alternating black and white runs of one row, from the first black dot to the last.
std::vector<int> runs(const QImage& image, int y) {
    std::vector<int> lengths;
    int x = 0;
    while (x < image.width() && !black(image, x, y)) ++x;
    int last = image.width() - 1;
    while (last >= 0 && !black(image, last, y)) --last;
    for (bool colour = true; x <= last; colour = !colour) {
        int length = 0;
        for (; x <= last && black(image, x, y) == colour; ++x) ++length;
        lengths.push_back(length);
    }
    return lengths;
}

TEST(RenderPaper, PictureIsThePaperWidthWithMarginsAndAsTallAsItsContent) {
    const QImage narrow = draw("A\n");
    EXPECT_EQ(narrow.size(), QSize(384 + 2 * kMargin, 30 + 2 * kMargin));
    Options wide;
    wide.paper = Paper::Mm80;
    EXPECT_EQ(draw("A\n\n", wide).size(), QSize(576 + 2 * kMargin, 60 + 2 * kMargin));
}

TEST(RenderPaper, DrawsACharacterInsideItsCellOnWhitePaper) {
    const QImage image = draw("\x1b\x61\x02" "W\n");
    const QRect cell(kMargin + 372, kMargin, kCellWidth, kCellHeight);
    EXPECT_GT(blackCount(image, cell), 20);
    EXPECT_EQ(blackCount(image, image.rect()), blackCount(image, cell));
}

TEST(RenderPaper, EmphasisAndDoubleWidthThickenAndWidenTheGlyph) {
    const QRect line(0, 0, 384 + 2 * kMargin, 30 + 2 * kMargin);
    const int plain = blackCount(draw("I\n"), line);
    const int bold = blackCount(draw(bytes("\x1b\x45\x01" "I\n")), line);
    const int wide = blackCount(draw(bytes("\x1d\x21\x10" "I\n")), line);
    EXPECT_GT(bold, plain);
    EXPECT_EQ(wide, 2 * plain);
}

TEST(RenderPaper, CutDrawsADashedLineAcrossThePaper) {
    const QImage image = draw(bytes("A\n\x1d\x56\x00" "B\n"));
    const int row = kMargin + 30 + kCutBand / 2;
    const std::vector<int> dashes = runs(image, row);
    EXPECT_GT(dashes.size(), 50u);
    EXPECT_TRUE(black(image, 0, row));
    EXPECT_EQ(dashes[0], 8);
    EXPECT_EQ(dashes[1], 6);
    EXPECT_EQ(blackCount(image, QRect(0, row - 4, image.width(), 3)), 0);
}

TEST(RenderPaper, BarcodeRowReadsAsTheCode128SymbolOf12345) {
    const QImage image = draw(bytes("\x1b\x61\x01\x1d\x68\x60\x1d\x77\x02\x1d\x6b\x49\x05{C\x01\x17\x2d" "12345\n"));
    // Start C, 01, 23, 45, checksum 81, stop; every module two dots wide.
    const std::string pattern = std::string("211232") + "222122" + "312131" + "113123" + "121142" + "2331112";
    std::vector<int> expected;
    for (const char digit : pattern) expected.push_back((digit - '0') * 2);
    EXPECT_EQ(runs(image, kMargin + 48), expected);
    EXPECT_TRUE(black(image, kMargin + (384 - 136) / 2, kMargin));
    EXPECT_TRUE(black(image, kMargin + (384 - 136) / 2, kMargin + 95));
    EXPECT_FALSE(black(image, kMargin + (384 - 136) / 2 - 1, kMargin + 48));
}

TEST(RenderPaper, PrintsNothingForNulDrawerPulseAndUnknownCommands) {
    const QImage expected = draw("AB\n");
    EXPECT_EQ(draw(bytes("A\0B\n")), expected);
    EXPECT_EQ(draw(bytes("\x1b\x70\x00\x3c\xff" "AB\n")), expected);
    EXPECT_EQ(draw(bytes("A\x1b\xf5" "B\x1d\xf5\n")), expected);
}

TEST(RenderPaper, DropsABarcodeCommandCutShortByTheEndOfTheStream) {
    const QImage expected = draw("AB\n");
    EXPECT_EQ(draw(bytes("AB\n\x1d\x6b\x49\x05{C\x01")), expected);
    EXPECT_EQ(draw(bytes("AB\n\x1d\x6b\x49")), expected);
    EXPECT_EQ(draw(bytes("AB\n\x1d\x6b")), expected);
}

TEST(RenderPaper, RandomBytesRenderOrFailWithAMessage) {
    std::mt19937 random(20240521);
    for (int round = 0; round < 3; ++round) {
        QByteArray stream(1 << 20, Qt::Uninitialized);
        for (char& byte : stream) byte = char(random());
        QString error;
        const QImage image = render(stream, Options(), &error);
        EXPECT_TRUE(!image.isNull() || !error.isEmpty());
        EXPECT_LE(image.height(), kMaxHeightDots);
    }
}

// Streams of real command prefixes with random arguments reach far more branches than plain noise does.
TEST(RenderPaper, RandomCommandSequencesRenderOrFailWithAMessage) {
    std::mt19937 random(7);
    const QByteArray prefixes[] = {bytes("\x1b"), bytes("\x1d"), bytes("\x1c"), bytes("\x10"),
                                   bytes("\x1d\x21"), bytes("\x1b\x21"), bytes("\x1b\x61"),
                                   bytes("\x1d\x6b\x49"), bytes("\x1d\x6b\x49\x06{C"), bytes("\x1d\x56"),
                                   bytes("\x1b\x64"), bytes("\x1b\x4a"), bytes("\x1d\x68"), bytes("\x1d\x77"),
                                   bytes("\x1d\x76\x30\x00"), bytes("\x1d\x28"), bytes("\x1b\x26\x03"),
                                   bytes("\n"), bytes("\xe4\xb8\xad"), bytes("Abc 12.50")};
    for (int round = 0; round < 200; ++round) {
        QByteArray stream;
        for (int piece = 0; piece < 300; ++piece) {
            stream += prefixes[random() % std::size(prefixes)];
            for (int i = int(random() % 4); i > 0; --i) stream += char(random() % 4 == 0 ? random() : random() % 8);
        }
        QString error;
        const QImage image = render(stream, Options(), &error);
        ASSERT_TRUE(!image.isNull() || !error.isEmpty()) << stream.toHex().toStdString();
        EXPECT_LE(image.height(), kMaxHeightDots);
    }
}

TEST(RenderPaper, ReadsUtf8AndGb18030Alike) {
    // 中文 ￥12.50 [备注] centred, then a bold run.
    const QByteArray utf8 = bytes("\x1b\x61\x01\xe4\xb8\xad\xe6\x96\x87 \xef\xbf\xa5"
                                  "12.50 [\xe5\xa4\x87\xe6\xb3\xa8]\n"
                                  "\x1b\x45\x01\xe5\xae\x8c\x1b\x45\x00\n");
    const QByteArray gb18030 = spoolerDocument(utf8);
    ASSERT_EQ(gb18030.count('\0'), 2);
    ASSERT_TRUE(gb18030.contains("\xd6\xd0\xce\xc4")); // 中文
    const QImage expected = draw(utf8);
    EXPECT_EQ(draw(gb18030), expected);
    Options forced;
    forced.encoding = Encoding::Gb18030;
    EXPECT_EQ(draw(gb18030, forced), expected);
    forced.encoding = Encoding::Utf8;
    EXPECT_EQ(draw(utf8, forced), expected);
    EXPECT_NE(draw(gb18030, forced), expected);
}

TEST(RenderPaper, ScaleMultipliesEveryDot) {
    const QImage one = draw("\x1b\x45\x01" "Ab\n");
    Options options;
    options.scale = 3;
    const QImage three = draw("\x1b\x45\x01" "Ab\n", options);
    ASSERT_EQ(three.size(), one.size() * 3);
    for (int y = 0; y < one.height(); ++y)
        for (int x = 0; x < one.width(); ++x)
            ASSERT_EQ(black(three, 3 * x + 2, 3 * y + 1), black(one, x, y)) << x << "," << y;
}

TEST(RenderPaper, RendersOnSeveralThreadsAtOnce) {
    const QByteArray stream = bytes("\x1b\x61\x01\x1d\x21\x11\xe5\xae\x8c\x1d\x21\x00\n" "Total 12.50\n");
    const QImage expected = draw(stream);
    std::vector<QImage> images(4);
    std::vector<std::thread> threads;
    for (QImage& image : images)
        threads.emplace_back([&image, &stream] { image = render(stream, Options(), nullptr); });
    for (std::thread& thread : threads) thread.join();
    for (const QImage& image : images) EXPECT_EQ(image, expected);
}

TEST(RenderErrors, SaysWhyNothingWasDrawn) {
    QString error;
    EXPECT_TRUE(render(QByteArray(), Options(), &error).isNull());
    EXPECT_EQ(error, "the print stream is empty");

    Options options;
    options.scale = 0;
    EXPECT_TRUE(render("A\n", options, &error).isNull());
    EXPECT_TRUE(error.contains("scale")) << error.toStdString();
    options.scale = kMaxScale + 1;
    EXPECT_TRUE(render("A\n", options, &error).isNull());

    options = Options();
    options.fontFile = "/nonexistent/font.ttc";
    EXPECT_TRUE(render("A\n", options, &error).isNull());
    EXPECT_TRUE(error.contains("/nonexistent/font.ttc")) << error.toStdString();

    EXPECT_TRUE(render(QByteArray(1000, '\n'), Options(), &error).isNull());
    EXPECT_TRUE(error.contains("20000")) << error.toStdString();
    EXPECT_TRUE(render(QByteArray(1 << 20, 'A'), Options(), &error).isNull());

    EXPECT_TRUE(render("A\n", Options(), nullptr).isNull() == false);
    EXPECT_TRUE(render(QByteArray(), Options(), nullptr).isNull());
}

TEST(RenderToPng, WritesAPictureThatReadsBack) {
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QString path = directory.filePath("receipt.png");
    QString error;
    ASSERT_TRUE(renderToPng("A\n", Options(), path, &error)) << error.toStdString();
    const QImage image(path);
    EXPECT_EQ(image.size(), QSize(384 + 2 * kMargin, 30 + 2 * kMargin));
    EXPECT_GT(blackCount(image, QRect(kMargin, kMargin, kCellWidth, kCellHeight)), 20);
}

TEST(RenderToPng, ReportsAPathItCannotWrite) {
    QString error;
    EXPECT_FALSE(renderToPng("A\n", Options(), "/nonexistent/dir/receipt.png", &error));
    EXPECT_TRUE(error.contains("/nonexistent/dir/receipt.png")) << error.toStdString();
    EXPECT_FALSE(renderToPng(QByteArray(), Options(), "/tmp/never-written.png", &error));
    EXPECT_FALSE(QFile::exists("/tmp/never-written.png"));
}

TEST(OptionNames, ReadPaperAndEncodingNames) {
    Paper paper = Paper::Mm58;
    EXPECT_TRUE(paperFromName("80mm", &paper));
    EXPECT_EQ(paper, Paper::Mm80);
    EXPECT_TRUE(paperFromName("58", &paper));
    EXPECT_EQ(paper, Paper::Mm58);
    EXPECT_FALSE(paperFromName("76mm", &paper));

    Encoding encoding = Encoding::Auto;
    EXPECT_TRUE(encodingFromName("GB18030", &encoding));
    EXPECT_EQ(encoding, Encoding::Gb18030);
    EXPECT_TRUE(encodingFromName("utf-8", &encoding));
    EXPECT_EQ(encoding, Encoding::Utf8);
    EXPECT_TRUE(encodingFromName("Auto", &encoding));
    EXPECT_EQ(encoding, Encoding::Auto);
    EXPECT_FALSE(encodingFromName("latin1", &encoding));
}

} // namespace
} // namespace receipt_preview
