/* Styled lines to ESC/POS bytes. */
#include "print_line_p.h"

#include "utility_p.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#define ENGINE_UNIT "src/print_line.c"

/* Bytes a run grows by: the style reset always, the style prefix only for a non-zero style. */
static uint32_t style_overhead(TextStyle style)
{
    return style != 0 ? 12u : 6u;
}

uint32_t text_display_width(const uint8_t *bytes, uint32_t length, int double_width)
{
    if (!bytes || length == 0)
        return 0;
    uint32_t columns = 0;
    uint32_t i = 0;
    while (i < length) {
        /* Runs of ASCII, eight bytes at a time: one column each. */
        while (length - i >= 8) {
            uint64_t word;
            memcpy(&word, bytes + i, sizeof word);
            if (word & 0x8080808080808080ull)
                break;
            columns += 8;
            i += 8;
        }
        if (i >= length)
            break;
        uint8_t lead = bytes[i];
        uint32_t step = 1;
        uint32_t width = 1;
        if (lead >= 0xC0 && lead <= 0xDF) {
            step = 2;
            width = 2;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            step = 3;
            width = 2;
        } else if (lead >= 0xF0 && lead <= 0xF7) {
            step = 4;
            width = 2;
        }
        columns += width;
        /* A character cut off at the end still counts whole; the scan just stops there. */
        i = (length - i > step) ? i + step : length;
    }
    return double_width ? columns * 2 : columns;
}

uint32_t segment_list_width(const TextSegment *segments)
{
    uint32_t columns = 0;
    for (const TextSegment *s = segments; s; s = s->next)
        columns += text_display_width(s->text, s->length, s->style & TEXT_STYLE_DOUBLE_WIDTH);
    return columns;
}

EngineError append_segment(TextSegment **segments, uint32_t length, const uint8_t *bytes, TextStyle style)
{
    if (!segments)
        return ENGINE_ERROR_RENDER;
    uint32_t stored = (bytes && length > 0) ? length : 0;
    /* The run's bytes live in its own block, right behind it: one allocation and one copy per run. */
    TextSegment *segment = ENGINE_ALLOC(sizeof *segment + (size_t)stored);
    if (!segment)
        return ENGINE_ERROR_NO_MEMORY;
    segment->style = style;
    if (stored > 0) {
        segment->text = (uint8_t *)(segment + 1);
        memcpy(segment->text, bytes, stored);
        segment->length = stored;
    }
    /* A line holds a handful of runs: the walk to the end is short. */
    TextSegment **end = segments;
    while (*end)
        end = &(*end)->next;
    *end = segment;
    return ENGINE_OK;
}

PrintLine *new_print_line(const char *text, TextStyle style, Alignment alignment, const char *fill,
                          int32_t line_end)
{
    /* The fill pattern lives in the line's own block, right behind it. */
    size_t fill_size = fill ? strlen(fill) + 1 : 0;
    PrintLine *line = ENGINE_ALLOC(sizeof *line + fill_size);
    if (!line)
        return NULL;
    line->alignment = alignment;
    line->line_end = line_end;
    if (fill) {
        line->fill = (char *)(line + 1);
        memcpy(line->fill, fill, fill_size);
    }
    if (text && append_segment(&line->segments, (uint32_t)strlen(text), (const uint8_t *)text, style) != 0) {
        free_print_lines(&line);
        return NULL;
    }
    return line;
}

/* Writes the style prefix, the text and the style reset of one run at out; returns the end. */
static uint8_t *write_styled_run(uint8_t *out, const uint8_t *text, uint32_t length, TextStyle style)
{
    if (style != 0) {
        const uint8_t prefix[6] = {
            0x1B, 0x21, (style & TEXT_STYLE_EMPHASIZED) ? 0x08 : 0x00,
            0x1D, 0x21, (uint8_t)(((style & TEXT_STYLE_DOUBLE_WIDTH) ? 0x10 : 0x00) +
                                  ((style & TEXT_STYLE_DOUBLE_HEIGHT) ? 0x01 : 0x00))};
        memcpy(out, prefix, sizeof prefix);
        out += sizeof prefix;
    }
    if (length > 0) {
        memcpy(out, text, length);
        out += length;
    }
    static const uint8_t reset[6] = {0x1D, 0x21, 0x00, 0x1B, 0x21, 0x00};
    memcpy(out, reset, sizeof reset);
    return out + sizeof reset;
}

