/* Tracked allocation and the engine's small string, number and time helpers. */
#include "utility_p.h"

#include <limits.h>
#include <math.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define ENGINE_UNIT "src/utility.c"

/* The registry's tags for copies made here are fixed: leak traces of older builds name these lines. */
#define STRDUP_LINE 178u
#define MEMDUP_LINE 190u

/* One live tracked block. */
typedef struct AllocRecord {
    char *file;               /* malloc copy of the allocating unit's name */
    uint32_t line;            /* line in that unit */
    void *pointer;            /* the tracked block */
    struct AllocRecord *next; /* towards the tail */
    struct AllocRecord *prev; /* towards the head */
} AllocRecord;

/* The registry is shared by every thread that formats; the lock guards head and tail and the chain. */
static pthread_mutex_t registry_lock = PTHREAD_MUTEX_INITIALIZER;
static AllocRecord *registry_head;
static AllocRecord *registry_tail;

static _Atomic(EngineMallocFn) engine_malloc = malloc;

void engine_set_malloc(EngineMallocFn fn)
{
    atomic_store(&engine_malloc, fn ? fn : malloc);
}

static void *raw_alloc(size_t size)
{
    EngineMallocFn fn = atomic_load(&engine_malloc);
    return fn(size);
}

static void free_record(AllocRecord *record)
{
    free(record->file);
    free(record);
}

void *engine_alloc(size_t size, const char *file, uint32_t line)
{
    void *block = raw_alloc(size);
    if (!block)
        return NULL;
    memset(block, 0, size);

    size_t name_size = strlen(file) + 1;
    AllocRecord *record = raw_alloc(sizeof *record);
    char *name = raw_alloc(name_size);
    if (!record || !name) {
        /* An untraceable block would break the rule that every engine block is tracked. */
        free(record);
        free(name);
        free(block);
        return NULL;
    }
    memcpy(name, file, name_size);
    *record = (AllocRecord){.file = name, .line = line, .pointer = block};

    pthread_mutex_lock(&registry_lock);
    if (!registry_head) {
        registry_head = record;
        registry_tail = record;
    } else {
        record->prev = registry_tail;
        registry_tail->next = record;
        registry_tail = record;
    }
    pthread_mutex_unlock(&registry_lock);
    return block;
}

void engine_untrack(const void *block)
{
    if (!block)
        return;
    pthread_mutex_lock(&registry_lock);
    AllocRecord *record = registry_head;
    if (record && record->pointer == block) {
        /* The trace restarts from an empty registry. The dropped records' own memory is released so that
           the trace never leaks; the blocks they named are untouched and stay their owners' to free. */
        while (record) {
            AllocRecord *next = record->next;
            free_record(record);
            record = next;
        }
        registry_head = NULL;
        registry_tail = NULL;
    } else if (record) {
        /* Blocks are mostly freed soon after they were made: look for the record from the newest end. */
        record = registry_tail;
        while (record && record->pointer != block)
            record = record->prev;
        if (record) {
            record->prev->next = record->next;
            if (record == registry_tail)
                registry_tail = record->prev;
            else
                record->next->prev = record->prev;
            free_record(record);
        }
    }
    pthread_mutex_unlock(&registry_lock);
}

void engine_release(void *block)
{
    if (!block)
        return;
    engine_untrack(block);
    free(block);
}

size_t engine_registry_count(void)
{
    size_t count = 0;
    pthread_mutex_lock(&registry_lock);
    for (const AllocRecord *record = registry_head; record; record = record->next)
        count++;
    pthread_mutex_unlock(&registry_lock);
    return count;
}

int engine_registry_find(const void *block, char *file, size_t file_size, uint32_t *line)
{
    int found = 0;
    pthread_mutex_lock(&registry_lock);
    for (const AllocRecord *record = registry_head; record; record = record->next) {
        if (record->pointer == block) {
            if (file && file_size > 0)
                snprintf(file, file_size, "%s", record->file);
            if (line)
                *line = record->line;
            found = 1;
            break;
        }
    }
    pthread_mutex_unlock(&registry_lock);
    return found;
}

int engine_strdup(char **dest, const char *src)
{
    if (!dest || !src)
        return 0;
    size_t size = strlen(src) + 1;
    char *copy = engine_alloc(size, ENGINE_UNIT, STRDUP_LINE);
    if (!copy)
        return 0;
    memcpy(copy, src, size);
    engine_release(*dest);
    *dest = copy;
    return 1;
}

char *engine_sprintf(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    int needed = vsnprintf(NULL, 0, format, args);
    va_end(args);
    if (needed < 0)
        return NULL;
    char *text = ENGINE_ALLOC((size_t)needed + 1);
    if (!text)
        return NULL;
    va_start(args, format);
    vsnprintf(text, (size_t)needed + 1, format, args);
    va_end(args);
    return text;
}

int engine_memdup(uint8_t **dest, uint32_t length, const void *src)
{
    if (!dest || !src || length == 0)
        return 0;
    uint8_t *copy = engine_alloc(length, ENGINE_UNIT, MEMDUP_LINE);
    if (!copy)
        return 0;
    memcpy(copy, src, length);
    *dest = copy;
    return 1;
}

int32_t paper_width_chars(const char *width)
{
    if (!width)
        return -1;
    if (strcmp(width, "58mm") == 0)
        return 32;
    if (strcmp(width, "80mm") == 0)
        return 48;
    return -1;
}

bool is_valid_width(const char *width)
{
    return paper_width_chars(width) > 0;
}

bool is_valid_style(const char *style)
{
    return style && (strcmp(style, "normal") == 0 || strcmp(style, "small") == 0);
}

void format_money(char *out, int force, float value)
{
    float fraction = value - truncf(value);
    const char *format = "%.2f";
    if (!force && fraction >= -0.0001 && fraction <= 0.0001)
        format = "%.0f";
    snprintf(out, ENGINE_MONEY_TEXT_SIZE, format, (double)value);
}

struct tm local_time(int64_t t)
{
    struct tm result;
    time_t seconds = (time_t)t;
    /* The year in full must fit an int too. */
    if (!localtime_r(&seconds, &result) || result.tm_year > INT_MAX - 1900)
        memset(&result, 0, sizeof result);
    result.tm_mon += 1;
    result.tm_year += 1900;
    return result;
}
