//
//  Private to the receipt preview: not part of its interface.
//  Shared inside the library and with its tests only.
//
#ifndef RECEIPT_PREVIEW_PAPER_PAINTER_P_H
#define RECEIPT_PREVIEW_PAPER_PAINTER_P_H

#include "glyph_rasterizer_p.h"
#include "paper_layout_p.h"

#include <QImage>

namespace receipt_preview {

// Draws the laid-out paper at one pixel per dot: white paper with a margin of kMargin, black glyphs and
// bars, and each cut as a dashed line across the whole paper. A null image when memory runs out.
QImage paintPaper(const PaperLayout& layout, GlyphRasterizer& glyphs);

} // namespace receipt_preview

#endif
