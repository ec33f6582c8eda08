// The order receipt: copies, the title and cut lines, item columns, amounts, the customer block by order
// kind, phones and the barcode.

#include "byte_test_support.h"
#include "order_test_support.h"

#include "order_layout_p.h"
#include "utility_p.h"

#include <cstring>

using namespace engine_test;

namespace {

const char kCut[] = "\x1D\x56\x31";
const char kGroups[] =
    R"("groups":[{"name":"热菜","type":"normal","items":[{"name":"回锅肉","price":38,"quantity":1}]}])";

class OrderLayout : public ::testing::Test {
protected:
    static void SetUpTestSuite() { setTimeZone("Asia/Shanghai"); }

    // Lays out a parsed order; the code goes to code_.
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

    // An online order with the given detail groups and general members.
    Bytes online(const std::string& groups, const std::string& general = R"("daySn":7)",
                 const char* settings = kSettings58, const std::string& consignee = R"({"name":"王女士"})")
    {
        return layout(ParsedOrder(ParsedOrder::Online,
                                  R"({"id":"12345","general":{)" + general + R"(},"consignee":)" + consignee +
                                      R"(,"detail":{"accounting":{"receipt":140},"groups":[)" + groups + "]}}",
                                  settings));
    }

    EngineError code_ = ENGINE_OK;
};

const char kOneDish[] = R"({"name":"热菜","type":"normal","items":[{"name":"回锅肉","price":38,"quantity":1}]})";

TEST_F(OrderLayout, EachCopyIsHeadBodyTailFeedAndCut)
{
    const Bytes once = online(kOneDish);
    ASSERT_EQ(code_, ENGINE_OK);
    // "#7" double size (4 columns) and "Zhevo订单" (9): pad 19, eight asterisks and a space on the left.
    const Bytes head = cat({repeat('*', 8), " ", run("#7", 6), run("Zhevo订单", 1), " ", repeat('*', 9), {0x0A}});
    const Bytes tail = cat({repeat('*', 12), " ", run("#7", 6), run("完", 1), " ", repeat('*', 12), {0x0A}});
    const Bytes feedAndCut = cat({repeat(0x0A, 5), align(0), run(kCut, 1), spaces(29), {0x0A}});
    ASSERT_GT(once.size(), head.size() + tail.size() + feedAndCut.size());
    EXPECT_BYTES(head, Bytes(once.begin(), once.begin() + head.size()));
    EXPECT_BYTES(cat({tail, feedAndCut}), Bytes(once.end() - tail.size() - feedAndCut.size(), once.end()));

    const char twoCopies[] =
        R"({"width":"58mm","style":"normal","lines_between_copies":"middle","number_of_copies":2})";
    EXPECT_BYTES(cat({once, once}), online(kOneDish, R"("daySn":7)", twoCopies));
}

TEST_F(OrderLayout, NoCopiesGiveAnEmptyReceipt)
{
    for (const char* copies : {"0", "-1"}) {
        const std::string settings =
            std::string(R"({"width":"58mm","style":"normal","lines_between_copies":"x","number_of_copies":)") + copies +
            "}";
        EXPECT_TRUE(online(kOneDish, R"("daySn":7)", settings.c_str()).empty());
        EXPECT_EQ(code_, ENGINE_OK);
    }
}

TEST_F(OrderLayout, FeedBetweenCopiesFollowsTheSpacingName)
{
    EXPECT_EQ(copy_feed_lines("small"), 3);
    EXPECT_EQ(copy_feed_lines("middle"), 5);
    EXPECT_EQ(copy_feed_lines("large"), 7);
    EXPECT_EQ(copy_feed_lines("1"), 5);
    EXPECT_EQ(copy_feed_lines(nullptr), 5);
    const char small[] = R"({"width":"58mm","style":"normal","lines_between_copies":"small","number_of_copies":1})";
    const Bytes out = online(kOneDish, R"("daySn":7)", small);
    // The end line's own line feed, then three.
    EXPECT_CONTAINS_BYTES(out, cat({"*", repeat(0x0A, 4), align(0), run(kCut, 1)}));
}

TEST_F(OrderLayout, ItemLinesPutQuantityAndPriceInColumns)
{
    const Bytes out = online(R"({"name":"热菜","type":"normal","items":[
        {"name":"面","price":12.5,"quantity":2},{"name":"汤","price":3.3,"quantity":1},
        {"name":"茶","price":2,"quantity":3,"displayQuantity":false}]})");
    ASSERT_EQ(code_, ENGINE_OK);
    // Name, spaces, "x2 ", the price right-aligned in 7 columns: 2 + 20 + 3 + 5 + 2 = 32.
    EXPECT_CONTAINS_BYTES(
        out, cat({run(("面" + std::string(20, ' ') + "x2 " + std::string(5, ' ') + "25").c_str(), 4), {0x0A}}));
    EXPECT_CONTAINS_BYTES(
        out, cat({run(("汤" + std::string(20, ' ') + "x1 " + std::string(3, ' ') + "3.30").c_str(), 4), {0x0A}}));
    // Without the quantity a single space stands in its place.
    EXPECT_CONTAINS_BYTES(
        out, cat({run(("茶" + std::string(22, ' ') + " " + std::string(6, ' ') + "6").c_str(), 4), {0x0A}}));
}

