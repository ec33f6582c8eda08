// What formatOrder and formatSummary hand the engine, watched through a recording engine.
#include "print_cmd_formater.h"
#include "service_business/print_cmd_formater.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

using namespace service_business::print_cmd_formater;
using namespace utility_business;

namespace {

struct EngineCall {
    std::string entry;
    std::string restaurant;
    std::string document;
    std::string settings;
};

std::vector<EngineCall> g_calls;
EngineError g_result = ENGINE_OK;
int g_freed = 0;

const char kReceipt[] = "\x1b@receipt\x1dV\x01";

EngineError record(const char* entry, uint8_t** out, uint32_t* length, const char* restaurant, const char* document,
                   const char* settings)
{
    g_calls.push_back({entry, restaurant, document, settings});
    if (g_result != ENGINE_OK) {
        *out = nullptr;
        return g_result;
    }
    *length = sizeof kReceipt - 1;
    *out = static_cast<uint8_t*>(std::malloc(*length));
    std::memcpy(*out, kReceipt, *length);
    return ENGINE_OK;
}

EngineError fakeOnline(uint8_t** o, uint32_t* l, const char* r, const char* d, const char* s) { return record("online", o, l, r, d, s); }
EngineError fakeLocal(uint8_t** o, uint32_t* l, const char* r, const char* d, const char* s) { return record("local", o, l, r, d, s); }
EngineError fakeSummary(uint8_t** o, uint32_t* l, const char* r, const char* d, const char* s) { return record("summary", o, l, r, d, s); }
EngineError throwingEntry(uint8_t**, uint32_t*, const char*, const char*, const char*) { throw std::runtime_error("engine fell over"); }
void fakeFree(uint8_t** buffer)
{
    std::free(*buffer);
    *buffer = nullptr;
    ++g_freed;
}

const EngineEntries kRecordingEngine{fakeOnline, fakeLocal, fakeSummary, fakeFree};

const QString kRestaurant = QStringLiteral("{ \"name\" :\"Golden Wok\",\n\t\"id\": 7 }");
const QString kOrder = QStringLiteral(R"({"id": "A1", "general": {"remark": "no ice", "daySn": 3}})");

SummaryPrintSettings settings()
{
    SummaryPrintSettings s;
    s.width = QStringLiteral("80mm");
    s.copiesOfOnlineOrder = 2;
    s.copiesOfDineOrder = 3;
    s.copiesOfPhoneOrder = 4;
    s.isPrintBarcodeEnabled = true;
    s.lines_between_copies = QStringLiteral("1");
    s.style = QStringLiteral("small");
    return s;
}

}  // namespace

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

TEST_F(FormatterEntry, PassesRestaurantByteForByteAndOrderAndSettingsReserialisedToTheEntryOfTheOrderType)
{
    const struct {
        utility_enum::OrderType type;
        const char* entry;
        int copies;
    } cases[] = {{utility_enum::ORDER_ONLINE, "online", 2}, {utility_enum::ORDER_DINE, "local", 3},
                 {utility_enum::ORDER_PHONE, "local", 4}};
    for (const auto& c : cases) {
        g_calls.clear();
        EXPECT_EQ(formatOrder(kRestaurant, kOrder, c.type, settings()), QByteArray(kReceipt));
        ASSERT_EQ(g_calls.size(), 1u);
        EXPECT_EQ(g_calls[0].entry, c.entry);
        EXPECT_EQ(g_calls[0].restaurant, kRestaurant.toStdString());
        EXPECT_EQ(g_calls[0].document, R"({"id":"A1","general":{"remark":"no ice","daySn":3}})");
        EXPECT_EQ(g_calls[0].settings, "{\"number_of_copies\":" + std::to_string(c.copies) +
                                           R"(,"isPrintBarcodeEnabled":true,"lines_between_copies":"1",)"
                                           R"("style":"small","width":"80mm"})");
    }
    EXPECT_EQ(g_freed, 3) << "the engine's buffer is released after the copy";
}

