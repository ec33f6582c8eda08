// The units that read a print stream, driven by the case tables in cases/: one row a line,
// "INPUT | EXPECTED" (paper_layout: "COLUMNS | INPUT | EXPECTED"; text_decoding: "ENCODING | INPUT |
// CODEC"), bytes written with C escapes (\x1b, \n, \0, \\), "#" starting a comment.

#include "code128_p.h"
#include "escpos_reader_p.h"
#include "paper_layout_p.h"
#include "text_decoding_p.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTextCodec>

namespace receipt_preview {
namespace {

QByteArray unescape(const QByteArray& text)
{
    static const QByteArray plain("n\nr\rt\t0\0\\\\", 10);
    QByteArray bytes;
    for (int i = 0; i < text.size(); ++i) {
        const int escape = text[i] == '\\' && i + 1 < text.size() ? plain.indexOf(text[i + 1]) : -1;
        if (text[i] == '\\' && text.mid(i + 1, 1) == "x") {
            bytes += char(text.mid(i + 2, 2).toInt(nullptr, 16));
            i += 3;
        } else if (escape >= 0 && escape % 2 == 0) {
            bytes += plain[escape + 1];
            ++i;
        } else {
            bytes += text[i];
        }
    }
    return bytes;
}

// The rows of cases/NAME.txt, each split at " | ".
std::vector<QList<QByteArray>> rows(const char* name)
{
    QFile file(QStringLiteral(SB_CASES_DIR "/%1.txt").arg(QLatin1String(name)));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    std::vector<QList<QByteArray>> table;
    for (const QByteArray& line : file.readAll().split('\n'))
        if (!line.isEmpty() && !line.startsWith('#')) {
            QList<QByteArray> fields;
            for (const QString& field : QString::fromUtf8(line).split(QStringLiteral(" | ")))
                fields << field.toUtf8();
            table.push_back(fields);
        }
    EXPECT_FALSE(table.empty()) << name;
    return table;
}

TEST(Code128, EncodesEachSetTheirSwitchesAndShiftsAndRefusesWhatAPrinterWouldNot)
{
    for (const auto& row : rows("code128")) {
        std::string widths;
        for (const int element : code128Elements(unescape(row.value(0))))
            widths += char('0' + element);
        EXPECT_EQ(widths.empty() ? "refused" : widths, row.value(1).toStdString()) << row.value(0).constData();
    }
}

// Commands as "Kind:value" words (a barcode adds its data in hex), text as its bytes in quotes.
TEST(EscPosReader, ReadsCommandsByTheirLengthsAndDropsWhatItDoesNotDraw)
{
    static const char* const names[] = {"Text", "LF", "FeedLines", "FeedDots", "Align", "Mode", "Size",
                                        "Emphasis", "Init", "Cut", "BarcodeHeight", "BarcodeModule", "Barcode"};
    for (const auto& row : rows("escpos_reader")) {
        QByteArrayList words;
        for (const Command& command : readCommands(unescape(row.value(0))).commands)
            words << (command.kind == CommandKind::Text ? '"' + command.data + '"'
                      : command.kind == CommandKind::Barcode ? QByteArray("Barcode:") + QByteArray::number(command.value) + ':' + command.data.toHex()
                                                             : names[int(command.kind)] + (':' + QByteArray::number(command.value)));
        EXPECT_EQ(words.join(' ').toStdString(), row.value(1).toStdString()) << row.value(0).constData();
    }
}

TEST(TextDecoding, AutoReadsValidMultiByteUtf8AsUtf8AndEverythingElseAsGb18030)
{
    for (const auto& row : rows("text_decoding")) {
        Encoding encoding = Encoding::Auto;
        ASSERT_TRUE(encodingFromName(QString::fromUtf8(row.value(0)), &encoding)) << row.value(0).constData();
        EXPECT_EQ(textCodec(encoding, readCommands(unescape(row.value(1))))->name().toStdString(), row.value(2).toStdString()) << row.value(1).constData();
    }
}

// "height H; glyphs x,y ... (xWxH when scaled); cuts ...; bars N".
TEST(PaperLayout, PlacesAlignsWrapsFeedsAndCutsAsThePrinterDoes)
{
    for (const auto& row : rows("paper_layout")) {
        PaperLayout layout;
        QString error;
        ASSERT_TRUE(layoutPaper(readCommands(unescape(row.value(1))), QTextCodec::codecForName("UTF-8"),
                                row.value(0).toInt() * kCellWidth, &layout, &error)) << error.toStdString();
        QByteArray summary = "height " + QByteArray::number(layout.heightDots) + "; glyphs";
        for (const PlacedGlyph& glyph : layout.glyphs)
            summary += QStringLiteral(" %1,%2").arg(glyph.x).arg(glyph.y).toUtf8() +
                       (glyph.widthScale * glyph.heightScale == 1 ? QByteArray()
                        : QStringLiteral("x%1x%2").arg(glyph.widthScale).arg(glyph.heightScale).toUtf8());
        summary += "; cuts";
        for (const int cut : layout.cuts)
            summary += ' ' + QByteArray::number(cut);
        summary += "; bars " + QByteArray::number(int(layout.bars.size()));
        EXPECT_EQ(summary.toStdString(), row.value(2).toStdString()) << row.value(1).constData();
    }
}

}  // namespace
}  // namespace receipt_preview