TEST_F(OrderLayout, LongNamesTakeALineOfTheirOwn)
{
    const Bytes out = online(R"({"name":"热菜","type":"normal","items":[
        {"name":"ABCDEFGHIJKLMNOPQRST","price":1,"quantity":1},{"name":"ABCDEFGHIJKLMNOPQRSTU","price":1,"quantity":1}]})");
    // A width of 20 columns still fits on 58mm paper.
    EXPECT_CONTAINS_BYTES(out, cat({run("ABCDEFGHIJKLMNOPQRST  x1       1", 4), {0x0A}}));
    // 21 columns: the name alone, padded, then quantity and price below.
    EXPECT_CONTAINS_BYTES(out, cat({run("ABCDEFGHIJKLMNOPQRSTU", 4),
                                    spaces(11),
                                    {0x0A},
                                    run((std::string(22, ' ') + "x1       1").c_str(), 4),
                                    {0x0A}}));
}

TEST_F(OrderLayout, AdditionsFollowTheirItemMarked)
{
    const Bytes out = online(R"({"name":"热菜","type":"normal","items":[
        {"name":"面","price":10,"quantity":1,"additions":[{"name":"加蛋","price":2,"quantity":2}]},{"name":"汤","price":1,"quantity":1}]})");
    const Bytes item = cat({run(("面" + std::string(20, ' ') + "x1      10").c_str(), 4), {0x0A}});
    const Bytes addition = cat({run(("(+)加蛋" + std::string(15, ' ') + "x2       4").c_str(), 4), {0x0A}});
    const Bytes next = cat({run(("汤" + std::string(20, ' ') + "x1       1").c_str(), 4), {0x0A}});
    EXPECT_CONTAINS_BYTES(out, cat({item, addition, next}));
}

TEST_F(OrderLayout, GroupsPrintBetweenDashesAndDiscountGroupsInsideTheExtraGroup)
{
    const Bytes out = online(
        std::string(kOneDish) +
        R"(,{"name":"优惠","type":"discount","items":[{"name":"立减","price":-5,"quantity":1,"displayQuantity":false}]})");
    // "热菜" (4 columns) centred in 32: 13 dashes, a space; a space, 13 dashes.
    EXPECT_CONTAINS_BYTES(out, cat({repeat('-', 13), " ", run("热菜", 1), " ", repeat('-', 13), {0x0A}}));
    EXPECT_LACKS_BYTES(out, run("优惠", 1));
    EXPECT_CONTAINS_BYTES(out, cat({repeat('-', 13),
                                    " ",
                                    run("其他", 1),
                                    " ",
                                    repeat('-', 13),
                                    {0x0A},
                                    run(("立减" + std::string(21, ' ') + std::string(5, ' ') + "-5").c_str(), 1),
                                    {0x0A}}));
}

TEST_F(OrderLayout, AmountLineSpreadsLabelAndReceipt)
{
    const Bytes paid = online(kOneDish, R"("daySn":7,"payment":"online")");
    // "已付" and "￥140" are 18 columns at double width: 14 plain spaces between them; then a blank line.
    EXPECT_CONTAINS_BYTES(paid, cat({repeat('-', 32),
                                     kReset,
                                     {0x0A},
                                     align(0),
                                     run("已付", 6),
                                     run(std::string(14, ' ').c_str(), 1),
                                     run("￥140", 6),
                                     {0x0A},
                                     align(0),
                                     kReset,
                                     spaces(32),
                                     {0x0A}}));
    EXPECT_CONTAINS_BYTES(paid, run("--已在线支付--", 6));
    const Bytes unpaid = online(kOneDish, R"("daySn":7,"payment":"cash")");
    EXPECT_CONTAINS_BYTES(unpaid, run("应付", 6));
    EXPECT_CONTAINS_BYTES(unpaid, run("--客户未付款--", 6));
}

