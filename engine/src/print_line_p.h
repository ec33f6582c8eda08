/*
 * Private to the receipt engine: not part of its interface.
 *
 * Styled lines and the printer command stream: a PrintLine is a chain of styled runs with an alignment and
 * an optional fill pattern; render_line turns it into the exact ESC/POS bytes. Buffers are (pointer, length)
 * pairs of tracked blocks; every function that makes one leaves it to the caller.
 */
#ifndef RECEIPT_ENGINE_PRINT_LINE_P_H
#define RECEIPT_ENGINE_PRINT_LINE_P_H

#include "receipt_engine/receipt_engine.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* One run of text. */
typedef struct TextSegment {
    uint8_t *text;            /* owned UTF-8 bytes, not NUL-terminated, stored in the run's own block right
                                 behind it; NULL when length is 0 */
    uint32_t length;          /* byte count */
    TextStyle style;          /* style of the whole run */
    struct TextSegment *next; /* following run or NULL */
} TextSegment;

/* Value of PrintLine.line_end that appends a line feed. */
#define LINE_END_FEED 2
#define LINE_END_NONE 0

/* One logical line. */
typedef struct PrintLine {
    TextSegment *segments;  /* the runs, in printing order */
    Alignment alignment;    /* where the text goes */
    char *fill;             /* owned pad pattern, or NULL: spaces (left) or printer alignment (centre, right);
                               made by new_print_line in the line's own block right behind it */
    int32_t line_end;       /* LINE_END_FEED appends 0A */
    struct PrintLine *next; /* following line or NULL */
} PrintLine;

/* A piece of output waiting to be joined. */
typedef struct OutputChunk {
    uint8_t *data;            /* owned bytes */
    uint32_t length;          /* byte count */
    struct OutputChunk *next; /* following piece or NULL */
    struct OutputChunk *tail; /* in the first chunk of a chain: the last one, so append_chunk is O(1) */
} OutputChunk;

/*
 * A growable byte buffer: one tracked block that doubles when full, so appending n bytes costs O(n) over
 * the buffer's life. A buffer never grows past its limit (0: the 32-bit length's); the first failure (no
 * memory, or the limit) sticks in rc and later appends do nothing.
 */
typedef struct ByteBuffer {
    uint8_t *data;     /* tracked block of capacity bytes, or NULL */
    uint32_t length;   /* bytes written */
    uint32_t capacity; /* bytes allocated */
    uint32_t limit;    /* largest length allowed, 0 for no limit of its own */
    EngineError rc;    /* 0, or the first failure: ENGINE_ERROR_NO_MEMORY */
} ByteBuffer;

/* What the layouts reserve for a receipt before its first line: an everyday receipt fits. */
#define RECEIPT_FIRST_RESERVE 8192u

/*
 * Reserves RECEIPT_FIRST_RESERVE bytes in receipt (when receipt is not NULL). The parsers call it just
 * before they free their JSON trees, so that the receipt's one large block is taken while the allocator
 * still holds few freed small blocks (a large request first merges every freed small block). A failure is
 * only noted in receipt->rc: the layouts then ask again.
 */
void reserve_receipt(ByteBuffer *receipt);

/*
 * The buffer a layout writes one copy of its receipt into: reserved (taken over from *reserved, which is
 * left empty; NULL for none) or new, with room for an everyday receipt and the output limit set. A failure
 * sticks in its rc.
 */
ByteBuffer receipt_buffer(ByteBuffer *reserved);

/* Room for at least extra more bytes; returns the write position or NULL (rc set). */
uint8_t *buffer_reserve(ByteBuffer *buffer, uint32_t extra);

/* Appends count bytes (or, for buffer_append_byte, one byte; buffer_append_repeat: count copies of byte). */
void buffer_append(ByteBuffer *buffer, const void *bytes, uint32_t count);
void buffer_append_byte(ByteBuffer *buffer, uint8_t byte);
void buffer_append_repeat(ByteBuffer *buffer, uint8_t byte, uint32_t count);

/* Hands the bytes over as a tracked block of at least length bytes (NULL and 0 when empty) and empties the
   buffer; on a failure (rc) releases everything and returns rc with *bytes NULL and *length 0. */
EngineError buffer_take(ByteBuffer *buffer, uint8_t **bytes, uint32_t *length);

