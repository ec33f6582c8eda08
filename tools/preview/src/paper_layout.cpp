#include "paper_layout_p.h"

#include "code128_p.h"
#include "receipt_preview/receipt_preview.h"

#include <QTextCodec>

#include <algorithm>
#include <numeric>

namespace receipt_preview {
namespace {

constexpr int kDefaultBarcodeHeight = 162;
constexpr int kDefaultBarcodeModule = 3;
constexpr int kCode128 = 73;
constexpr int kMaxPaperDots = kMaxHeightDots - 2 * kMargin;

// The printer's state between commands and its line buffer: characters wait in the buffer until a line
// feed, a feed, a cut or a barcode prints them, or until the next one no longer fits the line.
class PrinterModel {
public:
    PrinterModel(QTextCodec* codec, PaperLayout* layout) : codec_(codec), paper_(layout) {}

    // False once the paper is longer than the limit; later commands are then ignored.
    bool apply(const Command& command);

private:
    void reset();
    void text(const QByteArray& bytes);
    void printLine(int gap = kLineGap);
    void feed(int dots) { y_ += dots; }
    void cut(int feedDots);
    void barcode(int system, const QByteArray& data);
    int lineStart(int width) const;

    QTextCodec* codec_;
    PaperLayout* paper_;
    int y_ = 0;
    int alignment_ = 0;
    int widthScale_ = 1;
    int heightScale_ = 1;
    bool bold_ = false;
    int barcodeHeight_ = kDefaultBarcodeHeight;
    int barcodeModule_ = kDefaultBarcodeModule;
    std::vector<PlacedGlyph> line_; // x relative to the line's start, y unset
    int lineWidth_ = 0;
};

void PrinterModel::reset() {
    alignment_ = 0;
    widthScale_ = heightScale_ = 1;
    bold_ = false;
    barcodeHeight_ = kDefaultBarcodeHeight;
    barcodeModule_ = kDefaultBarcodeModule;
    line_.clear();
    lineWidth_ = 0;
}

bool PrinterModel::apply(const Command& command) {
    const int value = command.value;
    switch (command.kind) {
    case CommandKind::Text: text(command.data); break;
    case CommandKind::LineFeed: printLine(); break;
    case CommandKind::FeedLines:
        for (int i = 0; i < std::max(value, 1) && y_ <= kMaxPaperDots; ++i) printLine();
        break;
    case CommandKind::FeedDots:
        if (!line_.empty()) printLine(0);
        feed(value);
        break;
    case CommandKind::Align:
        if (value <= 2) alignment_ = value;
        if (value >= '0' && value <= '2') alignment_ = value - '0';
        break;
    case CommandKind::PrintMode:
        bold_ = value & 0x08;
        heightScale_ = (value & 0x10) ? 2 : 1;
        widthScale_ = (value & 0x20) ? 2 : 1;
        break;
    case CommandKind::CharacterSize:
        if ((value >> 4) < 8 && (value & 0x0F) < 8) {
            widthScale_ = (value >> 4) + 1;
            heightScale_ = (value & 0x0F) + 1;
        }
        break;
    case CommandKind::Emphasis: bold_ = value & 0x01; break;
    case CommandKind::Initialize: reset(); break;
    case CommandKind::Cut: cut(value); break;
    case CommandKind::BarcodeHeight:
        if (value > 0) barcodeHeight_ = value;
        break;
    case CommandKind::BarcodeModuleWidth:
        if (value >= 1 && value <= 6) barcodeModule_ = value;
        break;
    case CommandKind::Barcode: barcode(value, command.data); break;
    }
    paper_->heightDots = y_;
    return y_ <= kMaxPaperDots;
}

void PrinterModel::text(const QByteArray& bytes) {
    for (const uint codePoint : codec_->toUnicode(bytes).toUcs4()) {
        if (y_ > kMaxPaperDots) return;
        // Every character beyond ASCII is a double-byte character of the printer's Chinese font.
        const int columns = codePoint < 0x80 ? 1 : 2;
        const int width = columns * kCellWidth * widthScale_;
        if (lineWidth_ + width > paper_->widthDots) printLine();
        line_.push_back(PlacedGlyph{char32_t(codePoint), lineWidth_, 0, columns, widthScale_, heightScale_, bold_});
        lineWidth_ += width;
    }
}

int PrinterModel::lineStart(int width) const {
    switch (alignment_) {
    case 1: return (paper_->widthDots - width) / 2;
    case 2: return paper_->widthDots - width;
    default: return 0;
    }
}

// Prints the buffered line (an empty one is a blank line) with the alignment in force now; characters of
// different heights stand on a common baseline.
void PrinterModel::printLine(int gap) {
    int height = kCellHeight;
    for (const PlacedGlyph& glyph : line_) height = std::max(height, kCellHeight * glyph.heightScale);
    const int start = lineStart(lineWidth_);
    for (PlacedGlyph glyph : line_) {
        glyph.x += start;
        glyph.y = y_ + height - kCellHeight * glyph.heightScale;
        paper_->glyphs.push_back(glyph);
    }
    line_.clear();
    lineWidth_ = 0;
    feed(height + gap);
}

void PrinterModel::cut(int feedDots) {
    if (!line_.empty()) printLine();
    feed(feedDots);
    paper_->cuts.push_back(y_ + kCutBand / 2);
    feed(kCutBand);
}

// Only CODE128 is drawn; other systems and data a printer would reject leave no mark, as on paper.
void PrinterModel::barcode(int system, const QByteArray& data) {
    if (system != kCode128) return;
    const std::vector<int> elements = code128Elements(data);
    const int modules = std::accumulate(elements.begin(), elements.end(), 0);
    const int width = modules * barcodeModule_;
    if (elements.empty() || width > paper_->widthDots) return;
    if (!line_.empty()) printLine();
    int x = lineStart(width);
    for (size_t i = 0; i < elements.size(); ++i) {
        const int elementWidth = elements[i] * barcodeModule_;
        if (i % 2 == 0) paper_->bars.emplace_back(x, y_, elementWidth, barcodeHeight_);
        x += elementWidth;
    }
    feed(barcodeHeight_);
}

} // namespace

bool layoutPaper(const CommandStream& stream, QTextCodec* codec, int widthDots, PaperLayout* layout,
                 QString* error) {
    *layout = PaperLayout();
    layout->widthDots = widthDots;
    PrinterModel printer(codec, layout);
    for (const Command& command : stream.commands) {
        if (!printer.apply(command)) {
            *layout = PaperLayout();
            if (error)
                *error = QStringLiteral("the receipt needs more than %1 dots of paper, the longest the preview draws")
                             .arg(kMaxHeightDots);
            return false;
        }
    }
    return true;
}

} // namespace receipt_preview
