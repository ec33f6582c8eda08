// Order texts into order documents: which fields are read how, the discount merge, keys given twice, and
// the completeness test.

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

TEST(OrderParser, ReadsAnOnlineOrder)
{
    ParsedOrder p(ParsedOrder::Online, onlineOrder(R"(
        "general":{"daySn":17,"createdTime":1710474138.9,"payment":"online","isBooked":true,"bookedTime":1710477000,
                   "remark":"少放辣","isInvoiced":false,"invoiceTitle":"云帆"},
        "consignee":{"name":"王女士","phones":["13812345678",5,"02885561234"],"address":"科华北路","isFollower":true},
        "detail":{"accounting":{"receivable":160.5,"discount":20,"receipt":140.5},)" +
                                                   std::string(kGroups) + "}"));
    ASSERT_EQ(p.code, ENGINE_OK);
    const Order* order = p.order();
    EXPECT_STREQ(order->id, "1001");
    EXPECT_STREQ(order->general->kind, "waimai");
    EXPECT_EQ(order->general->daySn, 17);
    EXPECT_EQ(order->general->createdTime, 1710474138);
    EXPECT_STREQ(order->general->payment, "online");
    EXPECT_EQ(order->general->isBooked, 1);
    EXPECT_EQ(order->general->bookedTime, 1710477000);
    EXPECT_STREQ(order->general->remark, "少放辣");
    EXPECT_EQ(order->general->isInvoiced, 0);
    EXPECT_STREQ(order->general->invoiceTitle, "云帆");
    EXPECT_STREQ(order->consignee->name, "王女士");
    ASSERT_NE(order->consignee->phones, nullptr);  // the number 5 is no phone
    EXPECT_STREQ(order->consignee->phones->number, "13812345678");
    ASSERT_NE(order->consignee->phones->next, nullptr);
    EXPECT_STREQ(order->consignee->phones->next->number, "02885561234");
    EXPECT_EQ(order->consignee->phones->next->next, nullptr);
    EXPECT_EQ(order->consignee->isFollower, 1);
    EXPECT_FLOAT_EQ(order->detail->accounting->receivable, 160.5f);
    EXPECT_FLOAT_EQ(order->detail->accounting->receipt, 140.5f);
    EXPECT_TRUE(order_document_is_complete(p.document));
}

TEST(OrderParser, ReadsALocalOrderWithItsCustomerAndTable)
{
    ParsedOrder p(ParsedOrder::Local, R"({"id":"2001",
        "general":{"localOrderType":"dine","daySn":23,"payment":"online","isBooked":true,"remark":"儿童餐具"},
        "customer":{"name":"李先生","phone":"13987654321","address":"玉林南路"},
        "table":{"number":"A08","peopleCount":4},
        "detail":{"accounting":{"receipt":128},)" +
                                          std::string(kGroups) + "}}");
    ASSERT_EQ(p.code, ENGINE_OK);
    const Order* order = p.order();
    EXPECT_STREQ(order->general->kind, "dine");
    EXPECT_EQ(order->general->payment, nullptr);  // local orders have no payment or booking
    EXPECT_EQ(order->general->isBooked, 0);
    EXPECT_STREQ(order->consignee->name, "李先生");
    ASSERT_NE(order->consignee->phones, nullptr);
    EXPECT_STREQ(order->consignee->phones->number, "13987654321");
    EXPECT_EQ(order->consignee->phones->next, nullptr);
    EXPECT_STREQ(order->consignee->tableNumber, "A08");
    EXPECT_EQ(order->consignee->peopleCount, 4);
    EXPECT_TRUE(order_document_is_complete(p.document));
}

TEST(OrderParser, ItemsShowTheirQuantityUnlessToldOtherwise)
{
    ParsedOrder p(ParsedOrder::Online, onlineOrder(R"("detail":{"groups":[{"name":"g","type":"normal","items":[
        {"name":"a"},{"name":"b","displayQuantity":false},{"name":"c","displayQuantity":null},
        {"name":"d","price":12.5,"quantity":2,"additions":[{"name":"d1","additions":[{"name":"d11"}]},{"name":"d2"}]}]}]})"));
    ASSERT_EQ(p.code, ENGINE_OK);
    const OrderItem* a = p.group(0)->items;
    EXPECT_EQ(a->displayQuantity, 1);
    EXPECT_EQ(a->next->displayQuantity, 0);
    EXPECT_EQ(a->next->next->displayQuantity, 2);  // the type tag of null
    const OrderItem* d = a->next->next->next;
    EXPECT_FLOAT_EQ(d->price, 12.5f);
    EXPECT_EQ(d->quantity, 2);
    EXPECT_EQ(itemNames(d->additions), (Names{"d1", "d2"}));
    EXPECT_EQ(itemNames(d->additions->additions), (Names{"d11"}));
}

