/* The restaurant reader. */
#include "restaurant_parser_p.h"

#include "json_field_p.h"
#include "utility_p.h"

#define ENGINE_UNIT "src/restaurant_parser.c"

EngineError parse_restaurant(Restaurant **restaurant, const cJSON *object)
{
    if (!restaurant || !object)
        return ENGINE_ERROR_RESTAURANT_JSON;
    Restaurant *record = ENGINE_ALLOC(sizeof *record);
    if (!record)
        return ENGINE_ERROR_NO_MEMORY;
    EngineError rc = ENGINE_OK;
    for (const cJSON *item = object->child; item && rc == ENGINE_OK; item = item->next) {
        if (json_key_is(item, "id"))
            record->id = json_integer(item);
        else if (json_key_is(item, "name"))
            rc = json_copy_string(&record->name, item);
        else if (json_key_is(item, "url"))
            rc = json_copy_string(&record->url, item);
        else if (json_key_is(item, "phone"))
            rc = json_copy_string(&record->phone, item);
        else if (json_key_is(item, "address"))
            rc = json_copy_string(&record->address, item);
        else if (json_key_is(item, "timeEnsureText"))
            rc = json_copy_string(&record->timeEnsureText, item);
        else if (json_key_is(item, "isTimeEnsured"))
            record->isTimeEnsured = json_type_tag(item);
    }
    destroy_restaurant(restaurant);
    *restaurant = record;
    return rc;
}

void destroy_restaurant(Restaurant **restaurant)
{
    if (!restaurant || !*restaurant)
        return;
    Restaurant *record = *restaurant;
    ENGINE_FREE(record->name);
    ENGINE_FREE(record->url);
    ENGINE_FREE(record->phone);
    ENGINE_FREE(record->address);
    ENGINE_FREE(record->timeEnsureText);
    ENGINE_FREE(*restaurant);
}