EngineError apply_text_style(uint8_t **buffer, uint32_t *length, TextStyle style)
{
    if (!buffer || !length)
        return ENGINE_ERROR_RENDER;
    uint32_t size = *length + style_overhead(style);
    uint8_t *styled = ENGINE_ALLOC(size);
    if (!styled)
        return ENGINE_ERROR_NO_MEMORY;
    write_styled_run(styled, *buffer, *buffer ? *length : 0, style);
    engine_release(*buffer);
    *buffer = styled;
    *length = size;
    return ENGINE_OK;
}

EngineError render_segments(uint8_t **buffer, uint32_t *length, const TextSegment *segments)
{
    if (!buffer || !length)
        return ENGINE_ERROR_RENDER;
    *buffer = NULL;
    *length = 0;
    uint32_t total = 0;
    for (const TextSegment *s = segments; s; s = s->next)
        total += s->length + style_overhead(s->style);
    if (total == 0)
        return ENGINE_OK;
    uint8_t *out = ENGINE_ALLOC(total);
    if (!out)
        return ENGINE_ERROR_NO_MEMORY;
    uint32_t used = 0;
    for (const TextSegment *s = segments; s; s = s->next) {
        uint8_t *run = NULL;
        uint32_t run_length = 0;
        if (s->length > 0 && !engine_memdup(&run, s->length, s->text)) {
            ENGINE_FREE(out);
            return ENGINE_ERROR_NO_MEMORY;
        }
        run_length = run ? s->length : 0;
        EngineError rc = apply_text_style(&run, &run_length, s->style);
        if (rc != ENGINE_OK) {
            ENGINE_FREE(run);
            ENGINE_FREE(out);
            return rc;
        }
        memcpy(out + used, run, run_length);
        used += run_length;
        ENGINE_FREE(run);
    }
    *buffer = out;
    *length = total;
    return ENGINE_OK;
}

EngineError apply_alignment(uint8_t **buffer, uint32_t *length, Alignment alignment)
{
    if (!buffer || !length)
        return ENGINE_ERROR_RENDER;
    if (alignment < ALIGNMENT_LEFT || alignment > ALIGNMENT_RIGHT)
        return ENGINE_OK;
    uint8_t *aligned = ENGINE_ALLOC(*length + 3);
    if (!aligned)
        return ENGINE_ERROR_NO_MEMORY;
    aligned[0] = 0x1B;
    aligned[1] = 0x61;
    aligned[2] = (uint8_t)alignment;
    if (*length > 0)
        memcpy(aligned + 3, *buffer, *length);
    engine_release(*buffer);
    *buffer = aligned;
    *length += 3;
    return ENGINE_OK;
}

char *make_fill_line(const char *pattern, uint32_t count, int reverse)
{
    if (!pattern || pattern[0] == '\0' || count == 0)
        return NULL;
    char *line = ENGINE_ALLOC((size_t)count + 1);
    if (!line)
        return NULL;
    memset(line, ' ', count);
    size_t period = strlen(pattern);
    for (uint32_t i = 0; i < count; i++)
        line[reverse ? count - 1 - i : i] = pattern[i % period];
    line[count] = '\0';
    return line;
}

/* Moves the bytes to a block of exactly capacity bytes. 0 when memory is short (rc set). */
static int buffer_grow(ByteBuffer *buffer, uint32_t capacity)
{
    uint8_t *grown = ENGINE_ALLOC(capacity);
    if (!grown) {
        buffer->rc = ENGINE_ERROR_NO_MEMORY;
        return 0;
    }
    if (buffer->length > 0)
        memcpy(grown, buffer->data, buffer->length);
    engine_release(buffer->data);
    buffer->data = grown;
    buffer->capacity = capacity;
    return 1;
}

static void render_waiting(LineBuilder *builder);

