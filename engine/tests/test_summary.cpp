// The daily summary: its exact lines, online-payment marks, later keys winning and the reader codes. Both
// widths and the copies are shown by the golden receipts.

#include "byte_test_support.h"
#include "order_test_support.h"

#include "summary_layout_p.h"
#include "summary_parser_p.h"
#include "utility_p.h"

#include <string>

using namespace engine_test;

namespace {

const char kSummarySettings58[] = R"({"number_of_copies":1,"width":"58mm"})";

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
    uint8_t* out = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(layout_summary(nullptr, &out, &length), ENGINE_ERROR_INVALID_INPUT);
}

}  // namespace
