/*
 * Private to the receipt engine: not part of its interface.
 *
 * The restaurant record and its reader.
 */
#ifndef RECEIPT_ENGINE_RESTAURANT_PARSER_P_H
#define RECEIPT_ENGINE_RESTAURANT_PARSER_P_H

#include "receipt_engine/receipt_engine.h"

#include <cjson/cJSON.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct Restaurant {
    int32_t id;           /* "id" */
    char *name;           /* "name" */
    char *url;            /* "url" */
    char *phone;          /* "phone" */
    char *address;        /* "address" */
    char *timeEnsureText; /* "timeEnsureText" */
    int32_t isTimeEnsured; /* type tag of "isTimeEnsured" */
} Restaurant;

/*
 * Reads the restaurant from object into a new record stored in *restaurant (also when a code is returned).
 * Returns 0, ENGINE_ERROR_RESTAURANT_JSON for NULL arguments, or ENGINE_ERROR_NO_MEMORY.
 */
EngineError parse_restaurant(Restaurant **restaurant, const cJSON *object);

void destroy_restaurant(Restaurant **restaurant);

#ifdef __cplusplus
}
#endif

#endif /* RECEIPT_ENGINE_RESTAURANT_PARSER_P_H */
