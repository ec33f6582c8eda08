#include "picture_comparison.h"

#include <algorithm>
#include <vector>

namespace {

constexpr int kBlock = 24;
constexpr int kBlockBudget = 64;
constexpr double kFractionBudget = 0.005;

bool ink(const QImage& gray, int x, int y) {
    return gray.constScanLine(y)[x] < 128;
}

} // namespace

bool PictureDifference::withinTolerance() const {
    return sameSize && fraction <= kFractionBudget && worstBlock <= kBlockBudget;
}

QString PictureDifference::describe() const {
    if (!sameSize) return QStringLiteral("the pictures differ in size");
    return QStringLiteral("%1 dots differ (%2% of the picture, at most %3% allowed); the worst 24 x 24 block, at "
                          "(%4, %5), has %6 (at most %7 allowed)")
        .arg(differing)
        .arg(fraction * 100, 0, 'f', 3)
        .arg(kFractionBudget * 100)
        .arg(worstBlockAt.x())
        .arg(worstBlockAt.y())
        .arg(worstBlock)
        .arg(kBlockBudget);
}

PictureDifference comparePictures(const QImage& actual, const QImage& expected) {
    PictureDifference result;
    result.sameSize = actual.size() == expected.size() && !actual.isNull();
    if (!result.sameSize) return result;
    const QImage a = actual.convertToFormat(QImage::Format_Grayscale8);
    const QImage b = expected.convertToFormat(QImage::Format_Grayscale8);
    const int blocksAcross = (a.width() + kBlock - 1) / kBlock;
    std::vector<int> blocks(size_t(blocksAcross) * size_t((a.height() + kBlock - 1) / kBlock));
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            if (ink(a, x, y) != ink(b, x, y)) {
                ++result.differing;
                ++blocks[size_t(y / kBlock) * size_t(blocksAcross) + size_t(x / kBlock)];
            }
    result.fraction = double(result.differing) / (double(a.width()) * a.height());
    const auto worst = std::max_element(blocks.begin(), blocks.end());
    if (worst != blocks.end()) {
        result.worstBlock = *worst;
        const int index = int(worst - blocks.begin());
        result.worstBlockAt = QPoint(index % blocksAcross * kBlock, index / blocksAcross * kBlock);
    }
    return result;
}
