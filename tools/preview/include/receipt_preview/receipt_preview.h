// Receipt preview: draws an ESC/POS byte stream as the paper roll a thermal receipt printer would print.
//
// The picture shows the printable width of the paper (384 dots on 58 mm paper, 576 on 80 mm) with a small
// white margin around it, in the printer's 12 x 24 dot font: 32 or 48 columns, CJK characters two columns
// wide. Text may be UTF-8 (what the receipt engine produces) or GB18030 (what a printer receives once the
// spooler document is built); both give the same picture.
//
// Glyphs come from a TrueType font file read directly, so no QGuiApplication and no display is needed: the
// functions work in a plain QCoreApplication, or with no application object at all, and on any thread.
#ifndef RECEIPT_PREVIEW_H
#define RECEIPT_PREVIEW_H

#include <QByteArray>
#include <QImage>
#include <QString>

namespace receipt_preview {

enum class Paper {
    Mm58, // 384 dots, 32 columns
    Mm80  // 576 dots, 48 columns
};

enum class Encoding {
    Auto,   // valid UTF-8 holding at least one multi-byte character is read as UTF-8, anything else as GB18030
    Utf8,
    Gb18030
};

// The longest roll the preview draws, in printer dots (2.5 m of paper at 203 dpi). A stream that needs more
// is refused with an error rather than drawn partly.
constexpr int kMaxHeightDots = 20000;
constexpr int kMaxScale = 3;

struct Options {
    Paper paper = Paper::Mm58;
    Encoding encoding = Encoding::Auto;
    int scale = 1; // each printer dot becomes scale x scale pixels, 1 to kMaxScale
    QString fontFile = QStringLiteral("/usr/share/fonts/truetype/wqy/wqy-zenhei.ttc");
};

// Draws the stream. Returns a grayscale picture (white paper, black print), or a null image with *error set
// (when error is not null) for an empty stream, a roll taller than kMaxHeightDots, a bad option or a font
// that cannot be read. Any byte sequence is accepted: unknown commands are skipped and a command cut short
// by the end of the stream is dropped, as a printer waiting for its remaining bytes would print nothing.
QImage render(const QByteArray& bytes, const Options& options, QString* error);

// render() and save the picture as PNG at path. Returns false with *error set when either step fails.
bool renderToPng(const QByteArray& bytes, const Options& options, const QString& path, QString* error);

// "58mm"/"58" and "80mm"/"80", as the settings and the command line name paper. False for anything else.
bool paperFromName(const QString& name, Paper* paper);

// "auto", "utf8"/"utf-8" and "gb18030", case-insensitive. False for anything else.
bool encodingFromName(const QString& name, Encoding* encoding);

} // namespace receipt_preview

#endif // RECEIPT_PREVIEW_H
