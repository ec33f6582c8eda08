/*
 * Private to the receipt engine: not part of its interface.
 *
 * The order receipt: which lines it has, with which text, style, alignment and fill.
 */
#ifndef RECEIPT_ENGINE_ORDER_LAYOUT_P_H
#define RECEIPT_ENGINE_ORDER_LAYOUT_P_H

#include "order_parser_p.h"
#include "receipt_engine/receipt_engine.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct ByteBuffer;

/* Slots of the order style table: the style of each part of the receipt. */
enum {
    ORDER_SLOT_SERIAL = 0,         /* "#" and the day serial, title and end line */
    ORDER_SLOT_TITLE_WORD = 1,     /* "Zhevo订单" and "完" */
    ORDER_SLOT_RESTAURANT = 2,     /* restaurant name */
    ORDER_SLOT_PAYMENT = 3,        /* payment status */
    ORDER_SLOT_BOOKED = 4,         /* booked-delivery line */
    ORDER_SLOT_REMARK_LABEL = 5,   /* "[备注] " */
    ORDER_SLOT_REMARK = 6,         /* remark text */
    ORDER_SLOT_ORDER_TIME = 7,     /* order-time line */
    ORDER_SLOT_GROUP = 9,          /* group name line */
    ORDER_SLOT_ITEM = 10,          /* items of ordinary groups */
    ORDER_SLOT_EXTRA_ITEM = 11,    /* items of the "extra" group */
    ORDER_SLOT_AMOUNT = 13,        /* amount line */
    ORDER_SLOT_CUSTOMER_NAME = 14, /* customer name */
    ORDER_SLOT_CUSTOMER_PHONE = 15, /* customer phones */
    ORDER_SLOT_CUSTOMER_PLACE = 16, /* address, table and people */
    ORDER_STYLE_SLOTS = 17
};

/* The style of each part of the order receipt, by slot. */
typedef struct OrderStyleTable {
    TextStyle slot[ORDER_STYLE_SLOTS];
} OrderStyleTable;

/* The styles of a print style name: "normal", "small"; anything else gives all zero. */
OrderStyleTable order_style_table(const char *style);

/* Line feeds between copies for a "lines_between_copies" text: small 3, middle 5, large 7, else 5. */
int32_t copy_feed_lines(const char *lines_between_copies);

/*
 * Lays out every copy of the receipt of document into *out / *out_length (NULL and 0 for zero copies).
 * Returns 0; ENGINE_ERROR_INVALID_INPUT for an incomplete document; ENGINE_ERROR_PAPER_WIDTH for a width
 * other than "58mm" and "80mm"; ENGINE_ERROR_NO_MEMORY. On a code *out is NULL.
 */
EngineError layout_order(const OrderDocument *document, uint8_t **out, uint32_t *out_length);

/* As layout_order, writing into the buffer that parsing reserved (see reserve_receipt; NULL for none),
   which it takes over and leaves empty whatever the outcome. */
EngineError layout_order_into(const OrderDocument *document, struct ByteBuffer *reserved, uint8_t **out,
                              uint32_t *out_length);

/*
 * The display form of a phone number as a new tracked string: mobile numbers as 138-1234-5678, fixed
 * lines as 021-1234-5678 or 0571-1234-5678, +86 numbers as +86-..., anything else unchanged. NULL for a
 * NULL or empty text (and when memory is short).
 */
char *format_phone(const char *text);

/*
 * The run of the barcode line of an order id: CODE128 code set C of the id's digits packed in pairs, then
 * the id itself as text. Returns a tracked buffer and its length, or NULL when memory is short.
 */
uint8_t *barcode_bytes(const char *id, uint32_t *length);

#ifdef __cplusplus
}
#endif

#endif /* RECEIPT_ENGINE_ORDER_LAYOUT_P_H */
