/* The summary text into a summary document. */
#include "summary_parser_p.h"

#include "json_field_p.h"
#include "print_line_p.h"
#include "utility_p.h"

#define ENGINE_UNIT "src/summary_parser.c"

static void free_summary_orders(SummaryOrder **orders)
{
    SummaryOrder *order = *orders;
    while (order) {
        SummaryOrder *next = order->next;
        ENGINE_FREE(order->orderId);
        ENGINE_FREE(order->status);
        ENGINE_FREE(order->payment);
        ENGINE_FREE(order->accounting);
        ENGINE_FREE(order);
        order = next;
    }
    *orders = NULL;
}

static void destroy_summary(Summary **summary)
{
    if (!*summary)
        return;
    ENGINE_FREE((*summary)->digest);
    free_summary_orders(&(*summary)->orders);
    ENGINE_FREE(*summary);
}

EngineError read_digest(SummaryDigest **digest, const cJSON *object)
{
    if (!digest || !object)
        return ENGINE_ERROR_DIGEST_SECTION;
    SummaryDigest *record = ENGINE_ALLOC(sizeof *record);
    if (!record)
        return ENGINE_ERROR_NO_MEMORY;
    for (const cJSON *member = object->child; member; member = member->next) {
        if (json_key_is(member, "orderCount"))
            record->orderCount = json_integer(member);
        else if (json_key_is(member, "validOrderCount"))
            record->validOrderCount = json_integer(member);
        else if (json_key_is(member, "invalidOrderCount"))
            record->invalidOrderCount = json_integer(member);
        else if (json_key_is(member, "receivable"))
            record->receivable = json_money(member);
        else if (json_key_is(member, "discount"))
            record->discount = json_money(member);
        else if (json_key_is(member, "receipt"))
            record->receipt = json_money(member);
        else if (json_key_is(member, "cashReceipt"))
            record->cashReceipt = json_money(member);
        else if (json_key_is(member, "onlineReceipt"))
            record->onlineReceipt = json_money(member);
    }
    ENGINE_FREE(*digest);
    *digest = record;
    return ENGINE_OK;
}

/* Reads one entry of "items" into the fresh slot *order. */
static EngineError read_summary_order(SummaryOrder **order, const cJSON *object)
{
    SummaryOrder *record = ENGINE_ALLOC(sizeof *record);
    if (!record)
        return ENGINE_ERROR_NO_MEMORY;
    *order = record;
    EngineError rc = ENGINE_OK;
    for (const cJSON *member = object->child; member && rc == ENGINE_OK; member = member->next) {
        if (json_key_is(member, "orderId"))
            rc = json_copy_string(&record->orderId, member);
        else if (json_key_is(member, "daySn"))
            record->daySn = json_integer(member);
        else if (json_key_is(member, "status"))
            rc = json_copy_string(&record->status, member);
        else if (json_key_is(member, "payment"))
            rc = json_copy_string(&record->payment, member);
        else if (json_key_is(member, "createdTime"))
            record->createdTime = json_time(member);
        else if (json_key_is(member, "accounting"))
            rc = read_accounting(&record->accounting, member);
    }
    return rc;
}

EngineError read_summary_orders(SummaryOrder **orders, const cJSON *array)
{
    if (!orders || !array)
        return ENGINE_ERROR_SUMMARY_ORDERS;
    SummaryOrder *list = NULL;
    SummaryOrder **end = &list;
    EngineError rc = ENGINE_OK;
    for (const cJSON *entry = array->child; entry && rc == ENGINE_OK; entry = entry->next) {
        rc = read_summary_order(end, entry);
        if (*end)
            end = &(*end)->next;
    }
    free_summary_orders(orders);
    *orders = list;
    return rc;
}

EngineError read_summary(Summary **summary, const cJSON *object)
{
    if (!summary || !object)
        return ENGINE_ERROR_SUMMARY_JSON;
    Summary *record = ENGINE_ALLOC(sizeof *record);
    if (!record)
        return ENGINE_ERROR_NO_MEMORY;
    EngineError rc = ENGINE_OK;
    for (const cJSON *member = object->child; member && rc == ENGINE_OK; member = member->next) {
        if (json_key_is(member, "beginTime"))
            record->beginTime = json_time(member);
        else if (json_key_is(member, "endTime"))
            record->endTime = json_time(member);
        else if (json_key_is(member, "digest"))
            rc = read_digest(&record->digest, member);
        else if (json_key_is(member, "items"))
            rc = read_summary_orders(&record->orders, member);
    }
    destroy_summary(summary);
    *summary = record;
    return rc;
}

EngineError parse_summary(SummaryDocument **document, const char *restaurant_json, const char *summary_json,
                          const char *settings_json)
{
    return parse_summary_into(document, restaurant_json, summary_json, settings_json, NULL);
}

EngineError parse_summary_into(SummaryDocument **document, const char *restaurant_json, const char *summary_json,
                               const char *settings_json, ByteBuffer *receipt)
{
    if (!document || !restaurant_json || !summary_json || !settings_json)
        return ENGINE_ERROR_INVALID_INPUT;
    const char *const texts[JOB_TEXTS] = {restaurant_json, summary_json, settings_json};
    static const EngineError codes[JOB_TEXTS] = {ENGINE_ERROR_RESTAURANT_JSON, ENGINE_ERROR_SUMMARY_JSON,
                                                 ENGINE_ERROR_SETTINGS_JSON};
    cJSON *trees[JOB_TEXTS];
    EngineError rc = json_parse_texts(trees, texts, codes);
    if (rc != ENGINE_OK)
        return rc;

    SummaryDocument *built = ENGINE_ALLOC(sizeof *built);
    if (!built) {
        json_delete_texts(trees);
        return ENGINE_ERROR_NO_MEMORY;
    }
    rc = parse_restaurant(&built->restaurant, trees[0]);
    if (rc == ENGINE_OK)
        rc = read_summary(&built->summary, trees[1]);
    if (rc == ENGINE_OK)
        rc = read_summary_print_settings(&built->printSettings, trees[2]);
    *document = built;
    if (rc == ENGINE_OK)
        reserve_receipt(receipt);
    json_delete_texts(trees);
    return rc;
}

bool summary_document_is_complete(const SummaryDocument *document)
{
    return document && document->restaurant && document->summary && document->printSettings;
}

void destroy_summary_document(SummaryDocument **document)
{
    if (!document || !*document)
        return;
    free_summary_print_settings(&(*document)->printSettings);
    destroy_summary(&(*document)->summary);
    destroy_restaurant(&(*document)->restaurant);
    ENGINE_FREE(*document);
}
