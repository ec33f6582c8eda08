/* The daily summary report. */
#include "summary_layout_p.h"

#include "print_line_p.h"
#include "utility_p.h"

#include <stdio.h>
#include <string.h>

#define ENGINE_UNIT "src/summary_layout.c"

/* Every run of the summary carries the style commands but no size or emphasis: it prints in the normal
   font whatever the order receipts use. */
#define SUMMARY_STYLE 1

enum { SUMMARY_COLUMNS = 4 };

static const char *const column_headers[SUMMARY_COLUMNS] = {"流水号", "应收", "实收", "时间"};
static const uint32_t columns_58mm[SUMMARY_COLUMNS] = {6, 9, 9, 8};
static const uint32_t columns_80mm[SUMMARY_COLUMNS] = {7, 14, 14, 13};

/* Room for a row: the widest cells (a serial with its mark, two float amounts, a time) and their pads. */
#define ROW_SIZE 256

/* Appends text and the spaces up to column_width columns to row at *at. */
static void put_cell(char *row, size_t *at, const char *text, uint32_t column_width)
{
    uint32_t used = text_display_width((const uint8_t *)text, (uint32_t)strlen(text),
                                       SUMMARY_STYLE & TEXT_STYLE_DOUBLE_WIDTH);
    int pad = used < column_width ? (int)(column_width - used) : 0;
    int written = snprintf(row + *at, ROW_SIZE - *at, "%s%*s", text, pad, "");
    if (written > 0 && (size_t)written < ROW_SIZE - *at)
        *at += (size_t)written;
}

static void add_text_line(LineBuilder *lines, const char *text)
{
    add_line(lines, text, SUMMARY_STYLE, ALIGNMENT_LEFT, " ", LINE_END_FEED);
}

static void add_separator(LineBuilder *lines)
{
    add_line(lines, "", SUMMARY_STYLE, ALIGNMENT_RIGHT, "-", LINE_END_FEED);
}

static void add_time_line(LineBuilder *lines, const char *label, int64_t seconds)
{
    struct tm t = local_time(seconds);
    char text[96];
    snprintf(text, sizeof text, "%s%d-%02d-%02d %2d:%02d", label, t.tm_year, t.tm_mon, t.tm_mday, t.tm_hour,
             t.tm_min);
    add_text_line(lines, text);
}

static void add_table(LineBuilder *lines, const SummaryOrder *orders, const uint32_t *widths)
{
    char row[ROW_SIZE];
    size_t at = 0;
    for (int c = 0; c < SUMMARY_COLUMNS; c++)
        put_cell(row, &at, column_headers[c], widths[c]);
    add_separator(lines);
    add_text_line(lines, row);
    add_separator(lines);
    for (const SummaryOrder *order = orders; order; order = order->next) {
        static const Accounting none;
        const Accounting *accounting = order->accounting ? order->accounting : &none;
        char serial[24];
        char receivable[ENGINE_MONEY_TEXT_SIZE];
        char receipt[ENGINE_MONEY_TEXT_SIZE];
        char time[24];
        bool online = order->payment && strcmp(order->payment, "online") == 0;
        snprintf(serial, sizeof serial, "%d%s", order->daySn, online ? "(!)" : "");
        format_money(receivable, 0, accounting->receivable);
        format_money(receipt, 0, accounting->receipt);
        struct tm created = local_time(order->createdTime);
        snprintf(time, sizeof time, "%2d:%02d", created.tm_hour, created.tm_min);
        at = 0;
        put_cell(row, &at, serial, widths[0]);
        put_cell(row, &at, receivable, widths[1]);
        put_cell(row, &at, receipt, widths[2]);
        put_cell(row, &at, time, widths[3]);
        add_text_line(lines, row);
    }
    add_separator(lines);
}

static void add_money_line(LineBuilder *lines, const char *label, float amount)
{
    char money[ENGINE_MONEY_TEXT_SIZE];
    char text[ENGINE_MONEY_TEXT_SIZE + 32];
    format_money(money, 0, amount);
    snprintf(text, sizeof text, "%s%s", label, money);
    add_text_line(lines, text);
}

static void add_totals(LineBuilder *lines, const SummaryDigest *digest)
{
    static const SummaryDigest none;
    if (!digest)
        digest = &none;
    char text[64];
    snprintf(text, sizeof text, "  - 有效订单：%d", digest->validOrderCount);
    add_text_line(lines, text);
    snprintf(text, sizeof text, "  - 无效订单：%d", digest->invalidOrderCount);
    add_text_line(lines, text);
    add_money_line(lines, "应收：", digest->receivable);
    add_money_line(lines, "  - 减免：", digest->discount);
    add_money_line(lines, "  - 实收：", digest->receipt);
    add_money_line(lines, "    - 现金支付：", digest->cashReceipt);
    add_money_line(lines, "    - 在线支付：", digest->onlineReceipt);
}

EngineError layout_summary(const SummaryDocument *document, uint8_t **out, uint32_t *out_length)
{
    return layout_summary_into(document, NULL, out, out_length);
}

EngineError layout_summary_into(const SummaryDocument *document, ByteBuffer *reserved, uint8_t **out,
                                uint32_t *out_length)
{
    if (reserved && (!out || !out_length || !summary_document_is_complete(document) ||
                     paper_width_chars(document->printSettings->width) < 0 ||
                     document->printSettings->number_of_copies <= 0))
        buffer_release(reserved); /* no receipt to write: the checks below say why */
    if (!out || !out_length)
        return ENGINE_ERROR_INVALID_INPUT;
    *out = NULL;
    if (!summary_document_is_complete(document))
        return ENGINE_ERROR_INVALID_INPUT;
    int32_t width = paper_width_chars(document->printSettings->width);
    if (width < 0)
        return ENGINE_ERROR_PAPER_WIDTH;
    const Summary *summary = document->summary;

    if (document->printSettings->number_of_copies <= 0) {
        /* No copies: an empty receipt, whatever the summary holds. */
        *out_length = 0;
        return ENGINE_OK;
    }

    /* The lines go into one buffer as they are made (see layout_order): a long day never piles up. */
    ByteBuffer receipt = receipt_buffer(reserved);
    LineBuilder lines = {.rc = ENGINE_OK};
    stream_lines(&lines, &receipt, (uint32_t)width);
    add_line(&lines, document->restaurant->name, SUMMARY_STYLE, ALIGNMENT_LEFT, " ", LINE_END_FEED);
    add_text_line(&lines, "有效订单汇总");
    add_time_line(&lines, "开始时间：", summary->beginTime);
    add_time_line(&lines, "截止时间：", summary->endTime);
    add_table(&lines, summary->orders, width == 32 ? columns_58mm : columns_80mm);
    add_totals(&lines, summary->digest);
    add_separator(&lines);
    add_text_line(&lines, "(!)为在线支付订单");
    add_text_line(&lines, "减免含Zhevo补贴及商家自担两部分");
    flush_lines(&lines, &receipt, (uint32_t)width);
    end_lines(&lines);
    if (lines.rc == ENGINE_OK && document->printSettings->feed_lines > 0) {
        buffer_append_repeat(&receipt, 0x0A, (uint32_t)document->printSettings->feed_lines);
        lines.rc = receipt.rc;
    }
    if (lines.rc != ENGINE_OK) {
        buffer_release(&receipt);
        return lines.rc;
    }
    return buffer_repeat_take(&receipt, document->printSettings->number_of_copies, out, out_length);
}
