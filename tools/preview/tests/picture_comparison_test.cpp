#include "picture_comparison.h"

#include "receipt_preview/receipt_preview.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

QImage receipt(const QByteArray& text, receipt_preview::Paper paper = receipt_preview::Paper::Mm58) {
    receipt_preview::Options options;
    options.paper = paper;
    QString error;
    const QImage image = receipt_preview::render(text, options, &error);
    EXPECT_FALSE(image.isNull()) << error.toStdString();
    return image;
}

// 宫保鸡丁 x1 32, bold and double size as the engine prints item lines.
const QByteArray kItem = "\x1b\x21\x08\x1d\x21\x11\xe5\xae\xab\xe4\xbf\x9d\xe9\xb8\xa1\xe4\xb8\x81 x1 32\n";

TEST(PictureComparison, MatchesIdenticalPicturesAndAbsorbsEdgeDotsTurnedByAnotherRasteriser) {
    EXPECT_EQ(comparePictures(receipt(kItem), receipt(kItem)).differing, 0);
    // Every fourth glyph edge grows by one dot, as a different anti-aliasing threshold would make it.
    const QImage reference = receipt(kItem);
    QImage noisy = reference.convertToFormat(QImage::Format_Grayscale8);
    int edges = 0;
    for (int y = 0; y < noisy.height(); ++y)
        for (int x = 0; x + 1 < noisy.width(); ++x)
            if (qGray(reference.pixel(x, y)) < 128 && qGray(reference.pixel(x + 1, y)) >= 128 && ++edges % 4 == 0)
                noisy.scanLine(y)[x + 1] = 0;
    const PictureDifference difference = comparePictures(noisy, reference);
    EXPECT_GT(difference.differing, 0);
    EXPECT_TRUE(difference.withinTolerance()) << difference.describe().toStdString();
}

TEST(PictureComparison, CatchesAMissingCharacterAMovedLineAnExtraLineOrOtherPaper) {
    const QByteArray without = QByteArray(kItem).replace("\xe9\xb8\xa1", "  "); // 鸡 left out
    const std::pair<QImage, QImage> pairs[] = {
        {receipt(without), receipt(kItem)},
        {receipt("\x1b\x61\x01" "Total 120.50\n"), receipt("\x1b\x61\x02" "Total 120.50\n")},
        {receipt("A\n"), receipt("A\nB\n")},
        {receipt("A\n", receipt_preview::Paper::Mm80), receipt("A\n")}};
    for (const auto& pair : pairs) {
        const PictureDifference difference = comparePictures(pair.first, pair.second);
        EXPECT_FALSE(difference.withinTolerance()) << difference.describe().toStdString();
    }
}

} // namespace
