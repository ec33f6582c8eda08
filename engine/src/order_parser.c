/* Online and local order texts into an order document. */
#include "order_parser_p.h"

#include "json_field_p.h"
#include "print_line_p.h"
#include "utility_p.h"

#include <string.h>

#define ENGINE_UNIT "src/order_parser.c"

#define ONLINE_ORDER_KIND "waimai"

static void free_phones(PhoneNumber **phones)
{
    PhoneNumber *phone = *phones;
    while (phone) {
        PhoneNumber *next = phone->next;
        ENGINE_FREE(phone->number);
        ENGINE_FREE(phone);
        phone = next;
    }
    *phones = NULL;
}

static void destroy_consignee(Consignee **consignee)
{
    if (!*consignee)
        return;
    ENGINE_FREE((*consignee)->name);
    free_phones(&(*consignee)->phones);
    ENGINE_FREE((*consignee)->address);
    ENGINE_FREE((*consignee)->tableNumber);
    ENGINE_FREE(*consignee);
}

static void destroy_general(OrderGeneral **general)
{
    if (!*general)
        return;
    ENGINE_FREE((*general)->kind);
    ENGINE_FREE((*general)->payment);
    ENGINE_FREE((*general)->remark);
    ENGINE_FREE((*general)->invoiceTitle);
    ENGINE_FREE(*general);
}

/* Appends a copy of number to the list at *end and moves *end past it; a non-string appends nothing. */
static EngineError append_phone(PhoneNumber ***end, const cJSON *number)
{
    if (!cJSON_IsString(number) || !number->valuestring)
        return ENGINE_OK;
    PhoneNumber *phone = ENGINE_ALLOC(sizeof *phone);
    if (!phone)
        return ENGINE_ERROR_NO_MEMORY;
    if (json_copy_string(&phone->number, number) != ENGINE_OK) {
        ENGINE_FREE(phone);
        return ENGINE_ERROR_NO_MEMORY;
    }
    **end = phone;
    *end = &phone->next;
    return ENGINE_OK;
}

/* The members that both kinds of general section share. */
static EngineError read_common_general(OrderGeneral *record, const cJSON *member)
{
    if (json_key_is(member, "daySn"))
        record->daySn = json_integer(member);
    else if (json_key_is(member, "createdTime"))
        record->createdTime = json_time(member);
    else if (json_key_is(member, "remark"))
        return json_copy_string(&record->remark, member);
    else if (json_key_is(member, "invoiceTitle"))
        return json_copy_string(&record->invoiceTitle, member);
    else if (json_key_is(member, "isInvoiced"))
        record->isInvoiced = json_type_tag(member);
    return ENGINE_OK;
}

EngineError read_online_general(OrderGeneral **general, const cJSON *object)
{
    if (!general || !object)
        return ENGINE_ERROR_GENERAL_SECTION;
    OrderGeneral *record = ENGINE_ALLOC(sizeof *record);
    if (!record)
        return ENGINE_ERROR_NO_MEMORY;
    EngineError rc = engine_strdup(&record->kind, ONLINE_ORDER_KIND) ? ENGINE_OK : ENGINE_ERROR_NO_MEMORY;
    for (const cJSON *member = object->child; member && rc == ENGINE_OK; member = member->next) {
        if (json_key_is(member, "payment"))
            rc = json_copy_string(&record->payment, member);
        else if (json_key_is(member, "isBooked"))
            record->isBooked = json_type_tag(member);
        else if (json_key_is(member, "bookedTime"))
            record->bookedTime = json_time(member);
        else
            rc = read_common_general(record, member);
    }
    destroy_general(general);
    *general = record;
    return rc;
}

EngineError read_local_general(OrderGeneral **general, const cJSON *object)
{
    if (!general || !object)
        return ENGINE_ERROR_GENERAL_SECTION;
    OrderGeneral *record = ENGINE_ALLOC(sizeof *record);
    if (!record)
        return ENGINE_ERROR_NO_MEMORY;
    EngineError rc = ENGINE_OK;
    for (const cJSON *member = object->child; member && rc == ENGINE_OK; member = member->next) {
        if (json_key_is(member, "localOrderType"))
            rc = json_copy_string(&record->kind, member);
        else
            rc = read_common_general(record, member);
    }
    destroy_general(general);
    *general = record;
    return rc;
}

