/* Field values out of parsed JSON items. */
#include "json_field_p.h"

#include "utility_p.h"

#include <string.h>

EngineError json_parse_texts(cJSON *trees[JOB_TEXTS], const char *const texts[JOB_TEXTS],
                             const EngineError codes[JOB_TEXTS])
{
    for (int i = 0; i < JOB_TEXTS; i++)
        trees[i] = NULL;
    /* Sizes first, so that a text beyond the limit is refused before any work: reading stops one byte past
       the limit whatever the length of the text. */
    for (int i = 0; i < JOB_TEXTS; i++)
        if (texts[i] && strnlen(texts[i], (size_t)ENGINE_INPUT_LIMIT + 1) > ENGINE_INPUT_LIMIT)
            return ENGINE_ERROR_INPUT_TOO_LARGE;
    for (int i = 0; i < JOB_TEXTS; i++) {
        trees[i] = cJSON_Parse(texts[i]);
        if (!trees[i]) {
            json_delete_texts(trees);
            return codes[i];
        }
    }
    return ENGINE_OK;
}

void json_delete_texts(cJSON *trees[JOB_TEXTS])
{
    for (int i = JOB_TEXTS - 1; i >= 0; i--) {
        cJSON_Delete(trees[i]);
        trees[i] = NULL;
    }
}

bool json_key_is(const cJSON *item, const char *key)
{
    return item->string && strcmp(item->string, key) == 0;
}

int32_t json_type_tag(const cJSON *item)
{
    switch (item->type & 0xFF) {
    case cJSON_False: return JSON_TAG_FALSE;
    case cJSON_True: return JSON_TAG_TRUE;
    case cJSON_NULL: return JSON_TAG_NULL;
    case cJSON_Number: return JSON_TAG_NUMBER;
    case cJSON_String: return JSON_TAG_STRING;
    case cJSON_Array: return JSON_TAG_ARRAY;
    case cJSON_Object: return JSON_TAG_OBJECT;
    default: return -1;
    }
}

int32_t json_integer(const cJSON *item)
{
    /* The parser saturates valueint itself and sets it to 1 for true. */
    return item->valueint;
}

int64_t json_time(const cJSON *item)
{
    if (!cJSON_IsNumber(item))
        return 0;
    double value = item->valuedouble;
    /* 2^63 is exact in a double; anything at or beyond it would not convert. */
    if (value >= 9223372036854775808.0)
        return INT64_MAX;
    if (value < -9223372036854775808.0)
        return INT64_MIN;
    if (value != value)
        return 0;
    return (int64_t)value;
}

float json_money(const cJSON *item)
{
    return cJSON_IsNumber(item) ? (float)item->valuedouble : 0.0f;
}

EngineError json_copy_string(char **dest, const cJSON *item)
{
    if (!cJSON_IsString(item) || !item->valuestring)
        return ENGINE_OK;
    return engine_strdup(dest, item->valuestring) ? ENGINE_OK : ENGINE_ERROR_NO_MEMORY;
}
