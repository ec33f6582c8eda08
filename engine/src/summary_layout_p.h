/*
 * Private to the receipt engine: not part of its interface.
 *
 * The daily summary: title block, orders table, totals and footnotes.
 */
#ifndef RECEIPT_ENGINE_SUMMARY_LAYOUT_P_H
#define RECEIPT_ENGINE_SUMMARY_LAYOUT_P_H

#include "receipt_engine/receipt_engine.h"
#include "summary_parser_p.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct ByteBuffer;

/*
 * Lays out every copy of the summary into *out / *out_length (NULL and 0 for zero copies). Returns 0;
 * ENGINE_ERROR_INVALID_INPUT for an incomplete document; ENGINE_ERROR_PAPER_WIDTH for a missing or unknown
 * width; ENGINE_ERROR_NO_MEMORY. On a code *out is NULL.
 */
EngineError layout_summary(const SummaryDocument *document, uint8_t **out, uint32_t *out_length);

/* As layout_summary, writing into the buffer that parsing reserved (see layout_order_into). */
EngineError layout_summary_into(const SummaryDocument *document, struct ByteBuffer *reserved, uint8_t **out,
                                uint32_t *out_length);

#ifdef __cplusplus
}
#endif

#endif /* RECEIPT_ENGINE_SUMMARY_LAYOUT_P_H */
