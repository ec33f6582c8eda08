// The order receipt: what whole-receipt golden files cannot show on their own — copies, the spacing
// between them, styles outside the table, refusals — plus phones and the barcode packing.

#include "byte_test_support.h"
#include "order_test_support.h"

#include "order_layout_p.h"
#include "utility_p.h"

using namespace engine_test;

namespace {

const char kCut[] = "\x1D\x56\x31";
const char kGroups[] =
    R"("groups":[{"name":"热菜","type":"normal","items":[{"name":"回锅肉","price":38,"quantity":1}]}])";
const std::string kOrder = R"({"id":"12345","general":{"daySn":7},"consignee":{"name":"王女士"},
    "detail":{"accounting":{"receipt":140},)" + std::string(kGroups) + "}}";

std::string settings(const std::string& spacing, const std::string& copies)
{
    return R"({"width":"58mm","style":"normal","lines_between_copies":")" + spacing +
           R"(","number_of_copies":)" + copies + "}";
}

class OrderLayout : public ::testing::Test {
protected:
    static void SetUpTestSuite() { setTimeZone("Asia/Shanghai"); }

    Bytes layout(const ParsedOrder& parsed)
    {
        EXPECT_EQ(parsed.code, ENGINE_OK);
        uint8_t* out = nullptr;
        uint32_t length = 0;
        code_ = layout_order(parsed.document, &out, &length);
        Bytes bytes = out ? Bytes(out, out + length) : Bytes();
        engine_release(out);
        return bytes;
    }

    Bytes online(const std::string& settingsText = kSettings58)
    {
        return layout(ParsedOrder(ParsedOrder::Online, kOrder, settingsText.c_str()));
    }

    EngineError code_ = ENGINE_OK;
};

TEST_F(OrderLayout, EachCopyIsHeadBodyTailFeedAndCut)
{
    const Bytes once = online();
    ASSERT_EQ(code_, ENGINE_OK);
    // "#7" double size (4 columns) and "Zhevo订单" (9): pad 19, eight asterisks and a space on the left.
    const Bytes head = cat({repeat('*', 8), " ", run("#7", 6), run("Zhevo订单", 1), " ", repeat('*', 9), {0x0A}});
    const Bytes tail = cat({repeat('*', 12), " ", run("#7", 6), run("完", 1), " ", repeat('*', 12), {0x0A}});
    const Bytes feedAndCut = cat({repeat(0x0A, 5), align(0), run(kCut, 1), spaces(29), {0x0A}});
    ASSERT_GT(once.size(), head.size() + tail.size() + feedAndCut.size());
    EXPECT_BYTES(head, Bytes(once.begin(), once.begin() + head.size()));
    EXPECT_BYTES(cat({tail, feedAndCut}), Bytes(once.end() - tail.size() - feedAndCut.size(), once.end()));
    EXPECT_BYTES(cat({once, once}), online(settings("middle", "2")));
    for (const char* none : {"0", "-1"}) {
        EXPECT_TRUE(online(settings("x", none)).empty()) << none;
        EXPECT_EQ(code_, ENGINE_OK);
    }
}

TEST_F(OrderLayout, FeedBetweenCopiesFollowsTheSpacingName)
{
    const struct {
        const char* name;
        int lines;
    } table[] = {{"small", 3}, {"middle", 5}, {"large", 7}, {"1", 5}, {nullptr, 5}};
    for (const auto& row : table)
        EXPECT_EQ(copy_feed_lines(row.name), row.lines) << (row.name ? row.name : "(null)");
    // The end line's own line feed, then three.
    EXPECT_CONTAINS_BYTES(online(settings("small", "1")), cat({"*", repeat(0x0A, 4), align(0), run(kCut, 1)}));
}