EngineError read_online_consignee(Consignee **consignee, const cJSON *object)
{
    if (!consignee || !object)
        return ENGINE_ERROR_CONSIGNEE_SECTION;
    Consignee *record = ENGINE_ALLOC(sizeof *record);
    if (!record)
        return ENGINE_ERROR_NO_MEMORY;
    EngineError rc = ENGINE_OK;
    for (const cJSON *member = object->child; member && rc == ENGINE_OK; member = member->next) {
        if (json_key_is(member, "name")) {
            rc = json_copy_string(&record->name, member);
        } else if (json_key_is(member, "phones")) {
            free_phones(&record->phones);
            PhoneNumber **end = &record->phones;
            for (const cJSON *number = member->child; number && rc == ENGINE_OK; number = number->next)
                rc = append_phone(&end, number);
        } else if (json_key_is(member, "address")) {
            rc = json_copy_string(&record->address, member);
        } else if (json_key_is(member, "isFollower")) {
            record->isFollower = json_type_tag(member);
        }
    }
    destroy_consignee(consignee);
    *consignee = record;
    return rc;
}

/* "customer" of a local order: name, its one phone, address. */
static EngineError read_customer(Consignee *record, const cJSON *object)
{
    EngineError rc = ENGINE_OK;
    for (const cJSON *member = object->child; member && rc == ENGINE_OK; member = member->next) {
        if (json_key_is(member, "name")) {
            rc = json_copy_string(&record->name, member);
        } else if (json_key_is(member, "phone")) {
            free_phones(&record->phones);
            PhoneNumber **end = &record->phones;
            rc = append_phone(&end, member);
        } else if (json_key_is(member, "address")) {
            rc = json_copy_string(&record->address, member);
        }
    }
    return rc;
}

/* "table" of a dine-in order. */
static EngineError read_table(Consignee *record, const cJSON *object)
{
    EngineError rc = ENGINE_OK;
    for (const cJSON *member = object->child; member && rc == ENGINE_OK; member = member->next) {
        if (json_key_is(member, "number"))
            rc = json_copy_string(&record->tableNumber, member);
        else if (json_key_is(member, "peopleCount"))
            record->peopleCount = json_integer(member);
    }
    return rc;
}

EngineError read_local_consignee(Consignee **consignee, const cJSON *order_object)
{
    if (!consignee || !order_object)
        return ENGINE_ERROR_CONSIGNEE_SECTION;
    Consignee *record = ENGINE_ALLOC(sizeof *record);
    if (!record)
        return ENGINE_ERROR_NO_MEMORY;
    EngineError rc = ENGINE_OK;
    for (const cJSON *member = order_object->child; member && rc == ENGINE_OK; member = member->next) {
        if (json_key_is(member, "customer"))
            rc = read_customer(record, member);
        else if (json_key_is(member, "table"))
            rc = read_table(record, member);
    }
    destroy_consignee(consignee);
    *consignee = record;
    return rc;
}

EngineError read_online_order(Order **order, const cJSON *object)
{
    if (!order || !object)
        return ENGINE_ERROR_ORDER_OBJECT;
    Order *record = ENGINE_ALLOC(sizeof *record);
    if (!record)
        return ENGINE_ERROR_NO_MEMORY;
    ItemGroup *misc_discount = NULL;
    EngineError rc = ENGINE_OK;
    for (const cJSON *member = object->child; member && rc == ENGINE_OK; member = member->next) {
        if (json_key_is(member, "id")) {
            rc = json_copy_string(&record->id, member);
        } else if (json_key_is(member, "general")) {
            rc = read_online_general(&record->general, member);
        } else if (json_key_is(member, "consignee") || json_key_is(member, "user")) {
            rc = read_online_consignee(&record->consignee, member);
        } else if (json_key_is(member, "detail")) {
            rc = read_detail(&record->detail, member);
        } else if (json_key_is(member, "misc")) {
            for (const cJSON *entry = member->child; entry && rc == ENGINE_OK; entry = entry->next) {
                if (json_key_is(entry, "discountGroup"))
                    rc = read_item_group(&misc_discount, entry);
            }
        }
    }
    /* Platform discounts print with the other discount lines, wherever "misc" stands in the text. */
    if (rc == ENGINE_OK && record->detail)
        rc = merge_into_extra_group(misc_discount, record->detail);
    free_item_groups(&misc_discount);
    destroy_order(order);
    *order = record;
    return rc;
}

