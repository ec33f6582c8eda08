// What formatOrder and formatSummary hand the engine, watched through a recording engine: the cases of
// formatter_cases.json give the input and the one engine call expected (or none).
#include "print_cmd_formater_p.h"
#include "service_business/print_cmd_formater.h"

#include "qt_print.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdlib>
#include <cstring>
#include <stdexcept>

using namespace service_business::print_cmd_formater;
using namespace utility_business;

namespace {

QList<QStringList> g_calls;  // entry, restaurant, document and settings of each call
EngineError g_result = ENGINE_OK;
int g_freed = 0;
const char kReceipt[] = "\x1b@receipt\x1dV\x01";

template <int Entry>
EngineError record(uint8_t** out, uint32_t* length, const char* restaurant, const char* document, const char* settings)
{
    g_calls << QStringList{QString::fromLatin1(Entry == 0 ? "online" : Entry == 1 ? "local" : "summary"),
                           QString::fromUtf8(restaurant), QString::fromUtf8(document), QString::fromUtf8(settings)};
    *out = nullptr;
    if (g_result != ENGINE_OK) return g_result;
    *length = sizeof kReceipt - 1;
    *out = static_cast<uint8_t*>(std::malloc(*length));
    std::memcpy(*out, kReceipt, *length);
    return ENGINE_OK;
}
EngineError throwing(uint8_t**, uint32_t*, const char*, const char*, const char*) { throw std::runtime_error("engine fell over"); }
void release(uint8_t** buffer)
{
    std::free(*buffer);
    *buffer = nullptr;
    ++g_freed;
}
const EngineEntries kRecordingEngine{record<0>, record<1>, record<2>, release};

SummaryPrintSettings settings()
{
    return SummaryPrintSettings::fromJson(QStringLiteral(
        R"({"width": "80mm", "copiesOfOnlineOrder": 2, "copiesOfDineOrder": 3, "copiesOfPhoneOrder": 4,
            "isPrintBarcodeEnabled": true, "lines_between_copies": "1", "style": "small"})"));
}

class FormatterEntry : public ::testing::Test {
protected:
    void SetUp() override
    {
        g_calls.clear();
        g_result = ENGINE_OK;
        g_freed = 0;
        setEngineEntriesForTesting(&kRecordingEngine);
    }
    void TearDown() override { setEngineEntriesForTesting(nullptr); }
};

TEST_F(FormatterEntry, HandsTheEngineWhatEachCaseExpects)
{
    QFile file(QStringLiteral(SB_FORMATTER_CASES));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QJsonArray cases = QJsonDocument::fromJson(file.readAll())["cases"].toArray();
    ASSERT_EQ(cases.size(), 10);
    for (const QJsonValue& value : cases) {
        const QJsonObject c = value.toObject();
        g_calls.clear();
        PrinterInfo printer;
        printer.width = QStringLiteral("80mm");
        const QByteArray receipt =
            c.contains("summary") ? formatSummary(c["restaurant"].toString(), c["summary"].toString(), printer)
                                  : formatOrder(c["restaurant"].toString(), c["order"].toString(),
                                                utility_enum::OrderType(c["type"].toInt()), settings());
        QStringList expected;
        for (const QJsonValue& field : c["engine"].toArray()) expected << field.toString();
        EXPECT_EQ(g_calls, expected.isEmpty() ? QList<QStringList>() : QList<QStringList>{expected}) << c["what"].toString().toStdString();
        EXPECT_EQ(receipt, expected.isEmpty() ? QByteArray() : QByteArray(kReceipt)) << c["what"].toString().toStdString();
    }
    EXPECT_EQ(g_freed, 5) << "the engine's buffer is released after the copy";
}

TEST_F(FormatterEntry, EngineErrorOrExceptionGivesEmptyReceipt)
{
    const QString restaurant = QStringLiteral(R"({"name": "Golden Wok"})");
    const QString order = QStringLiteral(R"({"id": "A1"})");
    g_result = ENGINE_ERROR_INVALID_INPUT;
    EXPECT_EQ(formatOrder(restaurant, order, utility_enum::ORDER_ONLINE, settings()), QByteArray());
    EXPECT_EQ(g_calls.size(), 1);

    const EngineEntries failing{throwing, throwing, throwing, release};
    setEngineEntriesForTesting(&failing);
    QByteArray out("untouched");
    QString error;
    EXPECT_FALSE(formatLocalOrderBytes("{}", "{}", "{}", out, error));
    EXPECT_EQ(error, QStringLiteral("engine fell over"));
    EXPECT_EQ(out, QByteArray("untouched"));
    EXPECT_EQ(formatOrder(restaurant, order, utility_enum::ORDER_PHONE, settings()), QByteArray());
}

}  // namespace
