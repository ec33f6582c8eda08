#include "glyph_rasterizer_p.h"

#include "paper_layout_p.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <QFile>

#include <algorithm>
#include <cstring>

namespace receipt_preview {

struct GlyphRasterizer::Font {
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    int baseline = 0; // row of the baseline inside a cell

    ~Font() {
        if (face) FT_Done_Face(face);
        if (library) FT_Done_FreeType(library);
    }
};

GlyphRasterizer::GlyphRasterizer() = default;
GlyphRasterizer::~GlyphRasterizer() = default;

bool GlyphRasterizer::open(const QString& fontFile, QString* error) {
    auto fail = [&](const QString& why) {
        font_.reset();
        if (error) *error = QStringLiteral("cannot use the font file %1: %2").arg(fontFile, why);
        return false;
    };
    font_ = std::make_unique<Font>();
    if (FT_Init_FreeType(&font_->library) != 0) return fail(QStringLiteral("FreeType does not start"));
    const QByteArray path = QFile::encodeName(fontFile);
    if (FT_New_Face(font_->library, path.constData(), 0, &font_->face) != 0)
        return fail(QStringLiteral("not a readable font"));
    // A CJK collection carries proportional and monospaced faces; the printer's Latin letters are all one
    // column wide, so take the monospaced one when there is one.
    auto monospaced = [](FT_Face face) { return face->family_name && std::strstr(face->family_name, "Mono"); };
    for (FT_Long index = 1; index < font_->face->num_faces && !monospaced(font_->face); ++index) {
        FT_Face next = nullptr;
        if (FT_New_Face(font_->library, path.constData(), index, &next) != 0) continue;
        if (monospaced(next)) {
            FT_Done_Face(font_->face);
            font_->face = next;
        } else {
            FT_Done_Face(next);
        }
    }
    if (!FT_IS_SCALABLE(font_->face)) return fail(QStringLiteral("not a scalable font"));
    if (FT_Set_Pixel_Sizes(font_->face, 0, kCellHeight) != 0) return fail(QStringLiteral("cannot be scaled"));
    // Centre the font's ascent-to-descent band in the cell.
    const FT_Size_Metrics& metrics = font_->face->size->metrics;
    const int ascent = int(metrics.ascender >> 6);
    const int descent = int(-metrics.descender >> 6);
    font_->baseline = (kCellHeight - (ascent + descent)) / 2 + ascent;
    cache_.clear();
    return true;
}

const GlyphCell& GlyphRasterizer::cell(char32_t codePoint, int columns, bool bold) {
    const auto key = std::make_tuple(codePoint, columns, bold);
    auto found = cache_.find(key);
    if (found != cache_.end()) return found->second;
    GlyphCell glyph = draw(codePoint, columns);
    if (bold) {
        for (int y = 0; y < glyph.height; ++y)
            for (int x = glyph.width - 1; x > 0; --x)
                glyph.dots[size_t(y * glyph.width + x)] |= glyph.dots[size_t(y * glyph.width + x - 1)];
    }
    return cache_.emplace(key, std::move(glyph)).first->second;
}

GlyphCell GlyphRasterizer::draw(char32_t codePoint, int columns) const {
    GlyphCell glyph;
    glyph.width = columns * kCellWidth;
    glyph.height = kCellHeight;
    glyph.dots.assign(size_t(glyph.width * glyph.height), 0);
    if (!font_) return glyph;
    FT_Face face = font_->face;
    const FT_UInt index = FT_Get_Char_Index(face, FT_ULong(codePoint));
    if (FT_Load_Glyph(face, index, FT_LOAD_RENDER | FT_LOAD_NO_BITMAP) != 0) return glyph;
    const FT_GlyphSlot slot = face->glyph;
    const FT_Bitmap& bitmap = slot->bitmap;
    if (bitmap.pixel_mode != FT_PIXEL_MODE_GRAY) return glyph;
    const int advance = int(slot->advance.x >> 6);
    const int left = (glyph.width - advance) / 2 + slot->bitmap_left;
    const int top = font_->baseline - slot->bitmap_top;
    // Thermal dots are on or off: anything at least half covered prints.
    for (int row = 0; row < int(bitmap.rows); ++row) {
        const int y = top + row;
        if (y < 0 || y >= glyph.height) continue;
        const unsigned char* source = bitmap.buffer + row * bitmap.pitch;
        for (int column = 0; column < int(bitmap.width); ++column) {
            const int x = left + column;
            if (x >= 0 && x < glyph.width && source[column] >= 128) glyph.dots[size_t(y * glyph.width + x)] = 1;
        }
    }
    return glyph;
}

} // namespace receipt_preview
