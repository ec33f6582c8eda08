#include "receipt_preview/receipt_preview.h"

#include "paper_layout_p.h"
#include "stream_bytes.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <random>
#include <thread>

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

TEST(RenderPaper, PictureIsThePaperWidthWithMarginsAndAsTallAsItsContent) {
    const QImage narrow = draw("A\n");
    EXPECT_EQ(narrow.size(), QSize(384 + 2 * kMargin, 30 + 2 * kMargin));
    Options wide;
    wide.paper = Paper::Mm80;
    EXPECT_EQ(draw("A\n\n", wide).size(), QSize(576 + 2 * kMargin, 60 + 2 * kMargin));
}

TEST(RenderPaper, PrintsNothingForNulDrawerPulseUnknownOrCutShortCommands) {
    const QImage expected = draw("AB\n");
    EXPECT_EQ(draw(bytes("A\0B\n")), expected);
    EXPECT_EQ(draw(bytes("\x1b\x70\x00\x3c\xff" "AB\n")), expected);
    EXPECT_EQ(draw(bytes("A\x1b\xf5" "B\x1d\xf5\n")), expected);
    // A barcode command cut short by the end of the stream is dropped.
    EXPECT_EQ(draw(bytes("AB\n\x1d\x6b\x49\x05{C\x01")), expected);
    EXPECT_EQ(draw(bytes("AB\n\x1d\x6b\x49")), expected);
    EXPECT_EQ(draw(bytes("AB\n\x1d\x6b")), expected);
}

// Plain noise, then streams of real command prefixes with random arguments, which reach far more branches.
TEST(RenderPaper, RandomBytesRenderOrFailWithAMessage) {
    std::mt19937 noise(20240521);
    QByteArray bytesOfNoise(1 << 20, Qt::Uninitialized);
    for (char& byte : bytesOfNoise) byte = char(noise());
    QString message;
    const QImage drawn = render(bytesOfNoise, Options(), &message);
    EXPECT_TRUE(!drawn.isNull() || !message.isEmpty());
    EXPECT_LE(drawn.height(), kMaxHeightDots);

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

TEST(RenderToPng, WritesAPictureThatReadsBackOrReportsThePath) {
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QString path = directory.filePath("receipt.png");
    QString error;
    ASSERT_TRUE(renderToPng("A\n", Options(), path, &error)) << error.toStdString();
    const QImage image(path);
    EXPECT_EQ(image.size(), QSize(384 + 2 * kMargin, 30 + 2 * kMargin));
    EXPECT_GT(blackCount(image, QRect(kMargin, kMargin, kCellWidth, kCellHeight)), 20);
    EXPECT_FALSE(renderToPng("A\n", Options(), "/nonexistent/dir/receipt.png", &error));
    EXPECT_TRUE(error.contains("/nonexistent/dir/receipt.png")) << error.toStdString();
    EXPECT_FALSE(renderToPng(QByteArray(), Options(), "/tmp/never-written.png", &error));
    EXPECT_FALSE(QFile::exists("/tmp/never-written.png"));
}

} // namespace
} // namespace receipt_preview