TEST_F(OrderLayout, BookedRemarkAndTimeLinesAppearWhenGiven)
{
    const Bytes out = online(
        kOneDish, R"("daySn":7,"createdTime":1710474138,"isBooked":true,"bookedTime":1710477000,"remark":"少放辣")");
    EXPECT_CONTAINS_BYTES(out, run("预订12:30送达", 6));
    EXPECT_CONTAINS_BYTES(out, cat({run("[下单时间] 03-15 11:42", 1), spaces(10), {0x0A}}));
    EXPECT_CONTAINS_BYTES(out, cat({run("[备注] ", 1), run("少放辣", 4), spaces(19), {0x0A}}));
    const Bytes plain = online(kOneDish, R"("daySn":7,"isBooked":false,"remark":"")");
    EXPECT_LACKS_BYTES(plain, Bytes({0xE9, 0xA2, 0x84, 0xE8, 0xAE, 0xA2}));  // "预订"
    EXPECT_LACKS_BYTES(plain, Bytes({'[', 0xE5, 0xA4, 0x87}));               // "[备"
}

TEST_F(OrderLayout, OnlineCustomerBlockHasAddressNameAndPhones)
{
    const Bytes out = online(kOneDish, R"("daySn":7)", kSettings58,
                             R"({"name":"王女士","address":"科华北路62号","phones":["","13812345678"]})");
    EXPECT_CONTAINS_BYTES(out, cat({run("科华北路62号", 6),
                                    spaces(8),
                                    {0x0A},
                                    align(0),
                                    run("王女士", 6),
                                    spaces(20),
                                    {0x0A},
                                    run("138-1234-5678", 6),
                                    spaces(6),
                                    {0x0A},
                                    align(0),
                                    kReset,
                                    spaces(32),
                                    {0x0A}}));
}

TEST_F(OrderLayout, DineBlockPrintsTableAndPeopleOnTheFollowingLine)
{
    ParsedOrder dine(ParsedOrder::Local, R"({"id":"2","general":{"localOrderType":"dine","daySn":3},
        "table":{"number":"A08","peopleCount":4},"customer":{"name":"李先生","address":"玉林"},
        "detail":{"accounting":{"receipt":12},)" +
                                             std::string(kGroups) + "}}");
    const Bytes out = layout(dine);
    ASSERT_EQ(code_, ENGINE_OK);
    EXPECT_CONTAINS_BYTES(
        out,
        cat({run("桌号  A08", 6), spaces(14), {0x0A}, run("人数  ", 6), spaces(20), run("4", 6), spaces(30), {0x0A}}));
    EXPECT_LACKS_BYTES(out, run("李先生", 6));
    EXPECT_CONTAINS_BYTES(out, run("应付", 6));
    EXPECT_CONTAINS_BYTES(out, run("--客户未付款--", 6));
}

TEST_F(OrderLayout, UnknownKindsPrintNoCustomer)
{
    ParsedOrder takeaway(ParsedOrder::Local, R"({"id":"2","general":{"localOrderType":"takeaway"},
        "customer":{"name":"李先生","address":"玉林","phone":"13987654321"},"detail":{"accounting":{},)" +
                                                 std::string(kGroups) + "}}");
    const Bytes out = layout(takeaway);
    ASSERT_EQ(code_, ENGINE_OK);
    EXPECT_LACKS_BYTES(out, run("玉林", 6));
    EXPECT_LACKS_BYTES(out, run("李先生", 6));
}

TEST_F(OrderLayout, BarcodeLineFollowsTheCustomerWhenEnabled)
{
    const char withBarcode[] =
        R"({"width":"58mm","style":"normal","lines_between_copies":"middle","number_of_copies":1,"isPrintBarcodeEnabled":true})";
    const Bytes out = online(kOneDish, R"("daySn":7)", withBarcode);
    const Bytes barcode = {0x1D, 0x68, 0x60, 0x1D, 0x77, 0x02, 0x1D, 0x6B, 0x49, 0x05,
                           0x7B, 0x43, 0x01, 0x17, 0x2D, '1',  '2',  '3',  '4',  '5'};
    EXPECT_CONTAINS_BYTES(
        out, cat({align(1), stylePrefix(1), barcode, kReset, {0x0A}, align(0), run("", 1), spaces(32), {0x0A}}));
    EXPECT_LACKS_BYTES(online(kOneDish), Bytes({0x1D, 0x6B}));
}

