#include "paper_painter_p.h"

namespace receipt_preview {
namespace {

constexpr int kDash = 8;
constexpr int kDashGap = 6;

void fill(QImage& image, int left, int top, int width, int height) {
    const int right = std::min(left + width, image.width());
    const int bottom = std::min(top + height, image.height());
    for (int y = std::max(top, 0); y < bottom; ++y) {
        uchar* row = image.scanLine(y);
        for (int x = std::max(left, 0); x < right; ++x) row[x] = 0;
    }
}

void drawGlyph(QImage& image, const PlacedGlyph& placed, const GlyphCell& cell) {
    for (int y = 0; y < cell.height; ++y)
        for (int x = 0; x < cell.width; ++x)
            if (cell.black(x, y))
                fill(image, kMargin + placed.x + x * placed.widthScale, kMargin + placed.y + y * placed.heightScale,
                     placed.widthScale, placed.heightScale);
}

} // namespace

QImage paintPaper(const PaperLayout& layout, GlyphRasterizer& glyphs) {
    QImage image(layout.widthDots + 2 * kMargin, layout.heightDots + 2 * kMargin, QImage::Format_Grayscale8);
    if (image.isNull()) return image;
    image.fill(255);
    for (const PlacedGlyph& placed : layout.glyphs)
        drawGlyph(image, placed, glyphs.cell(placed.codePoint, placed.columns, placed.bold));
    for (const QRect& bar : layout.bars) fill(image, kMargin + bar.x(), kMargin + bar.y(), bar.width(), bar.height());
    for (const int cut : layout.cuts)
        for (int x = 0; x < image.width(); x += kDash + kDashGap) fill(image, x, kMargin + cut, kDash, 2);
    return image;
}

} // namespace receipt_preview
