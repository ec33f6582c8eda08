// Order texts into order documents: each row of cases/order_parser.json parses a restaurant, an order and
// settings and names the fields it expects, compared on a dump of the document; some rows then lay the order
// out where the golden receipts cannot go (styles only a changed document can reach, refusals).

#include "engine_cases.h"
#include "order_layout_p.h"
#include "print_line_p.h"
#include "order_parser_p.h"
#include "summary_layout_p.h"
#include "summary_parser_p.h"

#include <cstdio>
#include <map>

using namespace engine_test;

namespace {

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

ENGINE_CASE_TABLE(OrderParser, "cases/order_parser");

// A row may change the parsed settings ("set": {"style"|"width": text}) and lay the order out ("layout":
// {"code", "head": the first bytes, "lacks": byte strings found nowhere}).
TEST_P(OrderParser, ReadsTheTabledFieldsAndLaysThemOut)
{
    const Row& row = GetParam();
    const auto text = [&](const char* key, const char* otherwise) { return row.has(key) ? row.text(key) : otherwise; };
    const std::string restaurant = text("restaurant", R"({"name":"蜀香阁"})"), order = row.text("order"),
                      settings = text("settings", R"({"width":"58mm","style":"normal","lines_between_copies":"middle",)"
                                                  R"("number_of_copies":1,"isPrintBarcodeEnabled":false})");
    const LeakCheck check;
    OrderDocument* document = nullptr;
    EXPECT_EQ((text("kind", "") == "local" ? parse_local_order : parse_online_order)(
                  &document, restaurant.c_str(), order.c_str(), settings.c_str()),
              row.has("code") ? row.number("code") : ENGINE_OK);
    std::map<std::string, std::string> fields;
    if (document) {
        fields = dump(document);
        fields["complete"] = order_document_is_complete(document) ? "true" : "false";
        const cJSON* set = cJSON_GetObjectItem(row.json, "set");
        for (const char* key : {"style", "width"})
            if (cJSON_HasObjectItem(set, key))
                engine_strdup(key[0] == 's' ? &document->printSettings->style : &document->printSettings->width,
                              cJSON_GetStringValue(cJSON_GetObjectItem(set, key)));
    }
    const cJSON* expected = nullptr;
    cJSON_ArrayForEach(expected, cJSON_GetObjectItem(row.json, "fields"))
        EXPECT_EQ(fields[expected->string], textOf(expected)) << expected->string;
    if (const cJSON* layout = cJSON_GetObjectItem(row.json, "layout")) {
        Receipt out;
        setTimeZone("Asia/Shanghai");
        EXPECT_EQ(layout_order(document, &out.data, &out.length), cJSON_GetObjectItem(layout, "code")->valueint);
        const Bytes head = bytesOf(textOf(cJSON_GetObjectItem(layout, "head")));
        EXPECT_BYTES(head, Bytes(out.data, out.data + std::min<size_t>(out.length, head.size())));
        cJSON_ArrayForEach(expected, cJSON_GetObjectItem(layout, "lacks"))
            EXPECT_LACKS_BYTES(out.bytes(), bytesOf(expected->valuestring));
    }
    destroy_order_document(&document);
    EXPECT_EQ(check.leaked(), 0u);
}

// The readers and layouts given nothing, each with its own code; nothing is stored.
template <class T> EngineError onNothing(EngineError (*reader)(T**, const cJSON*))
{
    T* record = nullptr;
    const EngineError code = reader(&record, nullptr);
    EXPECT_EQ(record, nullptr);
    return code;
}

TEST(SectionReaders, NameWhatTheyMissed)
{
    Receipt out;
    const std::vector<EngineError> codes = {
        onNothing(read_online_order), onNothing(read_local_order), onNothing(read_online_general),
        onNothing(read_local_general), onNothing(read_online_consignee), onNothing(read_local_consignee),
        onNothing(read_detail), onNothing(read_accounting), onNothing(read_item_group), onNothing(read_item),
        onNothing(parse_restaurant), onNothing(read_print_settings), onNothing(read_summary_print_settings),
        onNothing(read_summary), onNothing(read_digest), onNothing(read_summary_orders),
        read_local_order(nullptr, nullptr), layout_order(nullptr, &out.data, nullptr), layout_order(nullptr, nullptr, &out.length),
        layout_summary(nullptr, &out.data, &out.length), layout_summary(nullptr, nullptr, &out.length),
        render_line(nullptr, &out.length, nullptr, 1), render_line(&out.data, nullptr, nullptr, 1),
        render_line(&out.data, &out.length, nullptr, 1), render_lines(nullptr, &out.length, nullptr, 1),
        EngineError(text_display_width(nullptr, 5, 1)), merge_into_extra_group(nullptr, nullptr)};
    EXPECT_EQ(codes, std::vector<EngineError>({-3, -3, -321, -321, -322, -322, -323, -323, -324, -325, -31, -33, -33, -34, -341,
                                               -342, -3, -2, -2, -2, -2, -1, -1, -1, -1, 0, 0}));  // see receipt_engine.h
    cJSON* empty = cJSON_CreateObject();
    EXPECT_EQ(read_print_settings(nullptr, empty), ENGINE_ERROR_SETTINGS_JSON);
    cJSON_Delete(empty);
}

}  // namespace