uint8_t *buffer_reserve(ByteBuffer *buffer, uint32_t extra)
{
    if (buffer->rc != ENGINE_OK)
        return NULL;
    uint32_t limit = buffer->limit ? buffer->limit : UINT32_MAX;
    if (extra > limit - buffer->length) {
        buffer->rc = ENGINE_ERROR_NO_MEMORY;
        return NULL;
    }
    uint32_t needed = buffer->length + extra;
    if (needed > buffer->capacity) {
        /* Small first (a line's text), then doubling. */
        uint64_t capacity = buffer->capacity ? (uint64_t)buffer->capacity * 2 : 128;
        while (capacity < needed)
            capacity *= 2;
        if (capacity > limit)
            capacity = limit;
        if (!buffer_grow(buffer, (uint32_t)capacity))
            return NULL;
    }
    return buffer->data + buffer->length;
}

void reserve_receipt(ByteBuffer *receipt)
{
    if (receipt && receipt->capacity < RECEIPT_FIRST_RESERVE)
        buffer_reserve(receipt, RECEIPT_FIRST_RESERVE);
}

/* Takes over a buffer that reserve_receipt filled (a failed one is dropped) for a receipt of one layout. */
ByteBuffer receipt_buffer(ByteBuffer *reserved)
{
    ByteBuffer receipt = {0};
    if (reserved) {
        receipt = *reserved;
        *reserved = (ByteBuffer){0};
    }
    if (receipt.rc != ENGINE_OK)
        buffer_release(&receipt);
    receipt.rc = ENGINE_OK;
    receipt.limit = ENGINE_OUTPUT_LIMIT;
    if (receipt.capacity < RECEIPT_FIRST_RESERVE)
        buffer_reserve(&receipt, RECEIPT_FIRST_RESERVE);
    return receipt;
}

void buffer_append(ByteBuffer *buffer, const void *bytes, uint32_t count)
{
    if (count == 0)
        return;
    uint8_t *at = buffer_reserve(buffer, count);
    if (!at)
        return;
    memcpy(at, bytes, count);
    buffer->length += count;
}

void buffer_append_byte(ByteBuffer *buffer, uint8_t byte)
{
    uint8_t *at = buffer_reserve(buffer, 1);
    if (!at)
        return;
    *at = byte;
    buffer->length++;
}

void buffer_append_repeat(ByteBuffer *buffer, uint8_t byte, uint32_t count)
{
    if (count == 0)
        return;
    uint8_t *at = buffer_reserve(buffer, count);
    if (!at)
        return;
    memset(at, byte, count);
    buffer->length += count;
}

void buffer_release(ByteBuffer *buffer)
{
    ENGINE_FREE(buffer->data);
    buffer->length = 0;
    buffer->capacity = 0;
}

EngineError buffer_take(ByteBuffer *buffer, uint8_t **bytes, uint32_t *length)
{
    EngineError rc = buffer->rc;
    *bytes = NULL;
    *length = 0;
    if (rc == ENGINE_OK && buffer->length > 0) {
        /* The block may be larger than the bytes: it is the caller's to release, never to read past. */
        *bytes = buffer->data;
        *length = buffer->length;
        buffer->data = NULL;
    }
    buffer_release(buffer);
    buffer->rc = ENGINE_OK;
    return rc;
}

EngineError buffer_repeat_take(ByteBuffer *buffer, int32_t copies, uint8_t **bytes, uint32_t *length)
{
    uint64_t once = buffer->length;
    if (buffer->rc == ENGINE_OK && (copies <= 0 || once == 0)) {
        buffer_release(buffer);
        *bytes = NULL;
        *length = 0;
        return ENGINE_OK;
    }
    uint64_t total = once * (uint64_t)(copies > 0 ? copies : 0);
    if (buffer->rc == ENGINE_OK && total > ENGINE_OUTPUT_LIMIT)
        buffer->rc = ENGINE_ERROR_NO_MEMORY;
    if (buffer->rc == ENGINE_OK && total > buffer->capacity)
        buffer_grow(buffer, (uint32_t)total);
    if (buffer->rc == ENGINE_OK) {
        for (int32_t copy = 1; copy < copies; copy++)
            memcpy(buffer->data + (size_t)copy * once, buffer->data, once);
        buffer->length = (uint32_t)total;
    }
    return buffer_take(buffer, bytes, length);
}

/* Writes count bytes of pattern at out as make_fill_line(pattern, count, reverse) makes them. */
static void write_fill_bytes(uint8_t *out, const char *pattern, uint32_t count, int reverse)
{
    size_t period = strlen(pattern);
    if (period == 1) {
        memset(out, pattern[0], count);
        return;
    }
    for (uint32_t i = 0; i < count; i++)
        out[reverse ? count - 1 - i : i] = (uint8_t)pattern[i % period];
}