TEST_F(OrderLayout, UnknownKindsPrintNoCustomer)
{
    ParsedOrder takeaway(ParsedOrder::Local, R"({"id":"2","general":{"localOrderType":"takeaway"},
        "customer":{"name":"李先生","address":"玉林"},"detail":{"accounting":{},)" + std::string(kGroups) + "}}");
    const Bytes out = layout(takeaway);
    ASSERT_EQ(code_, ENGINE_OK);
    EXPECT_LACKS_BYTES(out, run("玉林", 6));
    EXPECT_LACKS_BYTES(out, run("李先生", 6));
}

TEST_F(OrderLayout, AnyOtherStylePrintsWithoutStyleCommands)
{
    ParsedOrder parsed(ParsedOrder::Online, kOrder);
    ASSERT_TRUE(engine_strdup(&parsed.document->printSettings->style, "plain"));
    const Bytes out = layout(parsed);
    ASSERT_EQ(code_, ENGINE_OK);
    const Bytes head = cat({repeat('*', 9), " ", "#7", kReset, "Zhevo订单", kReset, " ", repeat('*', 10), {0x0A}});
    ASSERT_GT(out.size(), head.size());
    EXPECT_BYTES(head, Bytes(out.begin(), out.begin() + head.size()));
    // Only the fixed style-1 runs (cut, amount spaces) keep their commands; nothing is enlarged or bold.
    EXPECT_LACKS_BYTES(out, Bytes({0x1D, 0x21, 0x11}));
    EXPECT_LACKS_BYTES(out, Bytes({0x1D, 0x21, 0x01}));
    EXPECT_LACKS_BYTES(out, Bytes({0x1B, 0x21, 0x08}));
}

TEST_F(OrderLayout, RefusesIncompleteDocumentsAndUnknownPaper)
{
    ParsedOrder parsed(ParsedOrder::Online, kOrder);
    ASSERT_TRUE(engine_strdup(&parsed.document->printSettings->width, "76mm"));
    EXPECT_TRUE(layout(parsed).empty());
    EXPECT_EQ(code_, ENGINE_ERROR_PAPER_WIDTH);
    ParsedOrder incomplete(ParsedOrder::Online, R"({"id":"1","general":{},"consignee":{}})");
    EXPECT_TRUE(layout(incomplete).empty());
    EXPECT_EQ(code_, ENGINE_ERROR_INVALID_INPUT);
}

TEST(PhoneFormat, DashesMobileFixedAndInternationalNumbers)
{
    const struct {
        const char* in;
        const char* out;
    } table[] = {
        {"13812345678", "138-1234-5678"}, {"02112345678", "021-1234-5678"},
        {"057112345678", "0571-1234-5678"}, {"+8613812345678", "+86-13812345678"},
        {"138-1234-5678", "138-1234-5678"}, {"138-1234567", "138-123-4567"},  // only the missing dash is added
        {"0211234", "021-1234"},            {"+86-1381234", "+86-1381234"},
        {"95588", "95588"},                 {"", "(none)"},
        {nullptr, "(none)"},
    };
    for (const auto& row : table) {
        char* formatted = format_phone(row.in);
        EXPECT_STREQ(formatted ? formatted : "(none)", row.out) << (row.in ? row.in : "(null)");
        engine_release(formatted);
    }
}

TEST(Barcode, PacksTheDigitsOfTheIdInPairs)
{
    auto barcode = [](const char* id) {
        uint32_t length = 0;
        uint8_t* bytes = barcode_bytes(id, &length);
        Bytes out(bytes, bytes + length);
        engine_release(bytes);
        return out;
    };
    const Bytes setup = {0x1D, 0x68, 0x60, 0x1D, 0x77, 0x02, 0x1D, 0x6B, 0x49};
    // An odd count: the first digit alone, then pairs 23 and 45; P = 3, so the length byte is 5.
    EXPECT_BYTES(cat({setup, {0x05, 0x7B, 0x43, 0x01, 0x17, 0x2D}, "12345"}), barcode("12345"));
    EXPECT_BYTES(cat({setup, {0x04, 0x7B, 0x43, 0x63, 0x00}, "9900"}), barcode("9900"));
    EXPECT_BYTES(cat({setup, {0x02, 0x7B, 0x43}}), barcode(""));
}

}  // namespace
