// The units that read a print stream, driven by the case tables in cases/: one row a line,
// "INPUT | EXPECTED" (paper_layout: "COLUMNS | INPUT | EXPECTED"; text_decoding: "ENCODING | INPUT |
// CODEC"), bytes written with C escapes (\x1b, \n, \0, \\), "#" starting a comment.

#include "code128_p.h"
#include "escpos_reader_p.h"
#include "paper_layout_p.h"
#include "text_decoding_p.h"
#include "qt_print.h"

#include <gtest/gtest.h>
#include <QFile>
#include <QTextCodec>

namespace receipt_preview {
namespace {

// A field of a row as bytes, its escapes read.
QByteArray unescape(const QString& field) {
    const QByteArray text = field.toUtf8();
    QByteArray bytes;
    for (int i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            bytes += text[i];
        } else if (text[++i] == 'x') {
            bytes += char(text.mid(i + 1, 2).toInt(nullptr, 16));
            i += 2;
        } else {
            const char c = text[i];
            bytes += c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c == '0' ? '\0' : c;
        }
    }
    return bytes;
}

// The rows of cases/NAME.txt, each split at " | ".
std::vector<QStringList> rows(const char* name) {
    QFile file(QStringLiteral(SB_CASES_DIR "/%1.txt").arg(QLatin1String(name)));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    std::vector<QStringList> table;
    for (const QByteArray& line : file.readAll().split('\n'))
        if (!line.isEmpty() && !line.startsWith('#'))
            table.push_back(QString::fromUtf8(line).split(QStringLiteral(" | ")));
    EXPECT_FALSE(table.empty()) << name;
    return table;
}

TEST(Code128, EncodesEachSetTheirSwitchesAndShiftsAndRefusesWhatAPrinterWouldNot) {
    for (const auto& row : rows("code128")) {
        std::string widths;
        for (const int element : code128Elements(unescape(row.value(0))))
            widths += char('0' + element);
        EXPECT_EQ(widths.empty() ? "refused" : widths, row.value(1).toStdString()) << row.value(0).toStdString();
    }
}

// Commands as "Kind:value" words (a barcode adds its data in hex), text as its bytes in quotes.
TEST(EscPosReader, ReadsCommandsByTheirLengthsAndDropsWhatItDoesNotDraw) {
    static const char* const names[] = {"Text", "LF", "FeedLines", "FeedDots", "Align", "Mode", "Size",
                                        "Emphasis", "Init", "Cut", "BarcodeHeight", "BarcodeModule", "Barcode"};
    for (const auto& row : rows("escpos_reader")) {
        QByteArrayList words;
        for (const Command& c : readCommands(unescape(row.value(0))).commands)
            words << (c.kind == CommandKind::Text ? '"' + c.data + '"' : names[int(c.kind)] + (':' + QByteArray::number(c.value)) +
                      (c.kind == CommandKind::Barcode ? ':' + c.data.toHex() : QByteArray()));
        EXPECT_EQ(QString::fromUtf8(words.join(' ')), row.value(1)) << row.value(0).toStdString();
    }
}

TEST(TextDecoding, AutoReadsValidMultiByteUtf8AsUtf8AndEverythingElseAsGb18030) {
    for (const auto& row : rows("text_decoding")) {
        Encoding encoding = Encoding::Auto;
        ASSERT_TRUE(encodingFromName(row.value(0), &encoding)) << row.value(0).toStdString();
        const QTextCodec* codec = textCodec(encoding, readCommands(unescape(row.value(1))));
        EXPECT_EQ(QString::fromLatin1(codec->name()), row.value(2)) << row.value(1).toStdString();
    }
}

// "height H; glyphs x,y ... (xWxH when scaled); cuts ...; bars N".
TEST(PaperLayout, PlacesAlignsWrapsFeedsAndCutsAsThePrinterDoes) {
    for (const auto& row : rows("paper_layout")) {
        PaperLayout layout;
        QString error;
        ASSERT_TRUE(layoutPaper(readCommands(unescape(row.value(1))), QTextCodec::codecForName("UTF-8"),
                                row.value(0).toInt() * kCellWidth, &layout, &error)) << error.toStdString();
        QString summary = QStringLiteral("height %1; glyphs").arg(layout.heightDots);
        for (const PlacedGlyph& g : layout.glyphs)
            summary += QStringLiteral(" %1,%2").arg(g.x).arg(g.y) +
                       (g.widthScale * g.heightScale == 1 ? QString() : QStringLiteral("x%1x%2").arg(g.widthScale).arg(g.heightScale));
        summary += QStringLiteral("; cuts");
        for (const int cut : layout.cuts)
            summary += QStringLiteral(" %1").arg(cut);
        EXPECT_EQ(summary + QStringLiteral("; bars %1").arg(layout.bars.size()), row.value(2)) << row.value(1).toStdString();
    }
}

}  // namespace
}  // namespace receipt_preview