TEST(OrderParser, DiscountLinesMoveToANewExtraGroupAtTheEnd)
{
    ParsedOrder p(ParsedOrder::Online, onlineOrder(R"("detail":{"groups":[
        {"name":"热菜","type":"normal","items":[{"name":"回锅肉"}]},
        {"name":"优惠","type":"discount","items":[{"name":"满100减15"},{"name":"折扣"}]},
        {"name":"主食","type":"normal","items":[{"name":"米饭"}]}]})"));
    ASSERT_EQ(p.code, ENGINE_OK);
    EXPECT_STREQ(p.group(1)->type, "discount");
    EXPECT_EQ(p.group(1)->items, nullptr);  // stays in place, empty
    const ItemGroup* extra = p.group(3);
    ASSERT_NE(extra, nullptr);
    EXPECT_STREQ(extra->name, "其他");
    EXPECT_STREQ(extra->type, "extra");
    EXPECT_EQ(itemNames(extra->items), (Names{"满100减15", "折扣"}));
    EXPECT_EQ(extra->next, nullptr);
}

TEST(OrderParser, AllDiscountLinesFollowTheExtraGroupsOwnItems)
{
    // "misc" comes first in the text, but its lines are merged after the whole order was read.
    ParsedOrder p(ParsedOrder::Online, onlineOrder(R"(
        "misc":{"other":1,"discountGroup":{"name":"平台补贴","type":"discount","items":[{"name":"新用户立减"}]}},
        "detail":{"groups":[
          {"name":"其他","type":"extra","items":[{"name":"餐盒费"}]},
          {"name":"优惠","type":"discount","items":[{"name":"满100减15"}]}]})"));
    ASSERT_EQ(p.code, ENGINE_OK);
    EXPECT_EQ(itemNames(p.group(0)->items), (Names{"餐盒费", "满100减15", "新用户立减"}));
    EXPECT_EQ(p.group(2), nullptr);
}

TEST(OrderParser, MiscDiscountsMakeTheOnlyGroupOfAnEmptyList)
{
    ParsedOrder p(ParsedOrder::Online, onlineOrder(R"("detail":{"groups":[]},
        "misc":{"discountGroup":{"name":"x","type":"discount","items":[{"name":"立减"}]}})"));
    ASSERT_EQ(p.code, ENGINE_OK);
    ASSERT_NE(p.group(0), nullptr);
    EXPECT_STREQ(p.group(0)->type, "extra");
    EXPECT_EQ(itemNames(p.group(0)->items), (Names{"立减"}));
    // Without a detail the misc lines have nowhere to go and are dropped.
    ParsedOrder noDetail(ParsedOrder::Online, onlineOrder(R"("misc":{"discountGroup":{"items":[{"name":"立减"}]}})"));
    EXPECT_EQ(noDetail.code, ENGINE_OK);
    EXPECT_EQ(noDetail.order()->detail, nullptr);
}

TEST(OrderParser, LaterConsigneeOrUserWins)
{
    ParsedOrder consigneeLast(ParsedOrder::Online,
                              onlineOrder(R"("user":{"name":"甲","address":"一"},"consignee":{"name":"乙"})"));
    EXPECT_STREQ(consigneeLast.order()->consignee->name, "乙");
    EXPECT_EQ(consigneeLast.order()->consignee->address, nullptr);  // the whole record was replaced
    ParsedOrder userLast(ParsedOrder::Online, onlineOrder(R"("consignee":{"name":"乙"},"user":{"name":"甲"})"));
    EXPECT_STREQ(userLast.order()->consignee->name, "甲");
}

TEST(OrderParser, KeysGivenTwiceKeepTheLaterValue)
{
    ParsedOrder p(ParsedOrder::Online, onlineOrder(R"("id":"1002",
        "general":{"daySn":1,"remark":"一"},"general":{"daySn":2},
        "detail":{"groups":[{"name":"a","items":[{"name":"x","name":"y","name":3}]}],
                  "groups":[{"name":"b","items":[{"name":"z"}]}]})"));
    ASSERT_EQ(p.code, ENGINE_OK);
    EXPECT_STREQ(p.order()->id, "1002");
    EXPECT_EQ(p.order()->general->daySn, 2);
    EXPECT_EQ(p.order()->general->remark, nullptr);
    EXPECT_STREQ(p.group(0)->name, "b");
    EXPECT_EQ(p.group(1), nullptr);
    // A number where a string belongs copies nothing and leaves the earlier string.
    ParsedOrder names(ParsedOrder::Online,
                      onlineOrder(R"("detail":{"groups":[{"items":[{"name":"x","name":"y","name":3}]}]})"));
    EXPECT_EQ(itemNames(names.group(0)->items), (Names{"y"}));
}

TEST(OrderParser, ValuesOfTheWrongKindGiveZeroOrNull)
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
}

TEST(OrderParser, TimesAndIntegersSaturate)
{
    ParsedOrder p(ParsedOrder::Online,
                  onlineOrder(R"("general":{"createdTime":1e300,"bookedTime":-1e300,"daySn":-1e12})"));
    ASSERT_EQ(p.code, ENGINE_OK);
    EXPECT_EQ(p.order()->general->createdTime, INT64_MAX);
    EXPECT_EQ(p.order()->general->bookedTime, INT64_MIN);
    EXPECT_EQ(p.order()->general->daySn, INT_MIN);
}

TEST(OrderParser, FlagsStoreTheTypeTag)
{
    const char* values[] = {"false", "true", "null", "1", "\"yes\"", "[]", "{}"};
    for (int tag = 0; tag < 7; tag++) {
        ParsedOrder p(ParsedOrder::Online, onlineOrder(std::string(R"("general":{"isBooked":)") + values[tag] + "}"));
        EXPECT_EQ(p.order()->general->isBooked, tag) << values[tag];
    }
}

TEST(OrderParser, ReportsTextsThatDoNotParse)
{
    OrderDocument* document = nullptr;
    EXPECT_EQ(parse_online_order(&document, "{", "{}", kSettings58), ENGINE_ERROR_RESTAURANT_JSON);
    EXPECT_EQ(parse_online_order(&document, kRestaurant, "{\"id\":", kSettings58), ENGINE_ERROR_ORDER_JSON);
    EXPECT_EQ(parse_local_order(&document, kRestaurant, "{}", "[1,]"), ENGINE_ERROR_SETTINGS_JSON);
    EXPECT_EQ(parse_local_order(&document, kRestaurant, nullptr, kSettings58), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(document, nullptr);
}

TEST(OrderParser, SectionReadersNameWhatTheyMissed)
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

TEST(OrderCompleteness, AsksForTheEssentials)
{
    const std::string complete =
        R"({"id":"1","general":{},"consignee":{},"detail":{"accounting":{},)" + std::string(kGroups) + "}}";
    EXPECT_TRUE(order_document_is_complete(ParsedOrder(ParsedOrder::Online, complete).document));
    // Each essential taken away in turn.
    EXPECT_FALSE(order_document_is_complete(ParsedOrder(ParsedOrder::Online, complete, kSettings58, "{}").document));
    EXPECT_FALSE(order_document_is_complete(
        ParsedOrder(ParsedOrder::Online,
                    R"({"general":{},"consignee":{},"detail":{"accounting":{},)" + std::string(kGroups) + "}}")
            .document));
    EXPECT_FALSE(order_document_is_complete(
        ParsedOrder(ParsedOrder::Online,
                    R"({"id":"1","general":{},"detail":{"accounting":{},)" + std::string(kGroups) + "}}")
            .document));
    EXPECT_FALSE(order_document_is_complete(
        ParsedOrder(ParsedOrder::Online,
                    R"({"id":"1","general":{},"consignee":{},"detail":{)" + std::string(kGroups) + "}}")
            .document));
    EXPECT_FALSE(order_document_is_complete(
        ParsedOrder(ParsedOrder::Online, complete, R"({"width":"58mm","style":"normal"})").document));
    // A local order without "localOrderType" has no kind.
    EXPECT_FALSE(order_document_is_complete(
        ParsedOrder(ParsedOrder::Local,
                    R"({"id":"1","general":{},"detail":{"accounting":{},)" + std::string(kGroups) + "}}")
            .document));
}

TEST(OrderCompleteness, LooksOnlyAtTheFirstGroupAndItsFirstItem)
{
    auto detailWith = [](const std::string& groups) {
        return R"({"id":"1","general":{},"consignee":{},"detail":{"accounting":{},"groups":[)" + groups + "]}}";
    };
    EXPECT_FALSE(order_document_is_complete(
        ParsedOrder(ParsedOrder::Online,
                    detailWith(R"({"name":"a","type":"t","items":[]},{"name":"b","type":"t","items":[{"name":"x"}]})"))
            .document));
    EXPECT_FALSE(order_document_is_complete(
        ParsedOrder(ParsedOrder::Online, detailWith(R"({"type":"t","items":[{"name":"x"}]})")).document));
    EXPECT_FALSE(order_document_is_complete(
        ParsedOrder(ParsedOrder::Online, detailWith(R"({"name":"a","type":"t","items":[{"price":1},{"name":"x"}]})"))
            .document));
    EXPECT_TRUE(order_document_is_complete(
        ParsedOrder(ParsedOrder::Online, detailWith(R"({"name":"a","type":"t","items":[{"name":"x"},{}]},{})"))
            .document));
}

TEST(OrderKind, KnowsExactlyThreeKinds)
{
    EXPECT_TRUE(is_known_order_kind("waimai"));
    EXPECT_TRUE(is_known_order_kind("dine"));
    EXPECT_TRUE(is_known_order_kind("phone"));
    EXPECT_FALSE(is_known_order_kind("Dine"));
    EXPECT_FALSE(is_known_order_kind(""));
    EXPECT_FALSE(is_known_order_kind(nullptr));
}

}  // namespace