EngineError read_local_order(Order **order, const cJSON *object)
{
    if (!order || !object)
        return ENGINE_ERROR_ORDER_OBJECT;
    Order *record = ENGINE_ALLOC(sizeof *record);
    if (!record)
        return ENGINE_ERROR_NO_MEMORY;
    EngineError rc = read_local_consignee(&record->consignee, object);
    for (const cJSON *member = object->child; member && rc == ENGINE_OK; member = member->next) {
        if (json_key_is(member, "id"))
            rc = json_copy_string(&record->id, member);
        else if (json_key_is(member, "general"))
            rc = read_local_general(&record->general, member);
        else if (json_key_is(member, "detail"))
            rc = read_detail(&record->detail, member);
    }
    destroy_order(order);
    *order = record;
    return rc;
}

typedef EngineError (*OrderReader)(Order **order, const cJSON *object);

static EngineError parse_order_texts(OrderDocument **document, const char *restaurant_json,
                                     const char *order_json, const char *settings_json, OrderReader read_order,
                                     ByteBuffer *receipt)
{
    if (!document || !restaurant_json || !order_json || !settings_json)
        return ENGINE_ERROR_INVALID_INPUT;
    const char *const texts[JOB_TEXTS] = {restaurant_json, order_json, settings_json};
    static const EngineError codes[JOB_TEXTS] = {ENGINE_ERROR_RESTAURANT_JSON, ENGINE_ERROR_ORDER_JSON,
                                                 ENGINE_ERROR_SETTINGS_JSON};
    cJSON *trees[JOB_TEXTS];
    EngineError rc = json_parse_texts(trees, texts, codes);
    if (rc != ENGINE_OK)
        return rc;

    OrderDocument *built = ENGINE_ALLOC(sizeof *built);
    if (!built) {
        json_delete_texts(trees);
        return ENGINE_ERROR_NO_MEMORY;
    }
    rc = parse_restaurant(&built->restaurant, trees[0]);
    if (rc == ENGINE_OK)
        rc = read_order(&built->order, trees[1]);
    if (rc == ENGINE_OK)
        rc = read_print_settings(&built->printSettings, trees[2]);
    *document = built;
    if (rc == ENGINE_OK)
        reserve_receipt(receipt);
    json_delete_texts(trees);
    return rc;
}

EngineError parse_online_order(OrderDocument **document, const char *restaurant_json, const char *order_json,
                               const char *settings_json)
{
    return parse_order_texts(document, restaurant_json, order_json, settings_json, read_online_order, NULL);
}

EngineError parse_online_order_into(OrderDocument **document, const char *restaurant_json, const char *order_json,
                                    const char *settings_json, ByteBuffer *receipt)
{
    return parse_order_texts(document, restaurant_json, order_json, settings_json, read_online_order, receipt);
}

EngineError parse_local_order(OrderDocument **document, const char *restaurant_json, const char *order_json,
                              const char *settings_json)
{
    return parse_order_texts(document, restaurant_json, order_json, settings_json, read_local_order, NULL);
}

EngineError parse_local_order_into(OrderDocument **document, const char *restaurant_json, const char *order_json,
                                   const char *settings_json, ByteBuffer *receipt)
{
    return parse_order_texts(document, restaurant_json, order_json, settings_json, read_local_order, receipt);
}

bool is_known_order_kind(const char *kind)
{
    return kind && (strcmp(kind, "waimai") == 0 || strcmp(kind, "dine") == 0 || strcmp(kind, "phone") == 0);
}

bool order_document_is_complete(const OrderDocument *document)
{
    if (!document)
        return false;
    const Restaurant *restaurant = document->restaurant;
    const Order *order = document->order;
    const EnginePrintSettings *settings = document->printSettings;
    return restaurant && restaurant->name && order && order->id && order->general && order->general->kind &&
           order->consignee && order_detail_is_complete(order->detail) && settings && settings->width &&
           settings->style && settings->lines_between_copies;
}

void destroy_order(Order **order)
{
    if (!order || !*order)
        return;
    ENGINE_FREE((*order)->id);
    destroy_general(&(*order)->general);
    destroy_consignee(&(*order)->consignee);
    destroy_detail(&(*order)->detail);
    ENGINE_FREE(*order);
}

void destroy_order_document(OrderDocument **document)
{
    if (!document || !*document)
        return;
    free_print_settings(&(*document)->printSettings);
    destroy_order(&(*document)->order);
    destroy_restaurant(&(*document)->restaurant);
    ENGINE_FREE(*document);
}
