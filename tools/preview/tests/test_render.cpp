// A print stream drawn as the printed paper: its size, what draws nothing, any bytes, several threads, why
// nothing was drawn; and each reference/NAME.png, the drawing of engine/tests/golden/expected/NAME.bin on the
// paper its name says (a new case is a new picture). After an intended change of a golden receipt or the
// preview, SB_UPDATE_REFERENCES=1 receipt_preview_test --gtest_filter='Engine/*' redraws them: look at each
// before committing it. A failing comparison leaves its drawing next to the test as NAME.actual.png.

#include "receipt_preview/receipt_preview.h"
#include "paper_layout_p.h"
#include "qt_print.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTextCodec>
#include <gtest/gtest.h>
#include <random>
#include <thread>

namespace receipt_preview {
namespace {

// A stream from a string literal, NUL bytes included.
template <std::size_t N>
QByteArray bytes(const char (&literal)[N]) {
    return QByteArray(literal, int(N - 1));
}

QImage draw(const QByteArray& stream, int scale = 1, Paper paper = Paper::Mm58) {
    Options options;
    options.scale = scale;
    options.paper = paper;
    QString error;
    const QImage image = render(stream, options, &error);
    EXPECT_FALSE(image.isNull()) << error.toStdString();
    return image;
}

TEST(RenderPaper, PictureIsThePaperWidthWithMarginsAsTallAsItsContentScaledAndSavedAsPng) {
    EXPECT_EQ(draw("A\n").size(), QSize(384 + 2 * kMargin, 30 + 2 * kMargin));
    EXPECT_EQ(draw("A\n\n", 1, Paper::Mm80).size(), QSize(576 + 2 * kMargin, 60 + 2 * kMargin));
    const QImage one = draw("\x1b\x45\x01" "Ab\n");
    EXPECT_EQ(draw("\x1b\x45\x01" "Ab\n", 3), one.scaled(one.size() * 3));
    // Saved as PNG, or why not.
    QTemporaryDir directory;
    QString error;
    ASSERT_TRUE(renderToPng("A\n", Options(), directory.filePath("receipt.png"), &error)) << error.toStdString();
    EXPECT_EQ(QImage(directory.filePath("receipt.png")).convertToFormat(QImage::Format_Grayscale8), draw("A\n"));
    EXPECT_FALSE(renderToPng("A\n", Options(), "/nonexistent/dir/receipt.png", &error));
    EXPECT_TRUE(error.contains("/nonexistent/dir/receipt.png")) << error.toStdString();
    EXPECT_FALSE(renderToPng(QByteArray(), Options(), directory.filePath("empty.png"), &error));
    EXPECT_FALSE(QFile::exists(directory.filePath("empty.png")));
}

TEST(RenderPaper, PrintsNothingForNulDrawerPulseUnknownOrCutShortCommands) {
    for (const QByteArray& stream : {bytes("A\0B\n"), bytes("\x1b\x70\x00\x3c\xff" "AB\n"), bytes("A\x1b\xf5" "B\x1d\xf5\n"),
                                     bytes("AB\n\x1d\x6b\x49\x05{C\x01"), bytes("AB\n\x1d\x6b\x49"), bytes("AB\n\x1d\x6b")})
        EXPECT_EQ(draw(stream), draw("AB\n")) << stream.toHex().constData();
}

// Plain noise, then streams of real command prefixes with random arguments, which reach far more branches.
TEST(RenderPaper, RandomBytesRenderOrFailWithAMessage) {
    std::mt19937 random(20240521);
    QByteArray noise(1 << 20, Qt::Uninitialized);
    for (char& byte : noise)
        byte = char(random());
    QByteArrayList prefixes;
    for (const char* hex : {"1b", "1d", "1c", "10", "1d21", "1b21", "1b61", "1d6b49", "1d6b49067b43", "1d56", "1b64", "1b4a",
                            "1d68", "1d77", "1d763000", "1d28", "1b2603", "0a", "e4b8ad", "4162632031322e3530"})
        prefixes << QByteArray::fromHex(hex);
    for (int round = 0; round <= 200; ++round) {
        QByteArray stream = round == 0 ? noise : QByteArray();
        for (int piece = 0; round > 0 && piece < 300; ++piece) {
            stream += prefixes[int(random() % prefixes.size())];
            for (int i = int(random() % 4); i > 0; --i)
                stream += char(random() % 4 == 0 ? random() : random() % 8);
        }
        QString error;
        const QImage image = render(stream, Options(), &error);
        ASSERT_TRUE(!image.isNull() || !error.isEmpty()) << stream.left(4096).toHex().constData();
        EXPECT_LE(image.height(), kMaxHeightDots);
    }
}

TEST(RenderPaper, RendersOnSeveralThreadsAtOnce) {
    const QByteArray stream = bytes("\x1b\x61\x01\x1d\x21\x11\xe5\xae\x8c\x1d\x21\x00\n" "Total 12.50\n");
    const QImage expected = draw(stream);
    QImage images[4];
    std::thread threads[4];
    for (int i = 0; i < 4; ++i)
        threads[i] = std::thread([&images, &stream, i] { images[i] = render(stream, Options(), nullptr); });
    for (int i = 0; i < 4; ++i) {
        threads[i].join();
        EXPECT_EQ(images[i], expected);
    }
}

// Each reason by its telling words; the command-line transcripts show the whole line a person reads.
TEST(RenderErrors, SaysWhyNothingWasDrawn) {
    Options badScale, noFont;
    badScale.scale = kMaxScale + 1;
    noFont.fontFile = "/nonexistent/font.ttc";
    const struct {
        QByteArray stream;
        Options options;
        const char* contains;
    } rows[] = {{QByteArray(), Options(), "the print stream is empty"}, {"A\n", badScale, "scale"},
                {"A\n", noFont, "/nonexistent/font.ttc"}, {QByteArray(1000, '\n'), Options(), "20000"},
                {QByteArray(1 << 20, 'A'), Options(), "20000"}};
    for (const auto& row : rows) {
        QString error;
        EXPECT_TRUE(render(row.stream, row.options, &error).isNull()) << row.contains;
        EXPECT_TRUE(error.contains(QLatin1String(row.contains))) << error.toStdString();
    }
    badScale.scale = 0;
    EXPECT_TRUE(render("A\n", badScale, nullptr).isNull());
    EXPECT_FALSE(render("A\n", Options(), nullptr).isNull());
}

// How a drawing differs from its reference in black and white dots; empty within the tolerance: the same size,
// at most 0.5% of the dots and 64 in any 24 x 24 block differ. Another FreeType turns a few edge dots of many
// glyphs, under both bounds; a character missing, added or moved changes well over 64 dots of a block (a CJK
// glyph has 150 or more), a shifted line whole rows. Similar shapes (two digits) are the unit tests' part.
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
    const QImage actual = draw(stream(), 1, paper());
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
    EXPECT_EQ(draw(document, 1, paper()), draw(stream(), 1, paper()));
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
                                               {draw("A\n", 1, Paper::Mm80), draw("A\n")}};
    for (const auto& pair : pairs)
        EXPECT_NE(differenceFrom(pair.first, pair.second), "");
}

}  // namespace
}  // namespace receipt_preview
