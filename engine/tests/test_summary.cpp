// The daily summary's reader: later keys win, and each text and section has its code. Its layout, on
// both widths and with every copy count, is shown byte for byte by the golden receipts.

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

TEST(SummaryParser, LaterItemsAndDigestReplaceEarlierOnes)
{
    ParsedSummary p(R"({"items":[{"orderId":"a"}],"digest":{"orderCount":1},"items":[{"orderId":"b"}],"digest":{}})");
    ASSERT_EQ(p.code, ENGINE_OK);
    EXPECT_STREQ(p.document->summary->orders->orderId, "b");
    EXPECT_EQ(p.document->summary->orders->next, nullptr);
    EXPECT_EQ(p.document->summary->digest->orderCount, 0);
}

TEST(SummaryParser, EachSectionReaderAndTheLayoutNameWhatTheyMissed)
{
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
