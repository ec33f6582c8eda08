// The daily summary: its reader, the orders table by paper width, the totals and the copies.

#include "byte_test_support.h"
#include "order_test_support.h"

#include "summary_layout_p.h"
#include "summary_parser_p.h"
#include "utility_p.h"

#include <string>

using namespace engine_test;

namespace {

const char kSummarySettings58[] = R"({"number_of_copies":1,"width":"58mm"})";
const char kSummarySettings80[] = R"({"number_of_copies":1,"width":"80mm"})";

struct ParsedSummary {
    explicit ParsedSummary(const std::string& summary, const char* settings = kSummarySettings58)
    {
        code = parse_summary(&document, kRestaurant, summary.c_str(), settings);
    }
    ~ParsedSummary() { destroy_summary_document(&document); }
    SummaryDocument* document = nullptr;
    EngineError code = ENGINE_OK;
};

class SummaryLayout : public ::testing::Test {
protected:
    static void SetUpTestSuite() { setTimeZone("Asia/Shanghai"); }

    Bytes layout(const std::string& summary, const char* settings = kSummarySettings58)
    {
        ParsedSummary parsed(summary, settings);
        EXPECT_EQ(parsed.code, ENGINE_OK);
        uint8_t* out = nullptr;
        uint32_t length = 0;
        code_ = layout_summary(parsed.document, &out, &length);
        Bytes bytes = out ? Bytes(out, out + length) : Bytes();
        engine_release(out);
        return bytes;
    }

    EngineError code_ = ENGINE_OK;
};

// A left line of the summary: its one run, the pad of spaces to the paper width, a line feed.
Bytes leftLine(const std::string& text, size_t pad)
{
    return cat({run(text.c_str(), 1), spaces(pad), {0x0A}});
}

Bytes separator(size_t width)
{
    return cat({repeat('-', width), run("", 1), {0x0A}});
}

std::string withOrders(const std::string& items)
{
    return R"({"beginTime":1710432000,"endTime":1710518399,"digest":{},"items":[)" + items + "]}";
}

TEST_F(SummaryLayout, EmptyListPrintsTitleTableFrameAndTotals)
{
    const Bytes out = layout(R"({"beginTime":1710432000,"endTime":1710518399,"items":[],
        "digest":{"validOrderCount":6,"invalidOrderCount":1,"receivable":120,"discount":120.5}})");
    ASSERT_EQ(code_, ENGINE_OK);
    const Bytes expected = cat({
        leftLine("蜀香阁", 26),
        leftLine("有效订单汇总", 20),
        leftLine("开始时间：2024-03-15  0:00", 6),
        leftLine("截止时间：2024-03-15 23:59", 6),
        separator(32),
        leftLine("流水号应收     实收     时间    ", 0),
        separator(32),
        separator(32),
        leftLine("  - 有效订单：6", 17),
        leftLine("  - 无效订单：1", 17),
        leftLine("应收：120", 23),
        leftLine("  - 减免：120.50", 16),
        leftLine("  - 实收：0", 21),
        leftLine("    - 现金支付：0", 15),
        leftLine("    - 在线支付：0", 15),
        separator(32),
        leftLine("(!)为在线支付订单", 15),
        leftLine("减免含Zhevo补贴及商家自担两部分", 1),
        repeat(0x0A, 5),
    });
    EXPECT_BYTES(expected, out);
}

TEST_F(SummaryLayout, RowsMarkOnlinePaymentsOn58mm)
{
    const Bytes out = layout(withOrders(R"(
        {"daySn":7,"payment":"online","createdTime":1710470700,"accounting":{"receivable":86,"discount":12,"receipt":74}},
        {"daySn":19,"payment":"cash","createdTime":1710464700,"accounting":{"receivable":66.5,"receipt":66.5}},
        {"daySn":20})"));
    ASSERT_EQ(code_, ENGINE_OK);
    EXPECT_CONTAINS_BYTES(out, cat({separator(32), leftLine("7(!)  86       74       10:45   ", 0),
                                    leftLine("19    66.50    66.50     9:05   ", 0),
                                    leftLine("20    0        0         8:00   ", 0), separator(32)}));
}

TEST_F(SummaryLayout, ColumnsWidenOn80mm)
{
    const Bytes out = layout(withOrders(R"({"daySn":7,"payment":"online","createdTime":1710470700,
        "accounting":{"receivable":86,"receipt":74}})"),
                             kSummarySettings80);
    ASSERT_EQ(code_, ENGINE_OK);
    EXPECT_CONTAINS_BYTES(
        out, cat({separator(48), leftLine("流水号 应收          实收          时间         ", 0), separator(48),
                  leftLine("7(!)   86            74            10:45        ", 0), separator(48)}));
}

