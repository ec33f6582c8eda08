/* The "detail" section of an order: accounting, item groups, items and their additions. */
#include "order_parser_p.h"

#include "json_field_p.h"
#include "utility_p.h"

#include <string.h>

/* One unit with order_parser.c: its blocks carry the order parser's tag. */
#define ENGINE_UNIT "src/order_parser.c"

static bool type_is(const ItemGroup *group, const char *type)
{
    return group->type && strcmp(group->type, type) == 0;
}

EngineError read_accounting(Accounting **accounting, const cJSON *object)
{
    if (!accounting || !object)
        return ENGINE_ERROR_DETAIL_SECTION;
    Accounting *record = ENGINE_ALLOC(sizeof *record);
    if (!record)
        return ENGINE_ERROR_NO_MEMORY;
    for (const cJSON *item = object->child; item; item = item->next) {
        if (json_key_is(item, "receivable"))
            record->receivable = json_money(item);
        else if (json_key_is(item, "discount"))
            record->discount = json_money(item);
        else if (json_key_is(item, "receipt"))
            record->receipt = json_money(item);
    }
    ENGINE_FREE(*accounting);
    *accounting = record;
    return ENGINE_OK;
}

/* Reads every entry of array with read_item into a new list stored in *items; the first code stops it. */
static EngineError read_item_list(OrderItem **items, const cJSON *array)
{
    OrderItem *list = NULL;
    OrderItem **end = &list;
    EngineError rc = ENGINE_OK;
    for (const cJSON *entry = array->child; entry && rc == ENGINE_OK; entry = entry->next) {
        rc = read_item(end, entry);
        if (*end)
            end = &(*end)->next;
    }
    free_items(items);
    *items = list;
    return rc;
}

EngineError read_item(OrderItem **item, const cJSON *object)
{
    if (!item || !object)
        return ENGINE_ERROR_ITEM_SECTION;
    /* The name is the last "name" member that is a string; it lives in the item's own block, right behind
       the record (free_items knows), so an item is one allocation. */
    const char *name = NULL;
    for (const cJSON *member = object->child; member; member = member->next)
        if (json_key_is(member, "name") && cJSON_IsString(member) && member->valuestring)
            name = member->valuestring;
    size_t name_size = name ? strlen(name) + 1 : 0;
    OrderItem *record = ENGINE_ALLOC(sizeof *record + name_size);
    if (!record)
        return ENGINE_ERROR_NO_MEMORY;
    if (name) {
        record->name = (char *)(record + 1);
        memcpy(record->name, name, name_size);
    }
    /* Unlike every other flag, the quantity shows unless the order says otherwise. */
    record->displayQuantity = 1;
    EngineError rc = ENGINE_OK;
    for (const cJSON *member = object->child; member && rc == ENGINE_OK; member = member->next) {
        if (json_key_is(member, "name"))
            continue;
        else if (json_key_is(member, "price"))
            record->price = json_money(member);
        else if (json_key_is(member, "quantity"))
            record->quantity = json_integer(member);
        else if (json_key_is(member, "displayQuantity"))
            record->displayQuantity = json_type_tag(member);
        else if (json_key_is(member, "additions"))
            rc = read_item_list(&record->additions, member);
    }
    free_items(item);
    *item = record;
    return rc;
}

EngineError read_item_group(ItemGroup **group, const cJSON *object)
{
    if (!group || !object)
        return ENGINE_ERROR_GROUP_SECTION;
    ItemGroup *record = ENGINE_ALLOC(sizeof *record);
    if (!record)
        return ENGINE_ERROR_NO_MEMORY;
    EngineError rc = ENGINE_OK;
    for (const cJSON *member = object->child; member && rc == ENGINE_OK; member = member->next) {
        if (json_key_is(member, "name"))
            rc = json_copy_string(&record->name, member);
        else if (json_key_is(member, "type"))
            rc = json_copy_string(&record->type, member);
        else if (json_key_is(member, "items"))
            rc = read_item_list(&record->items, member);
    }
    free_item_groups(group);
    *group = record;
    return rc;
}

/* Reads the "groups" array into a new list stored in detail->groups, then moves the lines of its last
   discount group into the extra group. */
static EngineError read_group_list(OrderDetail *detail, const cJSON *array)
{
    free_item_groups(&detail->groups);
    ItemGroup **end = &detail->groups;
    ItemGroup *discount = NULL;
    EngineError rc = ENGINE_OK;
    for (const cJSON *entry = array->child; entry && rc == ENGINE_OK; entry = entry->next) {
        rc = read_item_group(end, entry);
        if (*end) {
            if (type_is(*end, DISCOUNT_GROUP_TYPE))
                discount = *end;
            end = &(*end)->next;
        }
    }
    if (rc == ENGINE_OK)
        rc = merge_into_extra_group(discount, detail);
    return rc;
}

EngineError read_detail(OrderDetail **detail, const cJSON *object)
{
    if (!detail || !object)
        return ENGINE_ERROR_DETAIL_SECTION;
    OrderDetail *record = ENGINE_ALLOC(sizeof *record);
    if (!record)
        return ENGINE_ERROR_NO_MEMORY;
    EngineError rc = ENGINE_OK;
    for (const cJSON *member = object->child; member && rc == ENGINE_OK; member = member->next) {
        if (json_key_is(member, "accounting"))
            rc = read_accounting(&record->accounting, member);
        else if (json_key_is(member, "groups"))
            rc = read_group_list(record, member);
    }
    destroy_detail(detail);
    *detail = record;
    return rc;
}

EngineError merge_into_extra_group(ItemGroup *source, OrderDetail *detail)
{
    if (!source || !detail)
        return ENGINE_OK;
    ItemGroup **slot = &detail->groups;
    while (*slot && !type_is(*slot, EXTRA_GROUP_TYPE))
        slot = &(*slot)->next;
    if (!*slot) {
        ItemGroup *extra = ENGINE_ALLOC(sizeof *extra);
        if (!extra)
            return ENGINE_ERROR_NO_MEMORY;
        if (!engine_strdup(&extra->name, EXTRA_GROUP_NAME) || !engine_strdup(&extra->type, EXTRA_GROUP_TYPE)) {
            free_item_groups(&extra);
            return ENGINE_ERROR_NO_MEMORY;
        }
        *slot = extra;
    }
    OrderItem **end = &(*slot)->items;
    while (*end)
        end = &(*end)->next;
    *end = source->items;
    source->items = NULL;
    return ENGINE_OK;
}

bool order_detail_is_complete(const OrderDetail *detail)
{
    if (!detail || !detail->accounting)
        return false;
    const ItemGroup *first = detail->groups;
    return first && first->name && first->type && first->items && first->items->name;
}

void free_items(OrderItem **items)
{
    if (!items)
        return;
    OrderItem *item = *items;
    while (item) {
        OrderItem *next = item->next;
        if (item->name != (char *)(item + 1))
            ENGINE_FREE(item->name);
        free_items(&item->additions);
        ENGINE_FREE(item);
        item = next;
    }
    *items = NULL;
}

void free_item_groups(ItemGroup **groups)
{
    if (!groups)
        return;
    ItemGroup *group = *groups;
    while (group) {
        ItemGroup *next = group->next;
        ENGINE_FREE(group->name);
        ENGINE_FREE(group->type);
        free_items(&group->items);
        ENGINE_FREE(group);
        group = next;
    }
    *groups = NULL;
}

void destroy_detail(OrderDetail **detail)
{
    if (!detail || !*detail)
        return;
    free_item_groups(&(*detail)->groups);
    ENGINE_FREE((*detail)->accounting);
    ENGINE_FREE(*detail);
}
