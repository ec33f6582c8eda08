// Order texts into order documents: keys given twice, values of the wrong kind, the reader codes and the
// completeness test. Plain field reading and the discount merge are shown by the golden receipts.

#include "byte_test_support.h"
#include "order_test_support.h"

#include <climits>

using namespace engine_test;
using Names = std::vector<std::string>;

namespace {

const char kGroups[] =
    R"("groups":[{"name":"热菜","type":"normal","items":[{"name":"回锅肉","price":38,"quantity":1}]}])";

std::string onlineOrder(const std::string& members)
{
    return "{\"id\":\"1001\"," + members + "}";
}

TEST(OrderParser, KeysGivenTwiceKeepTheLaterValue)
{
    ParsedOrder p(ParsedOrder::Online, onlineOrder(R"("id":"1002",
        "general":{"daySn":1,"remark":"一"},"general":{"daySn":2},"user":{"name":"甲","address":"一"},
        "consignee":{"name":"乙"},"detail":{"groups":[{"name":"a","items":[{"name":"x"}]}],
                  "groups":[{"name":"b","items":[{"name":"x","name":"y","name":3}]}]})"));
    ASSERT_EQ(p.code, ENGINE_OK);
    EXPECT_STREQ(p.order()->id, "1002");
    EXPECT_EQ(p.order()->general->daySn, 2);
    EXPECT_EQ(p.order()->general->remark, nullptr);
    // "user" and "consignee" fill the same record: the later one replaces it whole.
    EXPECT_STREQ(p.order()->consignee->name, "乙");
    EXPECT_EQ(p.order()->consignee->address, nullptr);
    EXPECT_STREQ(p.group(0)->name, "b");
    EXPECT_EQ(p.group(1), nullptr);
    // A number where a string belongs copies nothing and leaves the earlier string.
    EXPECT_EQ(itemNames(p.group(0)->items), (Names{"y"}));
}

TEST(OrderParser, ValuesOfTheWrongKindGiveZeroOrNullAndNumbersSaturate)
{
    ParsedOrder p(ParsedOrder::Local, R"({"id":7,"general":{"localOrderType":"dine","daySn":"17","createdTime":"now"},
        "table":{"number":8,"peopleCount":"4"},"customer":{"phone":13987654321},"detail":[1,2]})");
    ASSERT_EQ(p.code, ENGINE_OK);
    EXPECT_EQ(p.order()->id, nullptr);
    EXPECT_EQ(p.order()->general->daySn, 0);
    EXPECT_EQ(p.order()->general->createdTime, 0);
    EXPECT_EQ(p.order()->consignee->tableNumber, nullptr);
    EXPECT_EQ(p.order()->consignee->peopleCount, 0);
    EXPECT_EQ(p.order()->consignee->phones, nullptr);
    EXPECT_EQ(p.group(0), nullptr);

    ParsedOrder big(ParsedOrder::Online,
                    onlineOrder(R"("general":{"createdTime":1e300,"bookedTime":-1e300,"daySn":-1e12})"));
    ASSERT_EQ(big.code, ENGINE_OK);
    EXPECT_EQ(big.order()->general->createdTime, INT64_MAX);
    EXPECT_EQ(big.order()->general->bookedTime, INT64_MIN);
    EXPECT_EQ(big.order()->general->daySn, INT_MIN);
}

TEST(OrderParser, FlagsStoreTheTypeTag)
{
    const char* values[] = {"false", "true", "null", "1", "\"yes\"", "[]", "{}"};
    for (int tag = 0; tag < 7; tag++) {
        ParsedOrder p(ParsedOrder::Online, onlineOrder(std::string(R"("general":{"isBooked":)") + values[tag] + "}"));
        EXPECT_EQ(p.order()->general->isBooked, tag) << values[tag];
    }
}

TEST(OrderParser, EachSectionReaderNamesWhatItMissed)
{
    Order* order = nullptr;
    OrderGeneral* general = nullptr;
    Consignee* consignee = nullptr;
    OrderDetail* detail = nullptr;
    Accounting* accounting = nullptr;
    ItemGroup* group = nullptr;
    OrderItem* item = nullptr;
    Restaurant* restaurant = nullptr;
    EXPECT_EQ(read_online_order(&order, nullptr), ENGINE_ERROR_ORDER_OBJECT);
    EXPECT_EQ(read_local_order(nullptr, nullptr), ENGINE_ERROR_ORDER_OBJECT);
    EXPECT_EQ(read_online_general(&general, nullptr), ENGINE_ERROR_GENERAL_SECTION);
    EXPECT_EQ(read_local_general(&general, nullptr), ENGINE_ERROR_GENERAL_SECTION);
    EXPECT_EQ(read_online_consignee(&consignee, nullptr), ENGINE_ERROR_CONSIGNEE_SECTION);
    EXPECT_EQ(read_local_consignee(&consignee, nullptr), ENGINE_ERROR_CONSIGNEE_SECTION);
    EXPECT_EQ(read_detail(&detail, nullptr), ENGINE_ERROR_DETAIL_SECTION);
    EXPECT_EQ(read_accounting(&accounting, nullptr), ENGINE_ERROR_DETAIL_SECTION);
    EXPECT_EQ(read_item_group(&group, nullptr), ENGINE_ERROR_GROUP_SECTION);
    EXPECT_EQ(read_item(&item, nullptr), ENGINE_ERROR_ITEM_SECTION);
    EXPECT_EQ(parse_restaurant(&restaurant, nullptr), ENGINE_ERROR_RESTAURANT_JSON);
    EXPECT_EQ(merge_into_extra_group(nullptr, nullptr), ENGINE_OK);
}

TEST(OrderCompleteness, AsksForTheEssentialsInTheFirstGroupAndItem)
{
    const std::string groups = kGroups;
    auto withGroups = [](const std::string& list) {
        return R"({"id":"1","general":{},"consignee":{},"detail":{"accounting":{},"groups":[)" + list + "]}}";
    };
    const std::string complete = R"({"id":"1","general":{},"consignee":{},"detail":{"accounting":{},)" + groups + "}}";
    const struct {
        ParsedOrder::Kind kind;
        std::string order;
        const char* settings;
        const char* restaurant;
        bool complete;
    } table[] = {
        {ParsedOrder::Online, complete, kSettings58, kRestaurant, true},
        {ParsedOrder::Online, complete, kSettings58, "{}", false},  // no restaurant name
        {ParsedOrder::Online, complete, R"({"width":"58mm","style":"normal"})", kRestaurant, false},
        {ParsedOrder::Online, R"({"general":{},"consignee":{},"detail":{"accounting":{},)" + groups + "}}",
         kSettings58, kRestaurant, false},
        {ParsedOrder::Online, R"({"id":"1","general":{},"detail":{"accounting":{},)" + groups + "}}", kSettings58,
         kRestaurant, false},
        {ParsedOrder::Online, R"({"id":"1","general":{},"consignee":{},"detail":{)" + groups + "}}", kSettings58,
         kRestaurant, false},
        // A local order without "localOrderType" has no kind.
        {ParsedOrder::Local, R"({"id":"1","general":{},"detail":{"accounting":{},)" + groups + "}}", kSettings58,
         kRestaurant, false},
        // Only the first group and its first item are looked at.
        {ParsedOrder::Online,
         withGroups(R"({"name":"a","type":"t","items":[]},{"name":"b","type":"t","items":[{"name":"x"}]})"),
         kSettings58, kRestaurant, false},
        {ParsedOrder::Online, withGroups(R"({"type":"t","items":[{"name":"x"}]})"), kSettings58, kRestaurant, false},
        {ParsedOrder::Online, withGroups(R"({"name":"a","type":"t","items":[{"price":1},{"name":"x"}]})"),
         kSettings58, kRestaurant, false},
        {ParsedOrder::Online, withGroups(R"({"name":"a","type":"t","items":[{"name":"x"},{}]},{})"), kSettings58,
         kRestaurant, true},
    };
    for (const auto& row : table) {
        ParsedOrder parsed(row.kind, row.order, row.settings, row.restaurant);
        EXPECT_EQ(bool(order_document_is_complete(parsed.document)), row.complete) << row.order << row.settings;
    }
    for (const char* kind : {"waimai", "dine", "phone"})
        EXPECT_TRUE(is_known_order_kind(kind)) << kind;
    for (const char* kind : {"Dine", "", static_cast<const char*>(nullptr)})
        EXPECT_FALSE(is_known_order_kind(kind));
}

}  // namespace
