/*
 * Private to the receipt engine: not part of its interface.
 *
 * Tracked allocation, string copies, paper widths, money text and local time.
 */
#ifndef RECEIPT_ENGINE_UTILITY_P_H
#define RECEIPT_ENGINE_UTILITY_P_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <time.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Returns a zero-filled block of size bytes and records it in the allocation registry with the source file
 * and line given, or NULL when memory is short (nothing is recorded then). The registry keeps the file
 * pointer, not a copy: pass a string that outlives the block (ENGINE_UNIT, a literal). The block is an
 * ordinary malloc block (its record sits behind its bytes), so free() releases an untracked one. Tracking
 * and untracking take constant time.
 */
void *engine_alloc(size_t size, const char *file, uint32_t line);

/*
 * Removes the registry record of block; never frees the block. Removing the oldest record (the head)
 * empties the registry: the records behind it are dropped, so a freed head ends the leak trace.
 */
void engine_untrack(const void *block);

/* Untracks and frees block; NULL is ignored. */
void engine_release(void *block);

/* Tracked allocation tagged with the calling unit (each .c file defines ENGINE_UNIT, e.g. "src/format.c"). */
#define ENGINE_ALLOC(size) engine_alloc((size), ENGINE_UNIT, __LINE__)

/* The tracked free of the engine: releases the block held by lvalue p and sets p to NULL. */
#define ENGINE_FREE(p) \
    do { \
        engine_release(p); \
        (p) = NULL; \
    } while (0)

/*
 * Stores a tracked copy of src in *dest, releasing the string *dest held before. Returns 1 on success;
 * 0 for a NULL src or a failed copy, leaving *dest untouched.
 */
int engine_strdup(char **dest, const char *src);

/* A tracked string formatted as by printf, or NULL when memory is short. */
char *engine_sprintf(const char *format, ...) __attribute__((format(printf, 1, 2)));

/* Stores a tracked copy of length bytes of src in *dest. Returns 0 (no copy) for a NULL src or length 0. */
int engine_memdup(uint8_t **dest, uint32_t length, const void *src);

/* Columns of a paper width name: 32 for "58mm", 48 for "80mm", -1 for anything else (NULL included). */
int32_t paper_width_chars(const char *width);

bool is_valid_width(const char *width);
bool is_valid_style(const char *style);

/* Room that format_money needs: the widest float printed with "%.2f", a sign and the NUL. */
#define ENGINE_MONEY_TEXT_SIZE 48

/* Writes value as "%.0f" when its fraction is within 0.0001 of zero and force is 0, else as "%.2f". */
void format_money(char *out, int force, float value);

/*
 * Broken-down local time of t seconds since 1970 with tm_mon counted from 1 and tm_year in full. A time the
 * platform cannot convert gives the zero time (month 1 of year 1900, day 0).
 */
struct tm local_time(int64_t t);

/* Number of records in the allocation registry, walking from its head. */
size_t engine_registry_count(void);

/*
 * Looks up the registry record of block: copies its file name (cut to file_size - 1 bytes) and line and
 * returns 1, or returns 0 when block is not in the registry.
 */
int engine_registry_find(const void *block, char *file, size_t file_size, uint32_t *line);

/* The allocator behind every tracked block and record; tests swap in a failing one. NULL restores malloc. */
typedef void *(*EngineMallocFn)(size_t size);
void engine_set_malloc(EngineMallocFn fn);

#ifdef __cplusplus
}
#endif

#endif /* RECEIPT_ENGINE_UTILITY_P_H */
