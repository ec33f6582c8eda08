/*
 * Receipt engine: restaurant, order and summary JSON in, ESC/POS receipt bytes out.
 *
 * Memory management: every entry function takes NUL-terminated UTF-8 JSON texts, which stay the caller's,
 * and on success hands back one byte buffer through its out-parameters. That buffer belongs to the caller
 * from then on and must be released with engine_free() (never with free()). On failure the buffer pointer
 * is set to NULL and the length is left as it was. A successful result may be an empty buffer (NULL with
 * length 0), for example when the settings ask for zero copies.
 *
 * The functions may be called from several threads at once.
 *
 * Size limits. Each of the three JSON texts may hold at most ENGINE_INPUT_LIMIT bytes (32 MiB, the NUL not
 * counted); a longer text is refused at once, before any parsing, with ENGINE_ERROR_INPUT_TOO_LARGE. Within
 * that, time and memory grow linearly with the input: the largest job the benchmarks make, a summary of
 * 100,000 orders, is a 16 MiB text (a real day's summary or order is well under 1 MiB). One copy of a
 * receipt may be at most 64 MiB and all copies together too; beyond that the call fails with
 * ENGINE_ERROR_NO_MEMORY.
 */
#ifndef RECEIPT_ENGINE_H
#define RECEIPT_ENGINE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Result of every engine operation: 0 on success, a negative code on failure. */
typedef int32_t EngineError;

enum {
    ENGINE_OK = 0,
    ENGINE_ERROR_RENDER = -1,              /* a line renderer was given null arguments */
    ENGINE_ERROR_INVALID_INPUT = -2,       /* null input, or the parsed document is incomplete */
    ENGINE_ERROR_ORDER_OBJECT = -3,        /* the order reader got no object */
    ENGINE_ERROR_NO_MEMORY = -12,          /* an allocation failed, or the receipt would pass 64 MiB */
    ENGINE_ERROR_INPUT_TOO_LARGE = -13,    /* a JSON text is longer than ENGINE_INPUT_LIMIT bytes */
    ENGINE_ERROR_RESTAURANT_JSON = -31,    /* the restaurant text does not parse */
    ENGINE_ERROR_ORDER_JSON = -32,         /* the order text does not parse */
    ENGINE_ERROR_SETTINGS_JSON = -33,      /* the print-settings text does not parse */
    ENGINE_ERROR_SUMMARY_JSON = -34,       /* the summary text does not parse */
    ENGINE_ERROR_GENERAL_SECTION = -321,   /* the "general" reader got no object */
    ENGINE_ERROR_CONSIGNEE_SECTION = -322, /* the consignee reader got no object */
    ENGINE_ERROR_DETAIL_SECTION = -323,    /* the "detail" or "accounting" reader got no object */
    ENGINE_ERROR_GROUP_SECTION = -324,     /* the item-group reader got no object */
    ENGINE_ERROR_ITEM_SECTION = -325,      /* the item reader got no object */
    ENGINE_ERROR_PAPER_WIDTH = -331,       /* "width" is not "58mm" or "80mm" */
    ENGINE_ERROR_PRINT_STYLE = -332,       /* "style" is not "normal" or "small" */
    ENGINE_ERROR_DIGEST_SECTION = -341,    /* the summary "digest" reader got no object */
    ENGINE_ERROR_SUMMARY_ORDERS = -342     /* the summary "items" reader got no array */
};

/* Largest JSON text, in bytes, that an entry function takes (see "Size limits" above). */
#define ENGINE_INPUT_LIMIT (32u << 20)

/* Bit set carried by every run of text. */
typedef int32_t TextStyle;

enum {
    TEXT_STYLE_PLAIN = 0,
    TEXT_STYLE_DOUBLE_WIDTH = 2,
    TEXT_STYLE_DOUBLE_HEIGHT = 4,
    TEXT_STYLE_EMPHASIZED = 8
};

/* Where a line's text goes. */
typedef int32_t Alignment;

enum {
    ALIGNMENT_LEFT = 0,
    ALIGNMENT_CENTRE = 1,
    ALIGNMENT_RIGHT = 2
};

/*
 * Formats an online order (order JSON with "general", "consignee" or "user", "detail" and "misc").
 * settings_json holds "width", "style", "number_of_copies", "lines_between_copies" (a string) and
 * "isPrintBarcodeEnabled". Returns 0 and the receipt in *out / *out_length, or a negative code.
 */
EngineError format_online_order(uint8_t **out, uint32_t *out_length, const char *restaurant_json,
                                const char *order_json, const char *settings_json);

/* Formats a local order (dine-in or telephone; the kind is "general"."localOrderType"). As above. */
EngineError format_local_order(uint8_t **out, uint32_t *out_length, const char *restaurant_json,
                               const char *order_json, const char *settings_json);

/* Formats the daily summary; settings_json needs only "number_of_copies" and "width". As above. */
EngineError format_summary(uint8_t **out, uint32_t *out_length, const char *restaurant_json,
                           const char *summary_json, const char *settings_json);

/* Releases a buffer returned by an entry function and sets *buffer to NULL. NULL arguments are ignored. */
void engine_free(uint8_t **buffer);

/* A short English description of a result code ("unknown error" for codes the engine never returns). */
const char *engine_error_text(EngineError code);

#ifdef __cplusplus
}
#endif

#endif /* RECEIPT_ENGINE_H */