TEST_F(OrderLayout, SmallStyleKeepsTheCustomerLarge)
{
    OrderStyleTable table = order_style_table("normal");
    EXPECT_EQ(table.slot[ORDER_SLOT_SERIAL], 6);
    EXPECT_EQ(table.slot[ORDER_SLOT_RESTAURANT], 8);
    EXPECT_EQ(table.slot[ORDER_SLOT_ITEM], 4);
    EXPECT_EQ(table.slot[ORDER_SLOT_EXTRA_ITEM], 1);
    table = order_style_table("small");
    EXPECT_EQ(table.slot[ORDER_SLOT_SERIAL], 1);
    EXPECT_EQ(table.slot[ORDER_SLOT_ITEM], 1);
    EXPECT_EQ(table.slot[ORDER_SLOT_CUSTOMER_NAME], 6);
    EXPECT_EQ(table.slot[ORDER_SLOT_CUSTOMER_PLACE], 6);
    table = order_style_table("large");
    for (int slot = 0; slot < ORDER_STYLE_SLOTS; slot++)
        EXPECT_EQ(table.slot[slot], 0) << slot;
}

TEST_F(OrderLayout, AnyOtherStylePrintsWithoutStyleCommands)
{
    ParsedOrder parsed(ParsedOrder::Online,
                       R"({"id":"1","general":{"daySn":7},"consignee":{},"detail":{"accounting":{},)" +
                           std::string(kGroups) + "}}");
    ASSERT_EQ(parsed.code, ENGINE_OK);
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
    ParsedOrder parsed(ParsedOrder::Online, R"({"id":"1","general":{},"consignee":{},"detail":{"accounting":{},)" +
                                                std::string(kGroups) + "}}");
    ASSERT_TRUE(engine_strdup(&parsed.document->printSettings->width, "76mm"));
    EXPECT_TRUE(layout(parsed).empty());
    EXPECT_EQ(code_, ENGINE_ERROR_PAPER_WIDTH);
    ParsedOrder incomplete(ParsedOrder::Online, R"({"id":"1","general":{},"consignee":{}})");
    EXPECT_TRUE(layout(incomplete).empty());
    EXPECT_EQ(code_, ENGINE_ERROR_INVALID_INPUT);
}

std::string phone(const char* text)
{
    char* formatted = format_phone(text);
    std::string out = formatted ? formatted : "(none)";
    engine_release(formatted);
    return out;
}

TEST(PhoneFormat, DashesMobileFixedAndInternationalNumbers)
{
    EXPECT_EQ(phone("13812345678"), "138-1234-5678");
    EXPECT_EQ(phone("02112345678"), "021-1234-5678");
    EXPECT_EQ(phone("057112345678"), "0571-1234-5678");
    EXPECT_EQ(phone("+8613812345678"), "+86-13812345678");
    EXPECT_EQ(phone("138-1234-5678"), "138-1234-5678");
    EXPECT_EQ(phone("138-1234567"), "138-123-4567");  // 11 characters: only the missing dash is added
    EXPECT_EQ(phone("0211234"), "021-1234");          // no character at position 7
    EXPECT_EQ(phone("+86-1381234"), "+86-1381234");
    EXPECT_EQ(phone("95588"), "95588");
    EXPECT_EQ(phone(""), "(none)");
    EXPECT_EQ(phone(nullptr), "(none)");
}

Bytes barcode(const char* id)
{
    uint32_t length = 0;
    uint8_t* bytes = barcode_bytes(id, &length);
    Bytes out(bytes, bytes + length);
    engine_release(bytes);
    return out;
}

TEST(Barcode, PacksTheDigitsOfTheIdInPairs)
{
    const Bytes setup = {0x1D, 0x68, 0x60, 0x1D, 0x77, 0x02, 0x1D, 0x6B, 0x49};
    // An odd count: the first digit alone, then pairs 23 and 45; P = 3, so the length byte is 5.
    EXPECT_BYTES(cat({setup, {0x05, 0x7B, 0x43, 0x01, 0x17, 0x2D}, "12345"}), barcode("12345"));
    EXPECT_BYTES(cat({setup, {0x04, 0x7B, 0x43, 0x63, 0x00}, "9900"}), barcode("9900"));
    EXPECT_BYTES(cat({setup, {0x02, 0x7B, 0x43}}), barcode(""));
}

}  // namespace