TEST_F(SummaryLayout, CopiesRepeatBodyAndFeed)
{
    const std::string summary = withOrders("");
    const Bytes once = layout(summary);
    EXPECT_BYTES(cat({once, once}), layout(summary, R"({"number_of_copies":2,"width":"58mm"})"));
    EXPECT_TRUE(layout(summary, R"({"number_of_copies":0,"width":"58mm"})").empty());
    EXPECT_EQ(code_, ENGINE_OK);
}

TEST_F(SummaryLayout, NeedsAKnownPaperWidth)
{
    EXPECT_TRUE(layout(withOrders(""), R"({"number_of_copies":1})").empty());
    EXPECT_EQ(code_, ENGINE_ERROR_PAPER_WIDTH);
    uint8_t* out = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(layout_summary(nullptr, &out, &length), ENGINE_ERROR_INVALID_INPUT);
}

TEST(SummaryParser, ReadsDigestAndOrdersInOrder)
{
    ParsedSummary p(R"({"beginTime":1710432000.7,"endTime":1710518399,
        "digest":{"orderCount":7,"validOrderCount":6,"invalidOrderCount":1,"receivable":712.5,"discount":46,
                  "receipt":666.5,"cashReceipt":194.5,"onlineReceipt":472},
        "items":[{"orderId":"a","daySn":5,"status":"valid","payment":"online","createdTime":1710470700,
                  "accounting":{"receivable":86,"discount":12,"receipt":74}},{"orderId":"b"}]})");
    ASSERT_EQ(p.code, ENGINE_OK);
    const Summary* summary = p.document->summary;
    EXPECT_EQ(summary->beginTime, 1710432000);
    EXPECT_EQ(summary->digest->orderCount, 7);
    EXPECT_EQ(summary->digest->invalidOrderCount, 1);
    EXPECT_FLOAT_EQ(summary->digest->cashReceipt, 194.5f);
    EXPECT_FLOAT_EQ(summary->digest->onlineReceipt, 472.0f);
    const SummaryOrder* first = summary->orders;
    ASSERT_NE(first, nullptr);
    EXPECT_STREQ(first->orderId, "a");
    EXPECT_STREQ(first->status, "valid");
    EXPECT_STREQ(first->payment, "online");
    EXPECT_EQ(first->createdTime, 1710470700);
    EXPECT_FLOAT_EQ(first->accounting->receipt, 74.0f);
    ASSERT_NE(first->next, nullptr);
    EXPECT_STREQ(first->next->orderId, "b");
    EXPECT_EQ(first->next->accounting, nullptr);
    EXPECT_EQ(first->next->next, nullptr);
    EXPECT_EQ(p.document->printSettings->feed_lines, 5);
}

TEST(SummaryParser, LaterItemsAndDigestReplaceEarlierOnes)
{
    ParsedSummary p(R"({"items":[{"orderId":"a"}],"digest":{"orderCount":1},"items":[{"orderId":"b"}],"digest":{}})");
    ASSERT_EQ(p.code, ENGINE_OK);
    EXPECT_STREQ(p.document->summary->orders->orderId, "b");
    EXPECT_EQ(p.document->summary->orders->next, nullptr);
    EXPECT_EQ(p.document->summary->digest->orderCount, 0);
}

TEST(SummaryParser, ReportsEachTextAndEachReader)
{
    SummaryDocument* document = nullptr;
    EXPECT_EQ(parse_summary(&document, "{", "{}", kSummarySettings58), ENGINE_ERROR_RESTAURANT_JSON);
    EXPECT_EQ(parse_summary(&document, kRestaurant, "{]", kSummarySettings58), ENGINE_ERROR_SUMMARY_JSON);
    EXPECT_EQ(parse_summary(&document, kRestaurant, "{}", ""), ENGINE_ERROR_SETTINGS_JSON);
    EXPECT_EQ(parse_summary(&document, kRestaurant, nullptr, kSummarySettings58), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(document, nullptr);
    Summary* summary = nullptr;
    SummaryDigest* digest = nullptr;
    SummaryOrder* orders = nullptr;
    EXPECT_EQ(read_summary(&summary, nullptr), ENGINE_ERROR_SUMMARY_JSON);
    EXPECT_EQ(read_digest(&digest, nullptr), ENGINE_ERROR_DIGEST_SECTION);
    EXPECT_EQ(read_summary_orders(&orders, nullptr), ENGINE_ERROR_SUMMARY_ORDERS);
}

}  // namespace