static bool has_pattern(const char *fill)
{
    return fill && fill[0] != '\0';
}

/*
 * The bytes of one line, in the order the steps that made them used to run: the styled runs placed in a
 * zero-filled field padded for the alignment (spaces to the right of a left line; the fill mirrored around
 * a centred one with a space on each side of the text; the fill before a right one), ESC a in front when
 * the line has no fill, and the line feed.
 */
void render_line_into(ByteBuffer *buffer, const PrintLine *line, uint32_t width)
{
    if (line->alignment >= ALIGNMENT_LEFT && line->alignment <= ALIGNMENT_RIGHT) {
        const char *fill = line->fill;
        uint32_t styled_length = 0;
        uint32_t text_width = 0;
        for (const TextSegment *s = line->segments; s; s = s->next) {
            styled_length += s->length + style_overhead(s->style);
            text_width += text_display_width(s->text, s->length, s->style & TEXT_STYLE_DOUBLE_WIDTH);
        }
        uint32_t room = width > text_width ? width - text_width : 0;
        uint32_t pad = (line->alignment == ALIGNMENT_LEFT || fill) ? room : 0;
        if ((uint64_t)styled_length + pad + 3 > UINT32_MAX) {
            buffer->rc = ENGINE_ERROR_NO_MEMORY;
            return;
        }
        uint32_t size = styled_length + pad + (fill ? 0 : 3);
        uint8_t *out = buffer_reserve(buffer, size);
        if (!out)
            return;
        if (!fill) {
            out[0] = 0x1B;
            out[1] = 0x61;
            out[2] = (uint8_t)line->alignment;
            out += 3;
        }
        uint32_t text_at = 0;
        if (line->alignment == ALIGNMENT_LEFT) {
            memset(out + styled_length, ' ', pad);
        } else if (line->alignment == ALIGNMENT_CENTRE && fill && pad >= 2) {
            uint32_t left = pad / 2;
            uint32_t right = pad - left;
            text_at = left;
            /* The space before the text belongs to the left fill: with no left fill it stays 00. */
            if (has_pattern(fill) && left - 1 > 0) {
                write_fill_bytes(out, fill, left - 1, 1);
                out[left - 1] = ' ';
            } else {
                memset(out, 0, left);
            }
            out[left + styled_length] = ' ';
            if (has_pattern(fill) && right - 1 > 0)
                write_fill_bytes(out + left + styled_length + 1, fill, right - 1, 0);
            else
                memset(out + left + styled_length + 1, 0, right - 1);
        } else if (line->alignment == ALIGNMENT_RIGHT && pad > 0) {
            text_at = pad;
            if (has_pattern(fill))
                write_fill_bytes(out, fill, pad, 1);
            else
                memset(out, 0, pad);
        } else if (pad > 0) {
            /* A centred line with a fill and a pad of 1: the byte after the text stays 00. */
            memset(out + styled_length, 0, pad);
        }
        uint8_t *run = out + text_at;
        for (const TextSegment *s = line->segments; s; s = s->next)
            run = write_styled_run(run, s->text, s->length, s->style);
        buffer->length += size;
    }
    if (line->line_end == LINE_END_FEED)
        buffer_append_byte(buffer, 0x0A);
}

EngineError render_line(uint8_t **buffer, uint32_t *length, const PrintLine *line, uint32_t width)
{
    if (!buffer || !length || !line)
        return ENGINE_ERROR_RENDER;
    ByteBuffer bytes = {0};
    render_line_into(&bytes, line, width);
    return buffer_take(&bytes, buffer, length);
}

EngineError render_lines(uint8_t **buffer, uint32_t *length, const PrintLine *lines, uint32_t width)
{
    if (!buffer || !length)
        return ENGINE_ERROR_RENDER;
    ByteBuffer bytes = {0};
    for (const PrintLine *line = lines; line && bytes.rc == ENGINE_OK; line = line->next)
        render_line_into(&bytes, line, width);
    return buffer_take(&bytes, buffer, length);
}

