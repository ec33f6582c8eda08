#include "receipt_preview/receipt_preview.h"

#include "escpos_reader_p.h"
#include "glyph_rasterizer_p.h"
#include "paper_layout_p.h"
#include "paper_painter_p.h"
#include "text_decoding_p.h"

namespace receipt_preview {
namespace {

QImage fail(QString* error, const QString& why) {
    if (error) *error = why;
    return QImage();
}

} // namespace

QImage render(const QByteArray& bytes, const Options& options, QString* error) {
    if (options.scale < 1 || options.scale > kMaxScale)
        return fail(error, QStringLiteral("the scale must be 1 to %1, not %2").arg(kMaxScale).arg(options.scale));
    if (bytes.isEmpty()) return fail(error, QStringLiteral("the print stream is empty"));
    const CommandStream stream = readCommands(bytes);
    PaperLayout layout;
    const int widthDots = (options.paper == Paper::Mm80 ? 48 : 32) * kCellWidth;
    if (!layoutPaper(stream, textCodec(options.encoding, stream), widthDots, &layout, error)) return QImage();
    GlyphRasterizer glyphs;
    if (!glyphs.open(options.fontFile, error)) return QImage();
    QImage image = paintPaper(layout, glyphs);
    if (image.isNull()) return fail(error, QStringLiteral("not enough memory for the picture"));
    if (options.scale == 1) return image;
    image = image.scaled(image.width() * options.scale, image.height() * options.scale, Qt::IgnoreAspectRatio,
                         Qt::FastTransformation);
    if (image.isNull()) return fail(error, QStringLiteral("not enough memory for the picture"));
    return image;
}

bool renderToPng(const QByteArray& bytes, const Options& options, const QString& path, QString* error) {
    const QImage image = render(bytes, options, error);
    if (image.isNull()) return false;
    if (!image.save(path, "PNG")) {
        if (error) *error = QStringLiteral("cannot write the picture to %1").arg(path);
        return false;
    }
    return true;
}

bool paperFromName(const QString& name, Paper* paper) {
    if (name == QLatin1String("58mm") || name == QLatin1String("58")) {
        *paper = Paper::Mm58;
        return true;
    }
    if (name == QLatin1String("80mm") || name == QLatin1String("80")) {
        *paper = Paper::Mm80;
        return true;
    }
    return false;
}

bool encodingFromName(const QString& name, Encoding* encoding) {
    const QString lower = name.toLower();
    if (lower == QLatin1String("auto")) {
        *encoding = Encoding::Auto;
    } else if (lower == QLatin1String("utf8") || lower == QLatin1String("utf-8")) {
        *encoding = Encoding::Utf8;
    } else if (lower == QLatin1String("gb18030")) {
        *encoding = Encoding::Gb18030;
    } else {
        return false;
    }
    return true;
}

} // namespace receipt_preview
