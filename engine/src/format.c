/* The engine's entry functions: three JSON texts in, one receipt buffer out. */
#include "receipt_engine/receipt_engine.h"

#include "order_layout_p.h"
#include "order_parser_p.h"
#include "print_line_p.h"
#include "summary_layout_p.h"
#include "summary_parser_p.h"
#include "utility_p.h"

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

static EngineError format_order(OrderParser parse, uint8_t **out, uint32_t *out_length,
                                const char *restaurant_json, const char *order_json, const char *settings_json)
{
    if (!out || !out_length)
        return ENGINE_ERROR_INVALID_INPUT;
    OrderDocument *document = NULL;
    uint8_t *bytes = NULL;
    uint32_t length = 0;
    /* The parser reserves the receipt's room before it frees its JSON trees (see reserve_receipt). */
    ByteBuffer receipt = {0};
    EngineError rc = parse(&document, restaurant_json, order_json, settings_json, &receipt);
    if (rc == ENGINE_OK && !order_document_is_complete(document))
        rc = ENGINE_ERROR_INVALID_INPUT;
    if (rc == ENGINE_OK)
        rc = layout_order_into(document, &receipt, &bytes, &length);
    buffer_release(&receipt);
    destroy_order_document(&document);
    return deliver(rc, bytes, length, out, out_length);
}

EngineError format_online_order(uint8_t **out, uint32_t *out_length, const char *restaurant_json,
                                const char *order_json, const char *settings_json)
{
    return format_order(parse_online_order_into, out, out_length, restaurant_json, order_json, settings_json);
}

EngineError format_local_order(uint8_t **out, uint32_t *out_length, const char *restaurant_json,
                               const char *order_json, const char *settings_json)
{
    return format_order(parse_local_order_into, out, out_length, restaurant_json, order_json, settings_json);
}

EngineError format_summary(uint8_t **out, uint32_t *out_length, const char *restaurant_json,
                           const char *summary_json, const char *settings_json)
{
    if (!out || !out_length)
        return ENGINE_ERROR_INVALID_INPUT;
    SummaryDocument *document = NULL;
    uint8_t *bytes = NULL;
    uint32_t length = 0;
    ByteBuffer receipt = {0};
    EngineError rc = parse_summary_into(&document, restaurant_json, summary_json, settings_json, &receipt);
    if (rc == ENGINE_OK && !summary_document_is_complete(document))
        rc = ENGINE_ERROR_INVALID_INPUT;
    if (rc == ENGINE_OK)
        rc = layout_summary_into(document, &receipt, &bytes, &length);
    buffer_release(&receipt);
    destroy_summary_document(&document);
    return deliver(rc, bytes, length, out, out_length);
}

void engine_free(uint8_t **buffer)
{
    if (buffer)
        ENGINE_FREE(*buffer);
}
