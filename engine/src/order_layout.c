/* The order receipt, copy by copy: head, body, tail, feed and cut. */
#include "order_layout_p.h"

#include "print_line_p.h"
#include "utility_p.h"

#include <stdio.h>
#include <string.h>

#define ENGINE_UNIT "src/order_layout.c"

/* Columns of the price field at the right of an item line, and the room a name must leave for it. */
#define PRICE_COLUMNS 7u
#define NAME_RESERVE 11u

OrderStyleTable order_style_table(const char *style)
{
    static const OrderStyleTable normal = {{6, 1, 8, 6, 6, 1, 4, 1, 1, 1, 4, 1, 6, 6, 6, 6, 6}};
    /* The customer block stays large in the small style: the courier reads it at arm's length. */
    static const OrderStyleTable small = {{1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 6, 6, 6}};
    static const OrderStyleTable plain = {{0}};
    if (style && strcmp(style, "normal") == 0)
        return normal;
    if (style && strcmp(style, "small") == 0)
        return small;
    return plain;
}

int32_t copy_feed_lines(const char *lines_between_copies)
{
    if (lines_between_copies && strcmp(lines_between_copies, "small") == 0)
        return 3;
    if (lines_between_copies && strcmp(lines_between_copies, "large") == 0)
        return 7;
    return 5;
}

static bool text_is(const char *text, const char *expected)
{
    return text && strcmp(text, expected) == 0;
}

static uint32_t columns(const char *text, TextStyle style)
{
    return text ? text_display_width((const uint8_t *)text, (uint32_t)strlen(text), style & TEXT_STYLE_DOUBLE_WIDTH)
                : 0;
}

static void add_blank_line(LineBuilder *lines, TextStyle style)
{
    add_line(lines, "", style, ALIGNMENT_LEFT, NULL, LINE_END_FEED);
}

/* "#17" and a word between runs of asterisks: the first and last line of every copy. */
static void add_title_line(LineBuilder *lines, const OrderDocument *document, const char *word,
                           const OrderStyleTable *styles)
{
    add_line_printf(lines, styles->slot[ORDER_SLOT_SERIAL], ALIGNMENT_CENTRE, "*", LINE_END_FEED, "#%d",
                    document->order->general->daySn);
    add_run(lines, (uint32_t)strlen(word), word, styles->slot[ORDER_SLOT_TITLE_WORD]);
}