void flush_lines(LineBuilder *builder, ByteBuffer *buffer, uint32_t width)
{
    if (builder->sink) {
        render_waiting(builder);
        return;
    }
    if (builder->rc == ENGINE_OK) {
        for (const PrintLine *line = builder->lines; line && buffer->rc == ENGINE_OK; line = line->next)
            render_line_into(buffer, line, width);
        builder->rc = buffer->rc;
    }
    free_print_lines(&builder->lines);
    builder->last = NULL;
}

void end_lines(LineBuilder *builder)
{
    if (builder->sink)
        render_waiting(builder);
    buffer_release(&builder->scratch);
    free_print_lines(&builder->lines);
    builder->last = NULL;
    builder->waiting = 0;
}

void control_bytes(uint8_t out[CONTROL_BYTES_MAX], uint32_t *length, int kind)
{
    static const uint8_t nul[] = {0x00};
    static const uint8_t line_feed[] = {0x0A};
    static const uint8_t full_cut[] = {0x1D, 0x56, 0x00};
    static const uint8_t drawer_pulse[] = {0x1B, 0x70, 0x00, 0x3C, 0xFF};
    const uint8_t *bytes = NULL;
    uint32_t count = 0;
    switch (kind) {
    case CONTROL_NUL: bytes = nul; count = sizeof nul; break;
    case CONTROL_LINE_FEED: bytes = line_feed; count = sizeof line_feed; break;
    case CONTROL_FULL_CUT: bytes = full_cut; count = sizeof full_cut; break;
    case CONTROL_DRAWER_PULSE: bytes = drawer_pulse; count = sizeof drawer_pulse; break;
    default: return;
    }
    if (!out || !length)
        return;
    memcpy(out, bytes, count);
    *length = count;
}

EngineError feed_lines(uint8_t **buffer, uint32_t *length, int32_t n)
{
    if (!buffer || !length)
        return ENGINE_ERROR_RENDER;
    *buffer = NULL;
    *length = 0;
    if (n <= 0)
        return ENGINE_OK;
    uint8_t *feeds = ENGINE_ALLOC((size_t)n);
    if (!feeds)
        return ENGINE_ERROR_NO_MEMORY;
    memset(feeds, 0x0A, (size_t)n);
    *buffer = feeds;
    *length = (uint32_t)n;
    return ENGINE_OK;
}

EngineError append_chunk(OutputChunk **chunks, uint8_t *data, uint32_t length)
{
    OutputChunk *chunk = chunks ? ENGINE_ALLOC(sizeof *chunk) : NULL;
    if (!chunk) {
        engine_release(data);
        return chunks ? ENGINE_ERROR_NO_MEMORY : ENGINE_ERROR_RENDER;
    }
    chunk->data = data;
    chunk->length = data ? length : 0;
    if (!*chunks) {
        *chunks = chunk;
    } else {
        OutputChunk *last = (*chunks)->tail ? (*chunks)->tail : *chunks;
        while (last->next) /* only for a chain not built by append_chunk */
            last = last->next;
        last->next = chunk;
    }
    (*chunks)->tail = chunk;
    return ENGINE_OK;
}

EngineError join_chunks(uint8_t **buffer, uint32_t *length, const OutputChunk *chunks)
{
    if (!buffer || !length || !chunks)
        return ENGINE_ERROR_RENDER;
    uint32_t total = 0;
    for (const OutputChunk *c = chunks; c; c = c->next)
        total += c->length;
    *buffer = NULL;
    *length = 0;
    if (total == 0)
        return ENGINE_OK;
    uint8_t *joined = ENGINE_ALLOC(total);
    if (!joined)
        return ENGINE_ERROR_NO_MEMORY;
    uint32_t used = 0;
    for (const OutputChunk *c = chunks; c; c = c->next) {
        if (c->length > 0)
            memcpy(joined + used, c->data, c->length);
        used += c->length;
    }
    *buffer = joined;
    *length = total;
    return ENGINE_OK;
}

