// Order texts into order documents: each row of cases/order_parser.json parses a restaurant, an order and
// settings and names the fields it expects, compared on a dump of the document. Then what the golden
// receipts cannot show of the layout: styles only a changed document can reach, and refusals.

#include "engine_cases.h"

#include "order_layout_p.h"
#include "order_parser_p.h"
#include "summary_layout_p.h"
#include "summary_parser_p.h"
#include "utility_p.h"

#include <cstdio>
#include <map>

using namespace engine_test;

namespace {

const char kRestaurant[] = R"({"name":"蜀香阁"})";
const char kSettings58[] =
    R"({"width":"58mm","style":"normal","lines_between_copies":"middle","number_of_copies":1,"isPrintBarcodeEnabled":false})";

// A parsed order document, destroyed with the test.
struct ParsedOrder {
    ParsedOrder(bool online, const std::string& order, const std::string& settings = kSettings58,
                const std::string& restaurant = kRestaurant)
    {
        code = (online ? parse_online_order : parse_local_order)(&document, restaurant.c_str(), order.c_str(),
                                                                 settings.c_str());
    }
    ~ParsedOrder() { destroy_order_document(&document); }
    OrderDocument* document = nullptr;
    EngineError code = ENGINE_OK;
};

std::string str(const char* text) { return text ? text : "null"; }
std::string numi(int64_t value) { return std::to_string(value); }
std::string num(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

std::string items(const OrderItem* item)
{
    std::string out;
    for (; item; item = item->next) {
        out += (out.empty() ? "" : ";") + str(item->name) + " " + num(item->price) + "x" + numi(item->quantity) + "/" +
               numi(item->displayQuantity);
        if (item->additions)
            out += "(" + items(item->additions) + ")";
    }
    return out;
}

std::map<std::string, std::string> dump(const OrderDocument* d)
{
    std::map<std::string, std::string> f;
    if (const Restaurant* r = d->restaurant)
        f["restaurant"] = str(r->name) + "|" + str(r->phone) + "|" + str(r->address) + "|" + numi(r->isTimeEnsured);
    if (const EnginePrintSettings* s = d->printSettings)
        f["settings"] = str(s->width) + "|" + str(s->style) + "|" + numi(s->number_of_copies) + "|" +
                        str(s->lines_between_copies) + "|" + numi(s->isPrintBarcodeEnabled);
    const Order* o = d->order;
    if (!o)
        return f;
    f["id"] = str(o->id);
    if (const OrderGeneral* g = o->general)
        f["general"] = str(g->kind) + "|" + numi(g->daySn) + "|" + numi(g->createdTime) + "|" + str(g->payment) +
                       "|" + numi(g->isBooked) + "|" + numi(g->bookedTime) + "|" + str(g->remark) + "|" +
                       numi(g->isInvoiced) + "|" + str(g->invoiceTitle);
    if (const Consignee* c = o->consignee) {
        std::string phones;
        for (const PhoneNumber* p = c->phones; p; p = p->next)
            phones += (phones.empty() ? "" : ",") + str(p->number);
        f["consignee"] = str(c->name) + "|" + phones + "|" + str(c->address) + "|" + str(c->tableNumber) + "|" +
                         numi(c->peopleCount) + "|" + numi(c->isFollower);
    }
    if (o->detail && o->detail->accounting)
        f["accounting"] = num(o->detail->accounting->receivable) + "|" + num(o->detail->accounting->discount) + "|" +
                          num(o->detail->accounting->receipt);
    for (const ItemGroup* g = o->detail ? o->detail->groups : nullptr; g; g = g->next)
        f["groups"] += (f["groups"].empty() ? "" : " / ") + str(g->name) + "|" + str(g->type) + ": " + items(g->items);
    return f;
}

ENGINE_CASE_TABLE(OrderParser, "order_parser");

TEST_P(OrderParser, ReadsTheTabledFields)
{
    const Row& row = GetParam();
    {
        ParsedOrder parsed(row.text("kind") != "local", row.text("order"),
                           row.has("settings") ? row.text("settings") : kSettings58,
                           row.has("restaurant") ? row.text("restaurant") : kRestaurant);
        EXPECT_EQ(parsed.code, row.has("code") ? row.number("code") : ENGINE_OK);
        std::map<std::string, std::string> fields;
        if (parsed.document) {
            fields = dump(parsed.document);
            fields["complete"] = order_document_is_complete(parsed.document) ? "true" : "false";
        }
        const cJSON* expected = nullptr;
        cJSON_ArrayForEach(expected, cJSON_GetObjectItem(row.json, "fields"))
            EXPECT_EQ(fields[expected->string], textOf(expected))
                << expected->string;
    }
    EXPECT_EQ(engine_registry_count(), 0u) << "the document left tracked blocks";
}

TEST(SectionReaders, NameWhatTheyMissed)
{
    void* slot = nullptr;
    EXPECT_EQ(read_online_order(reinterpret_cast<Order**>(&slot), nullptr), ENGINE_ERROR_ORDER_OBJECT);
    EXPECT_EQ(read_local_order(nullptr, nullptr), ENGINE_ERROR_ORDER_OBJECT);
    EXPECT_EQ(read_online_general(reinterpret_cast<OrderGeneral**>(&slot), nullptr), ENGINE_ERROR_GENERAL_SECTION);
    EXPECT_EQ(read_local_general(reinterpret_cast<OrderGeneral**>(&slot), nullptr), ENGINE_ERROR_GENERAL_SECTION);
    EXPECT_EQ(read_online_consignee(reinterpret_cast<Consignee**>(&slot), nullptr), ENGINE_ERROR_CONSIGNEE_SECTION);
    EXPECT_EQ(read_local_consignee(reinterpret_cast<Consignee**>(&slot), nullptr), ENGINE_ERROR_CONSIGNEE_SECTION);
    EXPECT_EQ(read_detail(reinterpret_cast<OrderDetail**>(&slot), nullptr), ENGINE_ERROR_DETAIL_SECTION);
    EXPECT_EQ(read_accounting(reinterpret_cast<Accounting**>(&slot), nullptr), ENGINE_ERROR_DETAIL_SECTION);
    EXPECT_EQ(read_item_group(reinterpret_cast<ItemGroup**>(&slot), nullptr), ENGINE_ERROR_GROUP_SECTION);
    EXPECT_EQ(read_item(reinterpret_cast<OrderItem**>(&slot), nullptr), ENGINE_ERROR_ITEM_SECTION);
    EXPECT_EQ(parse_restaurant(reinterpret_cast<Restaurant**>(&slot), nullptr), ENGINE_ERROR_RESTAURANT_JSON);
    EXPECT_EQ(read_print_settings(reinterpret_cast<EnginePrintSettings**>(&slot), nullptr), ENGINE_ERROR_SETTINGS_JSON);
    cJSON* empty = cJSON_CreateObject();
    EXPECT_EQ(read_print_settings(nullptr, empty), ENGINE_ERROR_SETTINGS_JSON);
    cJSON_Delete(empty);
    EXPECT_EQ(read_summary_print_settings(nullptr, nullptr), ENGINE_ERROR_SETTINGS_JSON);
    EXPECT_EQ(read_summary(reinterpret_cast<Summary**>(&slot), nullptr), ENGINE_ERROR_SUMMARY_JSON);
    EXPECT_EQ(read_digest(reinterpret_cast<SummaryDigest**>(&slot), nullptr), ENGINE_ERROR_DIGEST_SECTION);
    EXPECT_EQ(read_summary_orders(reinterpret_cast<SummaryOrder**>(&slot), nullptr), ENGINE_ERROR_SUMMARY_ORDERS);
    EXPECT_EQ(merge_into_extra_group(nullptr, nullptr), ENGINE_OK);
    EXPECT_EQ(slot, nullptr);
}

const std::string kOrder = R"({"id":"12345","general":{"daySn":7},"consignee":{"name":"王女士"},
    "detail":{"accounting":{"receipt":140},"groups":[{"name":"热菜","type":"normal","items":[{"name":"回锅肉"}]}]}})";

EngineError layout(const ParsedOrder& parsed, Receipt& out)
{
    EXPECT_EQ(parsed.code, ENGINE_OK);
    return layout_order(parsed.document, &out.data, &out.length);
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
    EXPECT_EQ(layout_summary(nullptr, &out.data, &out.length), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(out.data, nullptr);
}

}  // namespace
