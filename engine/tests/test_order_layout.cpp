// The order receipt beyond what the golden receipts show: the spacing names, styles outside the table that
// only a changed document can reach, and refusals.

#include "engine_cases.h"

#include "order_layout_p.h"
#include "utility_p.h"

using namespace engine_test;

namespace {

const std::string kOrder = R"({"id":"12345","general":{"daySn":7},"consignee":{"name":"王女士"},
    "detail":{"accounting":{"receipt":140},"groups":[{"name":"热菜","type":"normal","items":[{"name":"回锅肉"}]}]}})";

EngineError layout(const ParsedOrder& parsed, Receipt& out)
{
    EXPECT_EQ(parsed.code, ENGINE_OK);
    return layout_order(parsed.document, &out.data, &out.length);
}

TEST(OrderLayout, FeedBetweenCopiesFollowsTheSpacingName)
{
    const std::pair<const char*, int> table[] = {{"small", 3}, {"middle", 5}, {"large", 7}, {"1", 5}, {nullptr, 5}};
    for (const auto& row : table)
        EXPECT_EQ(copy_feed_lines(row.first), row.second) << (row.first ? row.first : "(null)");
}

TEST(OrderLayout, AnyOtherStylePrintsWithoutStyleCommands)
{
    setTimeZone("Asia/Shanghai");
    ParsedOrder parsed(true, kOrder);
    ASSERT_TRUE(engine_strdup(&parsed.document->printSettings->style, "plain"));
    Receipt out;
    ASSERT_EQ(layout(parsed, out), ENGINE_OK);
    const Bytes head = bytesOf("{9*2A 20}#7{reset}Zhevo订单{reset 20 10*2A lf}");
    EXPECT_BYTES(head, Bytes(out.data, out.data + std::min<size_t>(out.length, head.size())));
    // Only the fixed style-1 runs (cut, amount spaces) keep their commands; nothing is enlarged or bold.
    for (const char* command : {"{1D 21 11}", "{1D 21 01}", "{1B 21 08}"})
        EXPECT_LACKS_BYTES(out.bytes(), bytesOf(command));
}

TEST(OrderLayout, RefusesIncompleteDocumentsAndUnknownPaper)
{
    ParsedOrder parsed(true, kOrder);
    ASSERT_TRUE(engine_strdup(&parsed.document->printSettings->width, "76mm"));
    Receipt out;
    EXPECT_EQ(layout(parsed, out), ENGINE_ERROR_PAPER_WIDTH);
    ParsedOrder incomplete(true, R"({"id":"1","general":{},"consignee":{}})");
    EXPECT_EQ(layout(incomplete, out), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(layout_order(nullptr, nullptr, nullptr), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(out.data, nullptr);
}

}  // namespace
