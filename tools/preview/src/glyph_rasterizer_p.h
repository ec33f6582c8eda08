//
//  Private to the receipt preview: not part of its interface.
//  Shared inside the library and with its tests only.
//
#ifndef RECEIPT_PREVIEW_GLYPH_RASTERIZER_P_H
#define RECEIPT_PREVIEW_GLYPH_RASTERIZER_P_H

#include <QString>

#include <cstdint>
#include <map>
#include <memory>
#include <tuple>
#include <vector>

namespace receipt_preview {

// One character as the printer's font holds it: columns * 12 dots wide, 24 high, one byte per dot,
// 1 for black.
struct GlyphCell {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> dots;

    bool black(int x, int y) const { return dots[size_t(y) * size_t(width) + size_t(x)] != 0; }
};

// Draws characters from a TrueType file into printer font cells, through FreeType directly so that no
// GUI application object is needed. One instance per thread; cells are cached.
class GlyphRasterizer {
public:
    GlyphRasterizer();
    ~GlyphRasterizer();
    GlyphRasterizer(const GlyphRasterizer&) = delete;
    GlyphRasterizer& operator=(const GlyphRasterizer&) = delete;

    // Opens the font file; in a collection the monospaced face is preferred. False with *error when the
    // file is missing or not a font.
    bool open(const QString& fontFile, QString* error);

    // The character scaled into its cell. Emphasis is a second strike one dot to the right, as printers
    // make bold. A character the font lacks gives the font's missing-glyph box.
    const GlyphCell& cell(char32_t codePoint, int columns, bool bold);

private:
    GlyphCell draw(char32_t codePoint, int columns) const;

    struct Font;
    std::unique_ptr<Font> font_;
    std::map<std::tuple<char32_t, int, bool>, GlyphCell> cache_;
};

} // namespace receipt_preview

#endif