void buffer_release(ByteBuffer *buffer);

/* Hands over copies repetitions of the bytes as buffer_take does (NULL and 0 for copies <= 0 or no bytes);
   ENGINE_ERROR_NO_MEMORY beyond ENGINE_OUTPUT_LIMIT or when memory is short. */
EngineError buffer_repeat_take(ByteBuffer *buffer, int32_t copies, uint8_t **bytes, uint32_t *length);

/* Appends the bytes of line on a paper of width columns, exactly as render_line makes them. */
void render_line_into(ByteBuffer *buffer, const PrintLine *line, uint32_t width);

/* Kinds of control_bytes. */
enum {
    CONTROL_NUL = 1,        /* 00 */
    CONTROL_LINE_FEED = 2,  /* 0A */
    CONTROL_FULL_CUT = 3,   /* 1D 56 00 */
    CONTROL_DRAWER_PULSE = 4 /* 1B 70 00 3C FF */
};

/* Room control_bytes needs. */
#define CONTROL_BYTES_MAX 5

/*
 * Printed columns of length UTF-8 bytes: ASCII counts 1, every multi-byte character 2, any other byte 1;
 * doubled when double_width is non-zero. 0 for NULL or length 0.
 */
uint32_t text_display_width(const uint8_t *bytes, uint32_t length, int double_width);

/* Sum of the runs' widths, each doubled when its style has the double-width bit. */
uint32_t segment_list_width(const TextSegment *segments);

/*
 * Appends a run holding a tracked copy of length bytes (no copy for length 0 or NULL bytes: an empty run).
 * Returns 0, or ENGINE_ERROR_NO_MEMORY leaving the chain unchanged.
 */
EngineError append_segment(TextSegment **segments, uint32_t length, const uint8_t *bytes, TextStyle style);

/*
 * A new line whose one run is the whole of text (no run for a NULL text, an empty run for ""), with a copy
 * of fill. Returns NULL when memory is short.
 */
PrintLine *new_print_line(const char *text, TextStyle style, Alignment alignment, const char *fill,
                          int32_t line_end);

/*
 * Sets *buffer / *length to the bytes of line on a paper of width columns; the previous contents of *buffer
 * are not freed. Returns 0; ENGINE_ERROR_RENDER for NULL arguments or ENGINE_ERROR_NO_MEMORY, leaving
 * *buffer NULL and *length 0 (when those are given).
 */
EngineError render_line(uint8_t **buffer, uint32_t *length, const PrintLine *line, uint32_t width);

/* Renders every line of a chain and joins the results into *buffer / *length. Codes as render_line. */
EngineError render_lines(uint8_t **buffer, uint32_t *length, const PrintLine *lines, uint32_t width);

/* Sets *buffer / *length to the concatenation of every styled run (NULL and 0 for no runs). */
EngineError render_segments(uint8_t **buffer, uint32_t *length, const TextSegment *segments);

/*
 * Replaces the buffer by [1B 21 e][1D 21 s] (only for a non-zero style), the bytes, 1D 21 00 1B 21 00.
 * On failure the buffer is unchanged.
 */
EngineError apply_text_style(uint8_t **buffer, uint32_t *length, TextStyle style);

/* Replaces the buffer by 1B 61 n and the bytes; alignments other than 0, 1, 2 leave it unchanged. */
EngineError apply_alignment(uint8_t **buffer, uint32_t *length, Alignment alignment);

/*
 * A new NUL-terminated string of count bytes repeating pattern, written backwards when reverse is set.
 * NULL for a NULL or empty pattern, a count of 0, or a failed allocation.
 */
char *make_fill_line(const char *pattern, uint32_t count, int reverse);

/* Writes the bytes of a control kind to out and their count to *length; other kinds change nothing. */
void control_bytes(uint8_t out[CONTROL_BYTES_MAX], uint32_t *length, int kind);

/* Sets *buffer / *length to n line feeds (NULL and 0 for n <= 0). */
EngineError feed_lines(uint8_t **buffer, uint32_t *length, int32_t n);

/* Appends a chunk that takes ownership of data; on failure data is released. 0 or ENGINE_ERROR_NO_MEMORY. */
EngineError append_chunk(OutputChunk **chunks, uint8_t *data, uint32_t length);

