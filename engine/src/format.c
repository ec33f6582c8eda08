/* The engine's entry functions: three JSON texts in, one receipt buffer out. */
#include "receipt_engine/receipt_engine.h"

#include "order_layout_p.h"
#include "order_parser_p.h"
#include "print_line_p.h"
#include "summary_layout_p.h"
#include "summary_parser_p.h"
#include "utility_p.h"

/* An order parser; NULL stands for the summary's. */
typedef EngineError (*OrderParser)(OrderDocument **document, const char *restaurant_json,
                                   const char *order_json, const char *settings_json, ByteBuffer *receipt);

/* Hands the result over on success; on failure frees any partial output and clears *out. */
static EngineError deliver(EngineError rc, uint8_t *bytes, uint32_t length, uint8_t **out, uint32_t *out_length)
{
    if (rc == ENGINE_OK) {
        *out = bytes;
        *out_length = length;
    } else {
        ENGINE_FREE(bytes);
        *out = NULL;
    }
    return rc;
}

/* Parses, checks and lays out an order (parse_order) or the summary (parse_order NULL). */
static EngineError format_receipt(OrderParser parse_order, uint8_t **out, uint32_t *out_length,
                                  const char *restaurant_json, const char *body_json, const char *settings_json)
{
    if (!out || !out_length)
        return ENGINE_ERROR_INVALID_INPUT;
    OrderDocument *order = NULL;
    SummaryDocument *summary = NULL;
    uint8_t *bytes = NULL;
    uint32_t length = 0;
    /* The parser reserves the receipt's room before it frees its JSON trees (see reserve_receipt). */
    ByteBuffer receipt = {0};
    EngineError rc = parse_order ? parse_order(&order, restaurant_json, body_json, settings_json, &receipt)
                                 : parse_summary_into(&summary, restaurant_json, body_json, settings_json, &receipt);
    if (rc == ENGINE_OK && !(parse_order ? order_document_is_complete(order) : summary_document_is_complete(summary)))
        rc = ENGINE_ERROR_INVALID_INPUT;
    if (rc == ENGINE_OK)
        rc = parse_order ? layout_order_into(order, &receipt, &bytes, &length)
                         : layout_summary_into(summary, &receipt, &bytes, &length);
    buffer_release(&receipt);
    destroy_order_document(&order);
    destroy_summary_document(&summary);
    return deliver(rc, bytes, length, out, out_length);
}

EngineError format_online_order(uint8_t **out, uint32_t *out_length, const char *restaurant_json,
                                const char *order_json, const char *settings_json)
{
    return format_receipt(parse_online_order_into, out, out_length, restaurant_json, order_json, settings_json);
}

EngineError format_local_order(uint8_t **out, uint32_t *out_length, const char *restaurant_json,
                               const char *order_json, const char *settings_json)
{
    return format_receipt(parse_local_order_into, out, out_length, restaurant_json, order_json, settings_json);
}

EngineError format_summary(uint8_t **out, uint32_t *out_length, const char *restaurant_json,
                           const char *summary_json, const char *settings_json)
{
    return format_receipt(NULL, out, out_length, restaurant_json, summary_json, settings_json);
}

void engine_free(uint8_t **buffer)
{
    if (buffer)
        ENGINE_FREE(*buffer);
}
