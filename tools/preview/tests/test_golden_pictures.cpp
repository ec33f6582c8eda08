// The engine's golden receipts drawn and compared with the reference pictures: each reference/NAME.png is
// the drawing of engine/tests/golden/expected/NAME.bin, on the paper its name says; a new case is a new
// picture. The comparison's tolerance is tested here too, since the golden cases rest on it.
//
// To regenerate the references after an intended change of a golden receipt or of the preview, run
//     SB_UPDATE_REFERENCES=1 <build>/tools/preview/tests/receipt_preview_golden_test
// then look at every changed picture in reference/ before committing it. A failing comparison leaves the
// picture it drew next to the test binary as NAME.actual.png.

#include "receipt_preview/receipt_preview.h"
#include "qt_print.h"

#include <QDir>
#include <QFile>
#include <QTextCodec>
#include <gtest/gtest.h>

namespace receipt_preview {
namespace {

// How a drawing differs from its reference, both read as black and white dots. Tolerance: the sizes are
// equal (a changed line count or paper width always fails), at most 0.5% of all dots differ, and no 24 x 24
// block holds more than 64 differing dots. Another FreeType or font build turns a few edge dots of many
// glyphs, which stays under both bounds; a character that is missing, added or moved changes well over 64
// dots of one block (a CJK glyph has 150 or more), and a shifted line or cut moves whole rows. Two
// characters of similar shape, such as two digits, are not told apart: the unit tests check which
// characters go where. Empty when within the tolerance, else what differs.
std::string differenceFrom(const QImage& actual, const QImage& expected) {
    constexpr int kBlock = 24, kBlockBudget = 64;
    constexpr double kFractionBudget = 0.005;
    if (actual.size() != expected.size() || actual.isNull())
        return "the pictures differ in size";
    const QImage a = actual.convertToFormat(QImage::Format_Grayscale8);
    const QImage b = expected.convertToFormat(QImage::Format_Grayscale8);
    const int across = (a.width() + kBlock - 1) / kBlock;
    std::vector<int> blocks(size_t(across) * size_t((a.height() + kBlock - 1) / kBlock));
    int differing = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            if ((a.constScanLine(y)[x] < 128) != (b.constScanLine(y)[x] < 128)) {
                ++differing;
                ++blocks[size_t(y / kBlock) * size_t(across) + size_t(x / kBlock)];
            }
    const double fraction = double(differing) / (double(a.width()) * a.height());
    const auto worst = std::max_element(blocks.begin(), blocks.end());
    if (fraction <= kFractionBudget && *worst <= kBlockBudget)
        return std::string();
    const int at = int(worst - blocks.begin());
    return QStringLiteral("%1 dots differ (%2% of the picture, at most %3% allowed); the worst 24 x 24 block, at "
                          "(%4, %5), has %6 (at most %7 allowed)")
        .arg(differing).arg(fraction * 100, 0, 'f', 3).arg(kFractionBudget * 100)
        .arg(at % across * kBlock).arg(at / across * kBlock).arg(*worst).arg(kBlockBudget)
        .toStdString();
}

QImage draw(const QByteArray& stream, Paper paper = Paper::Mm58) {
    Options options;
    options.paper = paper;
    QString error;
    const QImage image = render(stream, options, &error);
    EXPECT_FALSE(image.isNull()) << error.toStdString();
    return image;
}

class GoldenPicture : public testing::TestWithParam<std::string> {
protected:
    QString name() const { return QString::fromStdString(GetParam()); }
    Paper paper() const { return name().contains(QLatin1String("_80mm")) ? Paper::Mm80 : Paper::Mm58; }
    QByteArray stream() const
    {
        QFile file(QStringLiteral(SB_GOLDEN_DIR "/") + name() + QStringLiteral(".bin"));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << file.fileName().toStdString();
        return file.readAll();
    }
};

TEST_P(GoldenPicture, MatchesItsReferencePicture) {
    const QImage actual = draw(stream(), paper());
    const QString reference = QStringLiteral(SB_REFERENCE_DIR "/") + name() + ".png";
    if (qEnvironmentVariableIsSet("SB_UPDATE_REFERENCES")) {
        ASSERT_TRUE(actual.save(reference, "PNG")) << reference.toStdString();
        GTEST_SKIP() << "wrote " << reference.toStdString() << "; look at it before committing it";
    }
    const std::string difference = differenceFrom(actual, QImage(reference));
    const QString saved = QStringLiteral(SB_ACTUAL_DIR "/") + name() + ".actual.png";
    if (!difference.empty())
        ADD_FAILURE() << difference << "\n  reference " << reference.toStdString() << "\n  drawn     "
                      << (actual.save(saved, "PNG") ? saved.toStdString() : "(could not be saved)");
}

// What a printer receives: each NUL-separated piece in GB18030, each followed by a NUL.
TEST_P(GoldenPicture, DrawsThePrintersGb18030DocumentAsTheUtf8Receipt) {
    QByteArray document;
    for (const QByteArray& piece : stream().split('\0'))
        document += QTextCodec::codecForName("GB18030")->fromUnicode(QString::fromUtf8(piece)) + '\0';
    ASSERT_NE(document, stream() + '\0');  // the Chinese text really is in another encoding
    EXPECT_EQ(draw(document, paper()), draw(stream(), paper()));
}

std::vector<std::string> referenceNames() {
    std::vector<std::string> names;
    for (const QString& file : QDir(QStringLiteral(SB_REFERENCE_DIR)).entryList({QStringLiteral("*.png")}))
        names.push_back(file.chopped(4).toStdString());
    return names;
}

INSTANTIATE_TEST_SUITE_P(Engine, GoldenPicture, testing::ValuesIn(referenceNames()),
                         [](const testing::TestParamInfo<std::string>& info) { return info.param; });

// The golden comparisons are only as good as the tolerance: it must still see these faults.
TEST(PictureComparison, CatchesAMissingCharacterAMovedLineAnExtraLineOrOtherPaper) {
    // 宫保鸡丁 x1 32, bold and double size as the engine prints item lines, and the same without 鸡.
    const QByteArray item = "\x1b\x21\x08\x1d\x21\x11\xe5\xae\xab\xe4\xbf\x9d\xe9\xb8\xa1\xe4\xb8\x81 x1 32\n";
    const std::pair<QImage, QImage> pairs[] = {{draw(QByteArray(item).replace("\xe9\xb8\xa1", "  ")), draw(item)},
                                               {draw("\x1b\x61\x01" "Total 120.50\n"), draw("\x1b\x61\x02" "Total 120.50\n")},
                                               {draw("A\n"), draw("A\nB\n")},
                                               {draw("A\n", Paper::Mm80), draw("A\n")}};
    for (const auto& pair : pairs)
        EXPECT_NE(differenceFrom(pair.first, pair.second), "");
}

}  // namespace
}  // namespace receipt_preview
