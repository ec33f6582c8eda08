// The engine's golden receipts drawn and compared with the reference pictures: each reference/NAME.png is
// the drawing of engine/tests/golden/expected/NAME.bin, on the paper its name says. The comparison's
// tolerance is tested here too, since the golden cases rest on it.
//
// To regenerate the references after an intended change of a golden receipt or of the preview, run
//     SB_UPDATE_REFERENCES=1 <build>/tools/preview/tests/receipt_preview_golden_test
// then look at every changed picture in reference/ before committing it. A failing comparison leaves the
// picture it drew next to the test binary as NAME.actual.png. A new case is a new reference picture.

#include "receipt_preview/receipt_preview.h"

#include "picture_comparison.h"
#include "qt_print.h"

#include <QDir>
#include <QFile>
#include <QTextCodec>

#include <gtest/gtest.h>

namespace receipt_preview {
namespace {

QImage draw(const QByteArray& stream, Paper paper = Paper::Mm58)
{
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

TEST_P(GoldenPicture, MatchesItsReferencePicture)
{
    const QImage actual = draw(stream(), paper());
    const QString reference = QDir(QStringLiteral(SB_REFERENCE_DIR)).filePath(name() + ".png");
    if (qEnvironmentVariableIsSet("SB_UPDATE_REFERENCES")) {
        ASSERT_TRUE(actual.save(reference, "PNG")) << reference.toStdString();
        GTEST_SKIP() << "wrote " << reference.toStdString() << "; look at it before committing it";
    }
    const PictureDifference difference = comparePictures(actual, QImage(reference));
    if (!difference.withinTolerance()) {
        const QString saved = QDir(QStringLiteral(SB_ACTUAL_DIR)).filePath(name() + ".actual.png");
        actual.save(saved, "PNG");
        ADD_FAILURE() << difference.describe().toStdString() << "\n  reference " << reference.toStdString()
                      << "\n  drawn     " << saved.toStdString();
    }
}

// What a printer receives: each NUL-separated piece in GB18030, each followed by a NUL.
TEST_P(GoldenPicture, DrawsThePrintersGb18030DocumentAsTheUtf8Receipt)
{
    QByteArray document;
    for (const QByteArray& piece : stream().split('\0'))
        document += QTextCodec::codecForName("GB18030")->fromUnicode(QString::fromUtf8(piece)) + '\0';
    ASSERT_NE(document, stream() + '\0');  // the Chinese text really is in another encoding
    EXPECT_EQ(draw(document, paper()), draw(stream(), paper()));
}

std::vector<std::string> referenceNames()
{
    std::vector<std::string> names;
    for (const QString& file : QDir(QStringLiteral(SB_REFERENCE_DIR)).entryList({QStringLiteral("*.png")}))
        names.push_back(file.chopped(4).toStdString());
    return names;
}

INSTANTIATE_TEST_SUITE_P(Engine, GoldenPicture, testing::ValuesIn(referenceNames()),
                         [](const testing::TestParamInfo<std::string>& info) { return info.param; });

// 宫保鸡丁 x1 32, bold and double size as the engine prints item lines.
const QByteArray kItem = "\x1b\x21\x08\x1d\x21\x11\xe5\xae\xab\xe4\xbf\x9d\xe9\xb8\xa1\xe4\xb8\x81 x1 32\n";

TEST(PictureComparison, AbsorbsEdgeDotsTurnedByAnotherRasteriser)
{
    // Every fourth glyph edge grows by one dot, as a different anti-aliasing threshold would make it.
    const QImage reference = draw(kItem);
    EXPECT_EQ(comparePictures(draw(kItem), reference).differing, 0);
    QImage noisy = reference.convertToFormat(QImage::Format_Grayscale8);
    int edges = 0;
    for (int y = 0; y < noisy.height(); ++y)
        for (int x = 0; x + 1 < noisy.width(); ++x)
            if (qGray(reference.pixel(x, y)) < 128 && qGray(reference.pixel(x + 1, y)) >= 128 && ++edges % 4 == 0)
                noisy.scanLine(y)[x + 1] = 0;
    const PictureDifference difference = comparePictures(noisy, reference);
    EXPECT_GT(difference.differing, 0);
    EXPECT_TRUE(difference.withinTolerance()) << difference.describe().toStdString();
}

TEST(PictureComparison, CatchesAMissingCharacterAMovedLineAnExtraLineOrOtherPaper)
{
    const QByteArray without = QByteArray(kItem).replace("\xe9\xb8\xa1", "  ");  // 鸡 left out
    const std::pair<QImage, QImage> pairs[] = {{draw(without), draw(kItem)},
                                               {draw("\x1b\x61\x01" "Total 120.50\n"), draw("\x1b\x61\x02" "Total 120.50\n")},
                                               {draw("A\n"), draw("A\nB\n")},
                                               {draw("A\n", Paper::Mm80), draw("A\n")}};
    for (const auto& pair : pairs)
        EXPECT_FALSE(comparePictures(pair.first, pair.second).withinTolerance());
}

}  // namespace
}  // namespace receipt_preview
