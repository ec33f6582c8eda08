/* Styled lines to ESC/POS bytes. */
#include "print_line_p.h"

#include "utility_p.h"

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
    TextSegment *segment = ENGINE_ALLOC(sizeof *segment);
    if (!segment)
        return ENGINE_ERROR_NO_MEMORY;
    segment->style = style;
    if (bytes && length > 0) {
        if (!engine_memdup(&segment->text, length, bytes)) {
            ENGINE_FREE(segment);
            return ENGINE_ERROR_NO_MEMORY;
        }
        segment->length = length;
    }
    TextSegment **end = segments;
    while (*end)
        end = &(*end)->next;
    *end = segment;
    return ENGINE_OK;
}

PrintLine *new_print_line(const char *text, TextStyle style, Alignment alignment, const char *fill,
                          int32_t line_end)
{
    PrintLine *line = ENGINE_ALLOC(sizeof *line);
    if (!line)
        return NULL;
    line->alignment = alignment;
    line->line_end = line_end;
    if ((fill && !engine_strdup(&line->fill, fill)) ||
        (text && append_segment(&line->segments, (uint32_t)strlen(text), (const uint8_t *)text, style) != 0)) {
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

/* Copies count bytes of pattern fill to out (see make_fill_line). Nothing is written when there is no
   fill; ENGINE_ERROR_NO_MEMORY only when a fill was due but could not be made. */
static EngineError write_fill(uint8_t *out, const char *pattern, uint32_t count, int reverse, int *written)
{
    *written = 0;
    if (!pattern || pattern[0] == '\0' || count == 0)
        return ENGINE_OK;
    char *fill = make_fill_line(pattern, count, reverse);
    if (!fill)
        return ENGINE_ERROR_NO_MEMORY;
    memcpy(out, fill, count);
    ENGINE_FREE(fill);
    *written = 1;
    return ENGINE_OK;
}

/* Places the styled text in a new zero-filled buffer padded for the line's alignment (steps 2 to 4). */
static EngineError pad_line(uint8_t **out, uint32_t *out_length, const uint8_t *styled, uint32_t styled_length,
                            const PrintLine *line, uint32_t text_width, uint32_t width)
{
    const char *fill = line->fill;
    uint32_t room = width > text_width ? width - text_width : 0;
    uint32_t pad = 0;
    if (line->alignment == ALIGNMENT_LEFT)
        pad = room;
    else if (fill)
        pad = room;
    uint32_t size = styled_length + pad;
    *out = NULL;
    *out_length = 0;
    if (size == 0)
        return ENGINE_OK;
    uint8_t *bytes = ENGINE_ALLOC(size);
    if (!bytes)
        return ENGINE_ERROR_NO_MEMORY;

    EngineError rc = ENGINE_OK;
    int written = 0;
    uint32_t text_at = 0;
    if (line->alignment == ALIGNMENT_LEFT) {
        memset(bytes + styled_length, ' ', pad);
    } else if (line->alignment == ALIGNMENT_CENTRE && fill && pad >= 2) {
        uint32_t left = pad / 2;
        uint32_t right = pad - left;
        text_at = left;
        /* The space before the text belongs to the left fill: with no left fill it stays 00. */
        rc = write_fill(bytes, fill, left - 1, 1, &written);
        if (rc == ENGINE_OK && written)
            bytes[left - 1] = ' ';
        bytes[left + styled_length] = ' ';
        if (rc == ENGINE_OK)
            rc = write_fill(bytes + left + styled_length + 1, fill, right - 1, 0, &written);
    } else if (line->alignment == ALIGNMENT_RIGHT) {
        text_at = pad;
        rc = write_fill(bytes, fill, pad, 1, &written);
    }
    if (rc != ENGINE_OK) {
        ENGINE_FREE(bytes);
        return rc;
    }
    if (styled_length > 0)
        memcpy(bytes + text_at, styled, styled_length);
    *out = bytes;
    *out_length = size;
    return ENGINE_OK;
}

static EngineError append_line_feed(uint8_t **buffer, uint32_t *length)
{
    uint8_t control[CONTROL_BYTES_MAX];
    uint32_t control_length = 0;
    control_bytes(control, &control_length, CONTROL_LINE_FEED);
    uint8_t *grown = ENGINE_ALLOC(*length + control_length);
    if (!grown)
        return ENGINE_ERROR_NO_MEMORY;
    if (*length > 0)
        memcpy(grown, *buffer, *length);
    memcpy(grown + *length, control, control_length);
    engine_release(*buffer);
    *buffer = grown;
    *length += control_length;
    return ENGINE_OK;
}

EngineError render_line(uint8_t **buffer, uint32_t *length, const PrintLine *line, uint32_t width)
{
    if (!buffer || !length || !line)
        return ENGINE_ERROR_RENDER;
    *buffer = NULL;
    *length = 0;

    uint8_t *bytes = NULL;
    uint32_t bytes_length = 0;
    EngineError rc = ENGINE_OK;
    if (line->alignment >= ALIGNMENT_LEFT && line->alignment <= ALIGNMENT_RIGHT) {
        uint8_t *styled = NULL;
        uint32_t styled_length = 0;
        rc = render_segments(&styled, &styled_length, line->segments);
        if (rc == ENGINE_OK)
            rc = pad_line(&bytes, &bytes_length, styled, styled_length, line,
                          segment_list_width(line->segments), width);
        ENGINE_FREE(styled);
        if (rc == ENGINE_OK && !line->fill)
            rc = apply_alignment(&bytes, &bytes_length, line->alignment);
    }
    if (rc == ENGINE_OK && line->line_end == LINE_END_FEED)
        rc = append_line_feed(&bytes, &bytes_length);
    if (rc != ENGINE_OK) {
        ENGINE_FREE(bytes);
        return rc;
    }
    *buffer = bytes;
    *length = bytes_length;
    return ENGINE_OK;
}

EngineError render_lines(uint8_t **buffer, uint32_t *length, const PrintLine *lines, uint32_t width)
{
    if (!buffer || !length)
        return ENGINE_ERROR_RENDER;
    *buffer = NULL;
    *length = 0;
    OutputChunk *chunks = NULL;
    EngineError rc = ENGINE_OK;
    for (const PrintLine *line = lines; line && rc == ENGINE_OK; line = line->next) {
        uint8_t *bytes = NULL;
        uint32_t bytes_length = 0;
        rc = render_line(&bytes, &bytes_length, line, width);
        if (rc == ENGINE_OK)
            rc = append_chunk(&chunks, bytes, bytes_length);
    }
    if (rc == ENGINE_OK && chunks)
        rc = join_chunks(buffer, length, chunks);
    free_chunks(&chunks);
    return rc;
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
    OutputChunk **end = chunks;
    while (*end)
        end = &(*end)->next;
    *end = chunk;
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

void add_line(LineBuilder *builder, const char *text, TextStyle style, Alignment alignment, const char *fill,
              int32_t line_end)
{
    if (builder->rc != ENGINE_OK)
        return;
    PrintLine *line = new_print_line(text, style, alignment, fill, line_end);
    if (!line) {
        builder->rc = ENGINE_ERROR_NO_MEMORY;
        return;
    }
    if (!builder->lines) {
        builder->lines = line;
        return;
    }
    PrintLine *end = builder->lines;
    last_line(&end);
    end->next = line;
}

void add_line_owned(LineBuilder *builder, char *text, TextStyle style, Alignment alignment, const char *fill,
                    int32_t line_end)
{
    if (!text && builder->rc == ENGINE_OK)
        builder->rc = ENGINE_ERROR_NO_MEMORY;
    add_line(builder, text, style, alignment, fill, line_end);
    ENGINE_FREE(text);
}

void add_run(LineBuilder *builder, uint32_t length, const void *bytes, TextStyle style)
{
    if (builder->rc != ENGINE_OK || !builder->lines)
        return;
    PrintLine *end = builder->lines;
    last_line(&end);
    builder->rc = append_segment(&end->segments, length, bytes, style);
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