EngineError repeat_chunks(uint8_t **buffer, uint32_t *length, const OutputChunk *chunks, int32_t copies)
{
    if (!buffer || !length)
        return ENGINE_ERROR_RENDER;
    *buffer = NULL;
    *length = 0;
    uint64_t once = 0;
    for (const OutputChunk *c = chunks; c; c = c->next)
        once += c->length;
    if (copies <= 0 || once == 0)
        return ENGINE_OK;
    uint64_t total = once * (uint64_t)copies;
    if (total > ENGINE_OUTPUT_LIMIT)
        return ENGINE_ERROR_NO_MEMORY;
    uint8_t *out = ENGINE_ALLOC((size_t)total);
    if (!out)
        return ENGINE_ERROR_NO_MEMORY;
    uint8_t *at = out;
    for (int32_t copy = 0; copy < copies; copy++) {
        for (const OutputChunk *c = chunks; c; c = c->next) {
            if (c->length > 0)
                memcpy(at, c->data, c->length);
            at += c->length;
        }
    }
    *buffer = out;
    *length = (uint32_t)total;
    return ENGINE_OK;
}

/* Renders the waiting line of a stream into its sink. */
static void render_waiting(LineBuilder *builder)
{
    if (!builder->waiting)
        return;
    builder->waiting = 0;
    if (builder->rc != ENGINE_OK)
        return;
    TextSegment segments[LINE_BUILDER_RUNS];
    for (uint32_t i = 0; i < builder->run_count; i++) {
        uint32_t length = builder->runs[i].length;
        segments[i] = (TextSegment){.text = length ? builder->scratch.data + builder->runs[i].offset : NULL,
                                    .length = length,
                                    .style = builder->runs[i].style,
                                    .next = i + 1 < builder->run_count ? &segments[i + 1] : NULL};
    }
    const PrintLine line = {.segments = builder->run_count ? segments : NULL,
                            .alignment = builder->alignment,
                            .fill = builder->has_fill ? (char *)builder->scratch.data : NULL,
                            .line_end = builder->line_end};
    render_line_into(builder->sink, &line, builder->width);
    builder->rc = builder->sink->rc;
}

/* Renders the waiting line and starts the next one, without runs yet. */
static void start_line(LineBuilder *builder, Alignment alignment, const char *fill, int32_t line_end)
{
    render_waiting(builder);
    if (builder->rc != ENGINE_OK)
        return;
    builder->scratch.length = 0;
    builder->run_count = 0;
    builder->alignment = alignment;
    builder->line_end = line_end;
    builder->has_fill = fill != NULL;
    if (fill)
        buffer_append(&builder->scratch, fill, (uint32_t)strlen(fill) + 1);
    builder->rc = builder->scratch.rc;
    builder->waiting = builder->rc == ENGINE_OK;
}

/* Reserves a run of length bytes on the waiting line; returns where its bytes go, or NULL (rc set). */
static uint8_t *reserve_run(LineBuilder *builder, uint32_t length, TextStyle style)
{
    if (builder->run_count == LINE_BUILDER_RUNS) {
        builder->rc = ENGINE_ERROR_RENDER;
        return NULL;
    }
    static uint8_t nothing; /* where the bytes of an empty run go */
    uint8_t *at = length > 0 ? buffer_reserve(&builder->scratch, length) : &nothing;
    if (!at) {
        builder->rc = builder->scratch.rc;
        return NULL;
    }
    builder->runs[builder->run_count].offset = builder->scratch.length;
    builder->runs[builder->run_count].length = length;
    builder->runs[builder->run_count].style = style;
    builder->run_count++;
    builder->scratch.length += length;
    return at;
}

static void append_run(LineBuilder *builder, uint32_t length, const void *bytes, TextStyle style)
{
    if (!bytes)
        length = 0;
    uint8_t *at = reserve_run(builder, length, style);
    if (at && length > 0)
        memcpy(at, bytes, length);
}

void stream_lines(LineBuilder *builder, ByteBuffer *sink, uint32_t width)
{
    builder->sink = sink;
    builder->width = width;
}

void add_line(LineBuilder *builder, const char *text, TextStyle style, Alignment alignment, const char *fill,
              int32_t line_end)
{
    if (builder->rc != ENGINE_OK)
        return;
    if (builder->sink) {
        start_line(builder, alignment, fill, line_end);
        if (builder->rc == ENGINE_OK && text)
            append_run(builder, (uint32_t)strlen(text), text, style);
        return;
    }
    PrintLine *line = new_print_line(text, style, alignment, fill, line_end);
    if (!line) {
        builder->rc = ENGINE_ERROR_NO_MEMORY;
        return;
    }
    if (!builder->lines)
        builder->lines = line;
    else
        builder->last->next = line;
    builder->last = line;
}

