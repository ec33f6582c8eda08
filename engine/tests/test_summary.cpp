// The daily summary's reader: later keys win, and each section has its code. Its layout, on both widths
// and with every copy count, is shown byte for byte by the golden receipts.

#include "engine_cases.h"

#include "summary_layout_p.h"
#include "summary_parser_p.h"

using namespace engine_test;

namespace {

TEST(SummaryParser, LaterItemsAndDigestReplaceEarlierOnes)
{
    SummaryDocument* document = nullptr;
    ASSERT_EQ(parse_summary(&document, kRestaurant,
                            R"({"items":[{"orderId":"a"}],"digest":{"orderCount":1},"items":[{"orderId":"b"}],"digest":{}})",
                            R"({"number_of_copies":1,"width":"58mm"})"),
              ENGINE_OK);
    EXPECT_STREQ(document->summary->orders->orderId, "b");
    EXPECT_EQ(document->summary->orders->next, nullptr);
    EXPECT_EQ(document->summary->digest->orderCount, 0);
    destroy_summary_document(&document);
}

TEST(SummaryParser, EachSectionReaderAndTheLayoutNameWhatTheyMissed)
{
    void* slot = nullptr;
    EXPECT_EQ(read_summary(reinterpret_cast<Summary**>(&slot), nullptr), ENGINE_ERROR_SUMMARY_JSON);
    EXPECT_EQ(read_digest(reinterpret_cast<SummaryDigest**>(&slot), nullptr), ENGINE_ERROR_DIGEST_SECTION);
    EXPECT_EQ(read_summary_orders(reinterpret_cast<SummaryOrder**>(&slot), nullptr), ENGINE_ERROR_SUMMARY_ORDERS);
    uint8_t* out = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(layout_summary(nullptr, &out, &length), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(slot, nullptr);
}

}  // namespace
