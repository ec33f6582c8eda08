// A print stream drawn as the printed paper: its size, what draws nothing, any bytes, several threads, and
// why nothing was drawn.

#include "receipt_preview/receipt_preview.h"
#include "paper_layout_p.h"
#include "qt_print.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <random>
#include <thread>

namespace receipt_preview {
namespace {

// A stream from a string literal, NUL bytes included.
template <std::size_t N>
QByteArray bytes(const char (&literal)[N]) {
    return QByteArray(literal, int(N - 1));
}

QImage draw(const QByteArray& stream, int scale = 1, Paper paper = Paper::Mm58) {
    Options options;
    options.scale = scale;
    options.paper = paper;
    QString error;
    const QImage image = render(stream, options, &error);
    EXPECT_FALSE(image.isNull()) << error.toStdString();
    return image;
}

TEST(RenderPaper, PictureIsThePaperWidthWithMarginsAsTallAsItsContentAndScaleMultipliesEveryDot) {
    EXPECT_EQ(draw("A\n").size(), QSize(384 + 2 * kMargin, 30 + 2 * kMargin));
    EXPECT_EQ(draw("A\n\n", 1, Paper::Mm80).size(), QSize(576 + 2 * kMargin, 60 + 2 * kMargin));
    const QImage one = draw("\x1b\x45\x01" "Ab\n");
    EXPECT_EQ(draw("\x1b\x45\x01" "Ab\n", 3), one.scaled(one.size() * 3));
}

TEST(RenderToPng, WritesThePictureOrSaysWhyNot) {
    QTemporaryDir directory;
    QString error;
    ASSERT_TRUE(renderToPng("A\n", Options(), directory.filePath("receipt.png"), &error)) << error.toStdString();
    EXPECT_EQ(QImage(directory.filePath("receipt.png")).convertToFormat(QImage::Format_Grayscale8), draw("A\n"));
    EXPECT_FALSE(renderToPng("A\n", Options(), "/nonexistent/dir/receipt.png", &error));
    EXPECT_TRUE(error.contains("/nonexistent/dir/receipt.png")) << error.toStdString();
    EXPECT_FALSE(renderToPng(QByteArray(), Options(), directory.filePath("empty.png"), &error));
    EXPECT_FALSE(QFile::exists(directory.filePath("empty.png")));
}

TEST(RenderPaper, PrintsNothingForNulDrawerPulseUnknownOrCutShortCommands) {
    for (const QByteArray& stream : {bytes("A\0B\n"), bytes("\x1b\x70\x00\x3c\xff" "AB\n"), bytes("A\x1b\xf5" "B\x1d\xf5\n"),
                                     bytes("AB\n\x1d\x6b\x49\x05{C\x01"), bytes("AB\n\x1d\x6b\x49"), bytes("AB\n\x1d\x6b")})
        EXPECT_EQ(draw(stream), draw("AB\n")) << stream.toHex().constData();
}

// Plain noise, then streams of real command prefixes with random arguments, which reach far more branches.
TEST(RenderPaper, RandomBytesRenderOrFailWithAMessage) {
    std::mt19937 random(20240521);
    QByteArray noise(1 << 20, Qt::Uninitialized);
    for (char& byte : noise)
        byte = char(random());
    const QByteArray prefixes[] = {bytes("\x1b"), bytes("\x1d"), bytes("\x1c"), bytes("\x10"), bytes("\x1d\x21"),
                                   bytes("\x1b\x21"), bytes("\x1b\x61"), bytes("\x1d\x6b\x49"), bytes("\x1d\x6b\x49\x06{C"),
                                   bytes("\x1d\x56"), bytes("\x1b\x64"), bytes("\x1b\x4a"), bytes("\x1d\x68"), bytes("\x1d\x77"),
                                   bytes("\x1d\x76\x30\x00"), bytes("\x1d\x28"), bytes("\x1b\x26\x03"), bytes("\n"),
                                   bytes("\xe4\xb8\xad"), bytes("Abc 12.50")};
    for (int round = 0; round <= 200; ++round) {
        QByteArray stream = round == 0 ? noise : QByteArray();
        for (int piece = 0; round > 0 && piece < 300; ++piece) {
            stream += prefixes[random() % std::size(prefixes)];
            for (int i = int(random() % 4); i > 0; --i)
                stream += char(random() % 4 == 0 ? random() : random() % 8);
        }
        QString error;
        const QImage image = render(stream, Options(), &error);
        ASSERT_TRUE(!image.isNull() || !error.isEmpty()) << stream.left(4096).toHex().constData();
        EXPECT_LE(image.height(), kMaxHeightDots);
    }
}

TEST(RenderPaper, RendersOnSeveralThreadsAtOnce) {
    const QByteArray stream = bytes("\x1b\x61\x01\x1d\x21\x11\xe5\xae\x8c\x1d\x21\x00\n" "Total 12.50\n");
    const QImage expected = draw(stream);
    QImage images[4];
    std::thread threads[4];
    for (int i = 0; i < 4; ++i)
        threads[i] = std::thread([&images, &stream, i] { images[i] = render(stream, Options(), nullptr); });
    for (int i = 0; i < 4; ++i) {
        threads[i].join();
        EXPECT_EQ(images[i], expected);
    }
}

// Each reason by its telling words; the command-line transcripts show the whole line a person reads.
TEST(RenderErrors, SaysWhyNothingWasDrawn) {
    Options badScale, noFont;
    badScale.scale = kMaxScale + 1;
    noFont.fontFile = "/nonexistent/font.ttc";
    const struct {
        QByteArray stream;
        Options options;
        const char* contains;
    } rows[] = {{QByteArray(), Options(), "the print stream is empty"}, {"A\n", badScale, "scale"},
                {"A\n", noFont, "/nonexistent/font.ttc"}, {QByteArray(1000, '\n'), Options(), "20000"},
                {QByteArray(1 << 20, 'A'), Options(), "20000"}};
    for (const auto& row : rows) {
        QString error;
        EXPECT_TRUE(render(row.stream, row.options, &error).isNull()) << row.contains;
        EXPECT_TRUE(error.contains(QLatin1String(row.contains))) << error.toStdString();
    }
    badScale.scale = 0;
    EXPECT_TRUE(render("A\n", badScale, nullptr).isNull());
    EXPECT_FALSE(render("A\n", Options(), nullptr).isNull());
}

}  // namespace
}  // namespace receipt_preview
