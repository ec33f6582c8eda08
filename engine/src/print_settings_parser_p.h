/*
 * Private to the receipt engine: not part of its interface.
 *
 * The print-settings records and their readers.
 */
#ifndef RECEIPT_ENGINE_PRINT_SETTINGS_PARSER_P_H
#define RECEIPT_ENGINE_PRINT_SETTINGS_PARSER_P_H

#include "receipt_engine/receipt_engine.h"

#include <cjson/cJSON.h>

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* How an order prints. Missing keys leave their field NULL or 0. */
typedef struct EnginePrintSettings {
    char *width;                   /* "width": "58mm" or "80mm" */
    char *style;                   /* "style": "normal" or "small" */
    int32_t number_of_copies;      /* "number_of_copies" */
    char *lines_between_copies;    /* "lines_between_copies": "small", "middle", "large", or any text */
    int32_t isPrintBarcodeEnabled; /* type tag of "isPrintBarcodeEnabled": 1 true, 0 false */
} EnginePrintSettings;

/* How the summary prints. */
typedef struct EngineSummaryPrintSettings {
    char *width;              /* "width": "58mm" or "80mm" */
    int32_t number_of_copies; /* "number_of_copies" */
    int32_t feed_lines;       /* line feeds after each copy; always 5 */
} EngineSummaryPrintSettings;

/*
 * Reads the order settings from object into a new record stored in *settings, also when a code is returned
 * (the caller frees it then too). Returns 0; ENGINE_ERROR_SETTINGS_JSON for NULL arguments;
 * ENGINE_ERROR_PAPER_WIDTH or ENGINE_ERROR_PRINT_STYLE for an unknown width or style, stopping the walk;
 * ENGINE_ERROR_NO_MEMORY with *settings NULL when the record cannot be made.
 */
EngineError read_print_settings(EnginePrintSettings **settings, const cJSON *object);

/* The same for the summary, which reads only "width" and "number_of_copies". */
EngineError read_summary_print_settings(EngineSummaryPrintSettings **settings, const cJSON *object);

void free_print_settings(EnginePrintSettings **settings);
void free_summary_print_settings(EngineSummaryPrintSettings **settings);

#ifdef __cplusplus
}
#endif

#endif /* RECEIPT_ENGINE_PRINT_SETTINGS_PARSER_P_H */
