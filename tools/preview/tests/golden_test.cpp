// Example receipts made by the engine, drawn and compared with the reference pictures in reference/.
//
// To regenerate the references after an intended change of the engine's layout or of the preview, run
//     SB_UPDATE_REFERENCES=1 <build>/tools/preview/tests/receipt_preview_golden_test
// then look at every changed picture in reference/ before committing it. A failing comparison leaves the
// picture it drew next to the test binary as <case>.actual.png.
#include "receipt_preview/receipt_preview.h"
#include "receipt_engine/receipt_engine.h"

#include "picture_comparison.h"
#include "spooler_document.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <ctime>
#include <functional>

namespace receipt_preview {
namespace {

enum class Entry { OnlineOrder, LocalOrder, Summary };

struct GoldenCase {
    const char* name;
    const char* source; // file in the examples folder
    Entry entry;
    const char* width;
};

std::ostream& operator<<(std::ostream& out, const GoldenCase& golden) {
    return out << golden.name;
}

QByteArray exampleText(const char* file) {
    QFile input(QDir(QStringLiteral(SB_EXAMPLES_DIR)).filePath(QString::fromLatin1(file)));
    if (!input.open(QIODevice::ReadOnly)) {
        ADD_FAILURE() << "cannot read " << input.fileName().toStdString();
        return QByteArray();
    }
    return input.readAll();
}

// The engine's bytes for the case: two copies of an order, one summary.
QByteArray engineStream(const GoldenCase& golden) {
    const QByteArray restaurant = exampleText("restaurant.json");
    const QByteArray document = exampleText(golden.source);
    const QByteArray settings =
        golden.entry == Entry::Summary
            ? QByteArray(R"({"number_of_copies": 1, "width": ")") + golden.width + "\"}"
            : QByteArray(R"({"number_of_copies": 2, "isPrintBarcodeEnabled": true, "lines_between_copies": "small",)"
                         R"( "style": "normal", "width": ")") +
                  golden.width + "\"}";
    const auto format = golden.entry == Entry::OnlineOrder ? format_online_order
                        : golden.entry == Entry::LocalOrder ? format_local_order
                                                            : format_summary;
    uint8_t* out = nullptr;
    uint32_t length = 0;
    const EngineError code = format(&out, &length, restaurant.constData(), document.constData(), settings.constData());
    EXPECT_EQ(code, ENGINE_OK) << engine_error_text(code);
    const QByteArray stream(reinterpret_cast<const char*>(out), int(length));
    engine_free(&out);
    return stream;
}

Options optionsFor(const GoldenCase& golden) {
    Options options;
    EXPECT_TRUE(paperFromName(QString::fromLatin1(golden.width), &options.paper));
    return options;
}

QImage draw(const QByteArray& stream, const Options& options) {
    QString error;
    const QImage image = render(stream, options, &error);
    EXPECT_FALSE(image.isNull()) << error.toStdString();
    return image;
}

class GoldenReceipt : public testing::TestWithParam<GoldenCase> {
protected:
    // The receipts print local times; fix the zone so the pictures do not depend on the machine.
    static void SetUpTestSuite() {
        qputenv("TZ", "CST-8");
        tzset();
    }
};

TEST_P(GoldenReceipt, MatchesItsReferencePicture) {
    const GoldenCase& golden = GetParam();
    const QImage actual = draw(engineStream(golden), optionsFor(golden));
    ASSERT_FALSE(actual.isNull());
    const QString name = QString::fromLatin1(golden.name);
    const QString reference = QDir(QStringLiteral(SB_REFERENCE_DIR)).filePath(name + ".png");
    if (qgetenv("SB_UPDATE_REFERENCES") == "1") {
        ASSERT_TRUE(actual.save(reference, "PNG")) << reference.toStdString();
        GTEST_SKIP() << "wrote " << reference.toStdString() << "; look at it before committing it";
    }
    const QImage expected(reference);
    ASSERT_FALSE(expected.isNull()) << "no reference picture " << reference.toStdString()
                                    << "; make it with SB_UPDATE_REFERENCES=1";
    const PictureDifference difference = comparePictures(actual, expected);
    if (!difference.withinTolerance()) {
        const QString saved = QDir(QStringLiteral(SB_ACTUAL_DIR)).filePath(name + ".actual.png");
        actual.save(saved, "PNG");
        ADD_FAILURE() << difference.describe().toStdString() << "\n  reference " << reference.toStdString() << " ("
                      << expected.width() << "x" << expected.height() << ")\n  drawn     " << saved.toStdString()
                      << " (" << actual.width() << "x" << actual.height() << ")";
    }
}

TEST_P(GoldenReceipt, ReadsTheSpoolerDocumentAsTheEngineStream) {
    const GoldenCase& golden = GetParam();
    const QByteArray stream = engineStream(golden);
    const QByteArray document = spoolerDocument(stream);
    ASSERT_NE(document, stream + '\0'); // the Chinese text really is in another encoding
    EXPECT_TRUE(draw(document, optionsFor(golden)) == draw(stream, optionsFor(golden)));
}

INSTANTIATE_TEST_SUITE_P(Examples, GoldenReceipt,
                         testing::Values(GoldenCase{"online_58mm", "online_order.json", Entry::OnlineOrder, "58mm"},
                                         GoldenCase{"online_80mm", "online_order.json", Entry::OnlineOrder, "80mm"},
                                         GoldenCase{"dine_58mm", "dine_order.json", Entry::LocalOrder, "58mm"},
                                         GoldenCase{"dine_80mm", "dine_order.json", Entry::LocalOrder, "80mm"},
                                         GoldenCase{"phone_58mm", "phone_order.json", Entry::LocalOrder, "58mm"},
                                         GoldenCase{"phone_80mm", "phone_order.json", Entry::LocalOrder, "80mm"},
                                         GoldenCase{"summary_58mm", "summary.json", Entry::Summary, "58mm"},
                                         GoldenCase{"summary_80mm", "summary.json", Entry::Summary, "80mm"}),
                         [](const testing::TestParamInfo<GoldenCase>& info) { return std::string(info.param.name); });

} // namespace
} // namespace receipt_preview
