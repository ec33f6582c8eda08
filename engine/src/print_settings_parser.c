/* The print-settings readers. */
#include "print_settings_parser_p.h"

#include "json_field_p.h"
#include "utility_p.h"

#define ENGINE_UNIT "src/print_settings_parser.c"

#define SUMMARY_FEED_LINES 5

/* Copies item's string into *dest and checks it; a non-string leaves NULL, which fails the check too. */
static EngineError read_checked(char **dest, const cJSON *item, bool (*valid)(const char *), EngineError invalid)
{
    EngineError rc = json_copy_string(dest, item);
    if (rc == ENGINE_OK && !valid(*dest))
        rc = invalid;
    return rc;
}

/* Reads a member that both kinds of settings have into width or copies; false for any other key. */
static bool read_shared_member(const cJSON *item, char **width, int32_t *copies, EngineError *rc)
{
    if (json_key_is(item, "width"))
        *rc = read_checked(width, item, is_valid_width, ENGINE_ERROR_PAPER_WIDTH);
    else if (json_key_is(item, "number_of_copies"))
        *copies = json_integer(item);
    else
        return false;
    return true;
}

EngineError read_print_settings(EnginePrintSettings **settings, const cJSON *object)
{
    if (!settings || !object)
        return ENGINE_ERROR_SETTINGS_JSON;
    EnginePrintSettings *record = ENGINE_ALLOC(sizeof *record);
    if (!record)
        return ENGINE_ERROR_NO_MEMORY;
    EngineError rc = ENGINE_OK;
    for (const cJSON *item = object->child; item && rc == ENGINE_OK; item = item->next) {
        if (read_shared_member(item, &record->width, &record->number_of_copies, &rc))
            continue;
        if (json_key_is(item, "style"))
            rc = read_checked(&record->style, item, is_valid_style, ENGINE_ERROR_PRINT_STYLE);
        else if (json_key_is(item, "lines_between_copies"))
            rc = json_copy_string(&record->lines_between_copies, item);
        else if (json_key_is(item, "isPrintBarcodeEnabled"))
            record->isPrintBarcodeEnabled = json_type_tag(item);
    }
    *settings = record;
    return rc;
}

EngineError read_summary_print_settings(EngineSummaryPrintSettings **settings, const cJSON *object)
{
    if (!settings || !object)
        return ENGINE_ERROR_SETTINGS_JSON;
    EngineSummaryPrintSettings *record = ENGINE_ALLOC(sizeof *record);
    if (!record)
        return ENGINE_ERROR_NO_MEMORY;
    EngineError rc = ENGINE_OK;
    for (const cJSON *item = object->child; item && rc == ENGINE_OK; item = item->next)
        read_shared_member(item, &record->width, &record->number_of_copies, &rc);
    record->feed_lines = SUMMARY_FEED_LINES;
    *settings = record;
    return rc;
}

void free_print_settings(EnginePrintSettings **settings)
{
    if (!settings || !*settings)
        return;
    ENGINE_FREE((*settings)->width);
    ENGINE_FREE((*settings)->style);
    ENGINE_FREE((*settings)->lines_between_copies);
    ENGINE_FREE(*settings);
}

void free_summary_print_settings(EngineSummaryPrintSettings **settings)
{
    if (!settings || !*settings)
        return;
    ENGINE_FREE((*settings)->width);
    ENGINE_FREE(*settings);
}