/* One buffer holding every chunk in chain order; the chunks stay. ENGINE_ERROR_RENDER for a NULL chain. */
EngineError join_chunks(uint8_t **buffer, uint32_t *length, const OutputChunk *chunks);

/* Largest output the layouts make; a longer one (absurd copy counts) fails with ENGINE_ERROR_NO_MEMORY. */
#define ENGINE_OUTPUT_LIMIT (64u << 20)

/*
 * Sets *buffer / *length to copies repetitions of the whole chain, allocated once (NULL and 0 for
 * copies <= 0). Returns 0, or ENGINE_ERROR_NO_MEMORY beyond ENGINE_OUTPUT_LIMIT or when memory is short.
 */
EngineError repeat_chunks(uint8_t **buffer, uint32_t *length, const OutputChunk *chunks, int32_t copies);

/* Moves *line to the last line of its chain. */
void last_line(PrintLine **line);

/* Most runs a streamed line holds (the layouts use at most three). */
#define LINE_BUILDER_RUNS 8

/*
 * Lines under construction. The first failure sticks in rc; later additions then do nothing.
 *
 * Without a sink the lines form a chain (lines, last) for the caller to render. With a sink (see
 * stream_lines) each line waits in the builder only until the next one starts, and is then rendered
 * straight into the sink: its text lives in the builder's scratch buffer, so a line costs no allocation.
 */
typedef struct LineBuilder {
    PrintLine *lines; /* the chain built so far (no sink) */
    EngineError rc;   /* 0, or the first failure */
    PrintLine *last;  /* the last line of the chain (NULL with lines), so adding is O(1) */

    ByteBuffer *sink;   /* where streamed lines go, or NULL */
    uint32_t width;     /* paper columns of the sink */
    ByteBuffer scratch; /* the waiting line's fill (NUL-terminated) and runs */
    int waiting;        /* 1 while a line waits */
    Alignment alignment;
    int32_t line_end;
    int has_fill;       /* the fill is at the start of scratch */
    uint32_t run_count;
    struct {
        uint32_t offset; /* in scratch */
        uint32_t length;
        TextStyle style;
    } runs[LINE_BUILDER_RUNS];
} LineBuilder;

/* Starts streaming the lines of builder (a zeroed LineBuilder) into sink, on paper of width columns. */
void stream_lines(LineBuilder *builder, ByteBuffer *sink, uint32_t width);

/* Renders what is built so far into buffer (the chain, or the waiting line of a stream), frees it and
   empties the builder; a failure of the builder or the buffer sticks in builder->rc. */
void flush_lines(LineBuilder *builder, ByteBuffer *buffer, uint32_t width);

/* Flushes a stream and releases what the builder holds; its rc stays. */
void end_lines(LineBuilder *builder);

/* One part of a line's text for add_line_parts: spaces spaces, then the NUL-terminated text. */
typedef struct TextPart {
    uint32_t spaces;
    const char *text;
} TextPart;

/* As add_line with the concatenation of the parts as its text. */
void add_line_parts(LineBuilder *builder, TextStyle style, Alignment alignment, const char *fill, int32_t line_end,
                    const TextPart *parts, uint32_t count);

/* Appends new_print_line(text, ...) to the chain. */
void add_line(LineBuilder *builder, const char *text, TextStyle style, Alignment alignment, const char *fill,
              int32_t line_end);

/* As add_line, releasing text afterwards; a NULL text is taken as a failed allocation. */
void add_line_owned(LineBuilder *builder, char *text, TextStyle style, Alignment alignment, const char *fill,
                    int32_t line_end);

/* As add_line with the text formatted as by printf (no tracked copy of the text unless it is long). */
void add_line_printf(LineBuilder *builder, TextStyle style, Alignment alignment, const char *fill, int32_t line_end,
                     const char *format, ...) __attribute__((format(printf, 6, 7)));

/* Appends a run of length bytes to the last line of the chain. */
void add_run(LineBuilder *builder, uint32_t length, const void *bytes, TextStyle style);

void free_segments(TextSegment **segments);
void free_print_lines(PrintLine **lines);
void free_chunks(OutputChunk **chunks);

#ifdef __cplusplus
}
#endif

#endif /* RECEIPT_ENGINE_PRINT_LINE_P_H */