void add_line_parts(LineBuilder *builder, TextStyle style, Alignment alignment, const char *fill, int32_t line_end,
                    const TextPart *parts, uint32_t count)
{
    if (builder->rc != ENGINE_OK)
        return;
    uint64_t total = 0;
    for (uint32_t i = 0; i < count; i++)
        total += parts[i].spaces + (uint64_t)strlen(parts[i].text);
    if (total > UINT32_MAX - 1) {
        builder->rc = ENGINE_ERROR_NO_MEMORY;
        return;
    }
    char *text = NULL;
    uint8_t *at = NULL;
    if (builder->sink) {
        start_line(builder, alignment, fill, line_end);
        if (builder->rc == ENGINE_OK)
            at = reserve_run(builder, (uint32_t)total, style);
    } else {
        text = ENGINE_ALLOC((size_t)total + 1);
        at = (uint8_t *)text;
        if (!text)
            builder->rc = ENGINE_ERROR_NO_MEMORY;
    }
    if (!at)
        return;
    for (uint32_t i = 0; i < count; i++) {
        memset(at, ' ', parts[i].spaces);
        at += parts[i].spaces;
        size_t length = strlen(parts[i].text);
        memcpy(at, parts[i].text, length);
        at += length;
    }
    if (text) {
        *at = '\0';
        add_line_owned(builder, text, style, alignment, fill, line_end);
    }
}

void add_line_owned(LineBuilder *builder, char *text, TextStyle style, Alignment alignment, const char *fill,
                    int32_t line_end)
{
    if (!text && builder->rc == ENGINE_OK)
        builder->rc = ENGINE_ERROR_NO_MEMORY;
    add_line(builder, text, style, alignment, fill, line_end);
    ENGINE_FREE(text);
}

void add_line_printf(LineBuilder *builder, TextStyle style, Alignment alignment, const char *fill, int32_t line_end,
                     const char *format, ...)
{
    if (builder->rc != ENGINE_OK)
        return;
    /* Formatted once into the stack; only a longer text takes a (tracked) block. */
    char local[512];
    va_list args;
    va_start(args, format);
    int needed = vsnprintf(local, sizeof local, format, args);
    va_end(args);
    if (needed < 0) {
        builder->rc = ENGINE_ERROR_NO_MEMORY;
        return;
    }
    if ((size_t)needed < sizeof local) {
        add_line(builder, local, style, alignment, fill, line_end);
        return;
    }
    char *text = ENGINE_ALLOC((size_t)needed + 1);
    if (text) {
        va_start(args, format);
        vsnprintf(text, (size_t)needed + 1, format, args);
        va_end(args);
    }
    add_line_owned(builder, text, style, alignment, fill, line_end);
}

void add_run(LineBuilder *builder, uint32_t length, const void *bytes, TextStyle style)
{
    if (builder->rc != ENGINE_OK)
        return;
    if (builder->sink) {
        if (builder->waiting)
            append_run(builder, length, bytes, style);
        return;
    }
    if (!builder->lines)
        return;
    builder->rc = append_segment(&builder->last->segments, length, bytes, style);
}

void last_line(PrintLine **line)
{
    if (!line || !*line)
        return;
    while ((*line)->next)
        *line = (*line)->next;
}

void free_segments(TextSegment **segments)
{
    if (!segments)
        return;
    TextSegment *s = *segments;
    while (s) {
        TextSegment *next = s->next;
        if (s->text != (uint8_t *)(s + 1))
            ENGINE_FREE(s->text);
        ENGINE_FREE(s);
        s = next;
    }
    *segments = NULL;
}

void free_print_lines(PrintLine **lines)
{
    if (!lines)
        return;
    PrintLine *line = *lines;
    while (line) {
        PrintLine *next = line->next;
        free_segments(&line->segments);
        if (line->fill != (char *)(line + 1))
            ENGINE_FREE(line->fill);
        ENGINE_FREE(line);
        line = next;
    }
    *lines = NULL;
}

void free_chunks(OutputChunk **chunks)
{
    if (!chunks)
        return;
    OutputChunk *chunk = *chunks;
    while (chunk) {
        OutputChunk *next = chunk->next;
        ENGINE_FREE(chunk->data);
        ENGINE_FREE(chunk);
        chunk = next;
    }
    *chunks = NULL;
}
