//
//  Private to the receipt preview: not part of its interface.
//  Shared inside the library and with its tests only.
//
#ifndef RECEIPT_PREVIEW_PAPER_LAYOUT_P_H
#define RECEIPT_PREVIEW_PAPER_LAYOUT_P_H

#include "escpos_reader_p.h"

#include <QRect>
#include <QString>

#include <vector>

class QTextCodec;

namespace receipt_preview {

// Printer geometry, in dots.
constexpr int kCellWidth = 12;  // one column of the 12 x 24 font; a CJK character takes two
constexpr int kCellHeight = 24;
constexpr int kLineGap = 6;     // a plain line advances 30 dots, the printer's default line spacing
constexpr int kCutBand = 16;    // paper given to a cut mark, its dashed line in the middle
constexpr int kMargin = 16;     // white paper around the printable area in the picture

struct PlacedGlyph {
    char32_t codePoint;
    int x;       // top-left corner, in dots from the top-left of the printable area
    int y;
    int columns; // 1 for a half-width character, 2 for a full-width one
    int widthScale;  // 1 to 8, from GS ! or ESC !
    int heightScale;
    bool bold;
};

struct PaperLayout {
    int widthDots = 0;  // printable width
    int heightDots = 0; // paper used, without the picture's margins
    std::vector<PlacedGlyph> glyphs;
    std::vector<QRect> bars; // barcode bars, in printable-area dots
    std::vector<int> cuts;   // rows of the cut marks
};

// Runs the printer over the commands: fills lines, wraps them at the paper's width, aligns and feeds them,
// places barcodes and cuts. Text runs are decoded with codec. Returns false with *error when the paper
// would need more than the preview's limit.
bool layoutPaper(const CommandStream& stream, QTextCodec* codec, int widthDots, PaperLayout* layout,
                 QString* error);

} // namespace receipt_preview

#endif