/* Writes "x%d " of quantity, as snprintf does. */
static void quantity_text(char out[16], int32_t quantity)
{
    char digits[12];
    char *start = digits + sizeof digits;
    uint32_t magnitude = quantity < 0 ? 0u - (uint32_t)quantity : (uint32_t)quantity;
    do {
        *--start = (char)('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude > 0);
    if (quantity < 0)
        *--start = '-';
    size_t length = (size_t)(digits + sizeof digits - start);
    out[0] = 'x';
    memcpy(out + 1, start, length);
    out[length + 1] = ' ';
    out[length + 2] = '\0';
}

/* Adds the lines of items (and, below each, its additions) in three columns: name, quantity, price. */
static void add_item_lines(LineBuilder *lines, const OrderItem *items, TextStyle style, uint32_t width,
                           bool addition)
{
    const char *prefix = addition ? "(+)" : "";
    for (const OrderItem *item = items; item && lines->rc == ENGINE_OK; item = item->next) {
        const char *name = item->name ? item->name : "";
        char quantity[16] = " ";
        if (item->displayQuantity)
            quantity_text(quantity, item->quantity);
        char price[ENGINE_MONEY_TEXT_SIZE];
        format_money(price, 0, (float)item->quantity * item->price);

        uint32_t n = columns(prefix, style) + columns(name, style);
        uint32_t q = columns(quantity, style);
        uint32_t p = columns(price, style);
        uint32_t gap = p < PRICE_COLUMNS ? PRICE_COLUMNS - p : 0;
        if (n + NAME_RESERVE < width) {
            uint32_t used = n + q + PRICE_COLUMNS;
            int spaces = used < width ? (int)(width - used) : 0;
            const TextPart parts[] = {{0, prefix}, {0, name}, {(uint32_t)spaces, quantity}, {gap, price}};
            add_line_parts(lines, style, ALIGNMENT_LEFT, " ", LINE_END_FEED, parts, 4);
        } else {
            uint32_t used = q + PRICE_COLUMNS;
            int spaces = used < width ? (int)(width - used) : 0;
            const TextPart name_parts[] = {{0, prefix}, {0, name}};
            const TextPart price_parts[] = {{(uint32_t)spaces, quantity}, {gap, price}};
            add_line_parts(lines, style, ALIGNMENT_LEFT, " ", LINE_END_FEED, name_parts, 2);
            add_line_parts(lines, style, ALIGNMENT_LEFT, " ", LINE_END_FEED, price_parts, 2);
        }
        add_item_lines(lines, item->additions, style, width, true);
    }
}

static void add_group_lines(LineBuilder *lines, const OrderDetail *detail, const OrderStyleTable *styles,
                            uint32_t width)
{
    for (const ItemGroup *group = detail->groups; group; group = group->next) {
        /* Discount groups were emptied into the extra group while parsing. */
        if (text_is(group->type, DISCOUNT_GROUP_TYPE))
            continue;
        add_line(lines, group->name, styles->slot[ORDER_SLOT_GROUP], ALIGNMENT_CENTRE, "-", LINE_END_FEED);
        TextStyle style = text_is(group->type, EXTRA_GROUP_TYPE) ? styles->slot[ORDER_SLOT_EXTRA_ITEM]
                                                                 : styles->slot[ORDER_SLOT_ITEM];
        add_item_lines(lines, group->items, style, width, false);
    }
}

/* A rule, then the amount charged with its label at the left and the amount at the right. */
static void add_amount_lines(LineBuilder *lines, const Order *order, const OrderStyleTable *styles, uint32_t width)
{
    add_line(lines, "", 0, ALIGNMENT_RIGHT, "-", LINE_END_FEED);
    TextStyle style = styles->slot[ORDER_SLOT_AMOUNT];
    const char *label = text_is(order->general->payment, "online") ? "已付" : "应付";
    char money[ENGINE_MONEY_TEXT_SIZE];
    format_money(money, 0, order->detail->accounting->receipt);
    char *amount = engine_sprintf("￥%s", money);
    if (!amount) {
        if (lines->rc == ENGINE_OK)
            lines->rc = ENGINE_ERROR_NO_MEMORY;
        return;
    }
    uint32_t used = columns(label, style) + columns(amount, style);
    add_line(lines, label, style, ALIGNMENT_LEFT, NULL, LINE_END_FEED);
    if (used < width) {
        char spaces[64];
        uint32_t count = width - used;
        memset(spaces, ' ', count);
        add_run(lines, count, spaces, 1);
    }
    add_run(lines, (uint32_t)strlen(amount), amount, style);
    ENGINE_FREE(amount);
    add_blank_line(lines, 0);
}

static void add_customer_lines(LineBuilder *lines, const Order *order, const OrderStyleTable *styles)
{
    const char *kind = order->general->kind;
    const Consignee *consignee = order->consignee;
    TextStyle place = styles->slot[ORDER_SLOT_CUSTOMER_PLACE];
    if (!is_known_order_kind(kind))
        return;
    if (text_is(kind, "dine")) {
        const char *table = consignee->tableNumber ? consignee->tableNumber : "";
        add_line_printf(lines, place, ALIGNMENT_LEFT, " ", LINE_END_FEED, "桌号  %s", table);
        /* Padded to the full width, so the count prints at the start of the next printed line. */
        add_line(lines, "人数  ", place, ALIGNMENT_LEFT, " ", LINE_END_NONE);
        add_line_printf(lines, place, ALIGNMENT_LEFT, " ", LINE_END_FEED, "%d", consignee->peopleCount);
        return;
    }
    add_line(lines, consignee->address, place, ALIGNMENT_LEFT, " ", LINE_END_FEED);
    add_line(lines, consignee->name, styles->slot[ORDER_SLOT_CUSTOMER_NAME], ALIGNMENT_LEFT, NULL, LINE_END_FEED);
    for (const PhoneNumber *phone = consignee->phones; phone && lines->rc == ENGINE_OK; phone = phone->next) {
        if (!phone->number || phone->number[0] == '\0')
            continue;
        add_line_owned(lines, format_phone(phone->number), styles->slot[ORDER_SLOT_CUSTOMER_PHONE], ALIGNMENT_LEFT,
                       " ", LINE_END_FEED);
    }
}

static void add_barcode_lines(LineBuilder *lines, const char *id)
{
    uint32_t length = 0;
    uint8_t *bytes = barcode_bytes(id, &length);
    if (!bytes) {
        if (lines->rc == ENGINE_OK)
            lines->rc = ENGINE_ERROR_NO_MEMORY;
        return;
    }
    add_line(lines, NULL, 0, ALIGNMENT_CENTRE, NULL, LINE_END_FEED);
    add_run(lines, length, bytes, 1);
    ENGINE_FREE(bytes);
    add_blank_line(lines, 1);
}

static void add_body_lines(LineBuilder *lines, const OrderDocument *document, const OrderStyleTable *styles,
                           uint32_t width)
{
    const Order *order = document->order;
    const OrderGeneral *general = order->general;
    add_blank_line(lines, 0);
    add_line(lines, document->restaurant->name, styles->slot[ORDER_SLOT_RESTAURANT], ALIGNMENT_CENTRE, " ",
             LINE_END_FEED);
    add_blank_line(lines, 0);
    add_line(lines, text_is(general->payment, "online") ? "--已在线支付--" : "--客户未付款--",
             styles->slot[ORDER_SLOT_PAYMENT], ALIGNMENT_CENTRE, " ", LINE_END_FEED);
    if (general->isBooked) {
        struct tm booked = local_time(general->bookedTime);
        add_line_printf(lines, styles->slot[ORDER_SLOT_BOOKED], ALIGNMENT_CENTRE, " ", LINE_END_FEED,
                        "预订%02d:%02d送达", booked.tm_hour, booked.tm_min);
    }
    add_blank_line(lines, 0);
    struct tm created = local_time(general->createdTime);
    add_line_printf(lines, styles->slot[ORDER_SLOT_ORDER_TIME], ALIGNMENT_LEFT, " ", LINE_END_FEED,
                    "[下单时间] %02d-%02d %02d:%02d", created.tm_mon, created.tm_mday, created.tm_hour, created.tm_min);
    if (general->remark && general->remark[0] != '\0') {
        add_line(lines, "[备注] ", styles->slot[ORDER_SLOT_REMARK_LABEL], ALIGNMENT_LEFT, " ", LINE_END_FEED);
        add_run(lines, (uint32_t)strlen(general->remark), general->remark, styles->slot[ORDER_SLOT_REMARK]);
    }
    add_blank_line(lines, 0);
    add_group_lines(lines, order->detail, styles, width);
    add_amount_lines(lines, order, styles, width);
    add_customer_lines(lines, order, styles);
    add_blank_line(lines, 0);
    if (document->printSettings->isPrintBarcodeEnabled)
        add_barcode_lines(lines, order->id);
}

EngineError layout_order(const OrderDocument *document, uint8_t **out, uint32_t *out_length)
{
    return layout_order_into(document, NULL, out, out_length);
}

EngineError layout_order_into(const OrderDocument *document, ByteBuffer *reserved, uint8_t **out,
                              uint32_t *out_length)
{
    if (reserved && (!out || !out_length || !order_document_is_complete(document) ||
                     paper_width_chars(document->printSettings->width) < 0 ||
                     document->printSettings->number_of_copies <= 0))
        buffer_release(reserved); /* no receipt to write: the checks below say why */
    if (!out || !out_length)
        return ENGINE_ERROR_INVALID_INPUT;
    *out = NULL;
    if (!order_document_is_complete(document))
        return ENGINE_ERROR_INVALID_INPUT;
    const EnginePrintSettings *settings = document->printSettings;
    int32_t width = paper_width_chars(settings->width);
    if (width < 0)
        return ENGINE_ERROR_PAPER_WIDTH;
    if (settings->number_of_copies <= 0) {
        /* No copies: an empty receipt, whatever the order holds. */
        *out_length = 0;
        return ENGINE_OK;
    }
    const OrderStyleTable styles = order_style_table(settings->style);

    /* One buffer for the whole copy: every line is rendered into it as soon as the next one starts. A copy
       longer than the output limit can never be printed, so the buffer stops there. */
    ByteBuffer receipt = receipt_buffer(reserved);
    LineBuilder lines = {.rc = ENGINE_OK};
    stream_lines(&lines, &receipt, (uint32_t)width);
    add_title_line(&lines, document, "Zhevo订单", &styles);
    flush_lines(&lines, &receipt, (uint32_t)width);
    add_body_lines(&lines, document, &styles, (uint32_t)width);
    flush_lines(&lines, &receipt, (uint32_t)width);
    add_title_line(&lines, document, "完", &styles);
    flush_lines(&lines, &receipt, (uint32_t)width);
    if (lines.rc == ENGINE_OK) {
        buffer_append_repeat(&receipt, 0x0A, (uint32_t)copy_feed_lines(settings->lines_between_copies));
        lines.rc = receipt.rc;
    }
    /* A partial cut, rendered like any other line. */
    static const uint8_t partial_cut[] = {0x1D, 0x56, 0x31};
    add_line(&lines, NULL, 0, ALIGNMENT_LEFT, NULL, LINE_END_FEED);
    add_run(&lines, sizeof partial_cut, partial_cut, 1);
    flush_lines(&lines, &receipt, (uint32_t)width);
    end_lines(&lines);

    if (lines.rc != ENGINE_OK) {
        buffer_release(&receipt);
        return lines.rc;
    }
    return buffer_repeat_take(&receipt, settings->number_of_copies, out, out_length);
}