TEST_F(FormatterEntry, RefusesUnknownOrderTypeAndInvalidJsonWithoutEnteringEngine)
{
    EXPECT_TRUE(formatOrder(kRestaurant, kOrder, static_cast<utility_enum::OrderType>(3), settings()).isEmpty());
    EXPECT_TRUE(formatOrder(kRestaurant, QStringLiteral("{\"id\": "), utility_enum::ORDER_ONLINE, settings()).isEmpty());
    EXPECT_TRUE(formatOrder(QStringLiteral("{\"name\": }"), kOrder, utility_enum::ORDER_ONLINE, settings()).isEmpty());
    EXPECT_TRUE(formatOrder(kRestaurant + QChar(0) + QStringLiteral("{}"), kOrder, utility_enum::ORDER_ONLINE, settings())
                    .isEmpty())
        << "a NUL would cut the restaurant short inside the engine";
    EXPECT_TRUE(formatSummary(kRestaurant, QStringLiteral("[1,"), PrinterInfo()).isEmpty());
    EXPECT_TRUE(g_calls.empty());
}

// A NUL escape loses only itself, and half a surrogate pair (a cut emoji) prints as U+FFFD.
TEST_F(FormatterEntry, StripsControlCharactersFromEveryOrderTextButNotFromTheRestaurant)
{
    const QString restaurant = QStringLiteral(R"({"name": "Wok\u001b"})");
    const QString order = QStringLiteral(
        R"({"general": {"remark": "ring\u001bp\u0019\u00fa twice\r\nthanks\u001dV\u0001", "invoiceTitle": "Co\u0000rp"},)"
        R"( "consignee": {"name": "Li\tMing", "phones": ["138\u0007"], "address": "Road\u007f 1\ud83d"},)"
        "\"misc\": {\"note\": \"raw\x1b" "p\"}, \"\x1bkey\": 5}");

    formatOrder(restaurant, order, utility_enum::ORDER_ONLINE, settings());

    ASSERT_EQ(g_calls.size(), 1u);
    EXPECT_EQ(g_calls[0].restaurant, restaurant.toStdString());
    EXPECT_EQ(g_calls[0].document,
              "{\"general\":{\"remark\":\"ringp\xc3\xba twice thanksV\",\"invoiceTitle\":\"Corp\"},"
              "\"consignee\":{\"name\":\"Li Ming\",\"phones\":[\"138\"],\"address\":\"Road 1\xef\xbf\xbd\"},"
              "\"misc\":{\"note\":\"rawp\"},\"\\u001bkey\":5}");
}

TEST_F(FormatterEntry, PrintsSummaryOnceOnThePrintersWidth)
{
    PrinterInfo printer;
    printer.width = QStringLiteral("80mm");
    const QString summary = QStringLiteral("{\"digest\": {\"count\": 3},  \"items\": []}");

    EXPECT_EQ(formatSummary(kRestaurant, summary, printer), QByteArray(kReceipt));

    ASSERT_EQ(g_calls.size(), 1u);
    EXPECT_EQ(g_calls[0].entry, "summary");
    EXPECT_EQ(g_calls[0].restaurant, kRestaurant.toStdString());
    EXPECT_EQ(g_calls[0].document, R"({"digest":{"count":3},"items":[]})");
    EXPECT_EQ(g_calls[0].settings, R"({"number_of_copies":1,"width":"80mm"})");
}

TEST_F(FormatterEntry, EngineErrorOrExceptionGivesEmptyReceipt)
{
    g_result = ENGINE_ERROR_INVALID_INPUT;
    EXPECT_TRUE(formatOrder(kRestaurant, kOrder, utility_enum::ORDER_ONLINE, settings()).isEmpty());
    EXPECT_EQ(g_calls.size(), 1u);

    const EngineEntries throwing{throwingEntry, throwingEntry, throwingEntry, fakeFree};
    setEngineEntriesForTesting(&throwing);
    QByteArray out("untouched");
    QString error;
    EXPECT_FALSE(formatLocalOrderBytes("{}", "{}", "{}", out, error));
    EXPECT_EQ(error, QStringLiteral("engine fell over"));
    EXPECT_EQ(out, QByteArray("untouched"));
    EXPECT_TRUE(formatOrder(kRestaurant, kOrder, utility_enum::ORDER_PHONE, settings()).isEmpty());
}
