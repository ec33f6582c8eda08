/*
 * Private to the receipt engine: not part of its interface.
 *
 * How the readers take field values out of parsed JSON items.
 */
#ifndef RECEIPT_ENGINE_JSON_FIELD_P_H
#define RECEIPT_ENGINE_JSON_FIELD_P_H

#include "receipt_engine/receipt_engine.h"

#include <cjson/cJSON.h>

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* JSON type tags as the engine's records store them (flags hold the tag: false 0, true 1, ...). */
enum {
    JSON_TAG_FALSE = 0,
    JSON_TAG_TRUE = 1,
    JSON_TAG_NULL = 2,
    JSON_TAG_NUMBER = 3,
    JSON_TAG_STRING = 4,
    JSON_TAG_ARRAY = 5,
    JSON_TAG_OBJECT = 6
};

/* The three texts of a job: restaurant, order or summary, print settings. */
enum { JOB_TEXTS = 3 };

/*
 * Parses each text into trees[i]. A text longer than ENGINE_INPUT_LIMIT bytes fails the whole job with
 * ENGINE_ERROR_INPUT_TOO_LARGE before anything is parsed. On the first text that does not parse, frees the trees made before it,
 * leaves every tree NULL and returns that text's code from codes[]. Returns 0 otherwise.
 */
EngineError json_parse_texts(cJSON *trees[JOB_TEXTS], const char *const texts[JOB_TEXTS],
                             const EngineError codes[JOB_TEXTS]);

/* Frees the trees of json_parse_texts. */
void json_delete_texts(cJSON *trees[JOB_TEXTS]);

/* True when item is an object member named exactly key. */
bool json_key_is(const cJSON *item, const char *key);

/* The type tag of item; -1 for an item the parser never makes (raw or invalid). */
int32_t json_type_tag(const cJSON *item);

/* The integer form: a number truncated toward zero and saturated to 32 bits, true 1, anything else 0. */
int32_t json_integer(const cJSON *item);

/* Seconds since 1970: the number truncated toward zero and saturated to 64 bits; 0 for a non-number. */
int64_t json_time(const cJSON *item);

/* An amount: the number narrowed to single precision; 0 for a non-number. */
float json_money(const cJSON *item);

/*
 * Replaces *dest by a copy of item's string. A non-string leaves *dest untouched and returns 0; a failed
 * copy returns ENGINE_ERROR_NO_MEMORY.
 */
EngineError json_copy_string(char **dest, const cJSON *item);

#ifdef __cplusplus
}
#endif

#endif /* RECEIPT_ENGINE_JSON_FIELD_P_H */
