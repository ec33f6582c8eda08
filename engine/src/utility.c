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

/*
 * One live tracked block. The record lives in the same allocation as its block, right behind the block's
 * bytes, so a tracked allocation is one malloc and the block itself stays an ordinary malloc block (free()
 * releases block and record together). The registry chains the records from the oldest (head) to the
 * newest (tail) and finds a block's record through an open-addressing table keyed by the block's address,
 * so tracking and untracking take constant time whatever the number of live blocks.
 */
typedef struct AllocRecord {
    const char *file;         /* the allocating unit's name: a string that outlives the block (a literal) */
    uint32_t line;            /* line in that unit */
    void *pointer;            /* the tracked block */
    struct AllocRecord *next; /* towards the tail */
    struct AllocRecord *prev; /* towards the head */
} AllocRecord;

/* The registry is shared by every thread that formats; the lock guards head and tail, the chain and the
   address table. */
static pthread_mutex_t registry_lock = PTHREAD_MUTEX_INITIALIZER;
static AllocRecord *registry_head;
static AllocRecord *registry_tail;

/* Address table: linear probing, at most half full; a slot holds a block's address beside its record (so a
   probe reads no record), NULL for a free one; the capacity is a power of two. */
typedef struct RegistrySlot {
    const void *pointer;
    AllocRecord *record;
} RegistrySlot;
static RegistrySlot *registry_slots;
static size_t registry_capacity;
static size_t registry_used;

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

/* Fibonacci hashing: the top bits of the address times 2^64 / phi (blocks are 16-byte aligned, so the
   address's own low bits say nothing). */
static size_t slot_of(const void *block, size_t capacity)
{
    uint64_t key = (uint64_t)(uintptr_t)block >> 4;
    key *= 0x9E3779B97F4A7C15ull;
    return (size_t)(key >> (64 - __builtin_ctzll((unsigned long long)capacity)));
}

static void table_put(RegistrySlot *slots, size_t capacity, AllocRecord *record)
{
    size_t i = slot_of(record->pointer, capacity);
    while (slots[i].pointer)
        i = (i + 1) & (capacity - 1);
    slots[i] = (RegistrySlot){record->pointer, record};
}

/* Makes room for one more record; 0 when the larger table cannot be had. Called with the lock held. */
static int table_reserve(void)
{
    if ((registry_used + 1) * 2 <= registry_capacity)
        return 1;
    size_t capacity = registry_capacity ? registry_capacity * 2 : 256;
    RegistrySlot *slots = raw_alloc(capacity * sizeof *slots);
    if (!slots)
        return 0;
    memset(slots, 0, capacity * sizeof *slots);
    for (size_t i = 0; i < registry_capacity; i++)
        if (registry_slots[i].pointer)
            table_put(slots, capacity, registry_slots[i].record);
    free(registry_slots);
    registry_slots = slots;
    registry_capacity = capacity;
    return 1;
}

/* The slot holding the record of block, or registry_capacity when block has none. Lock held. */
static size_t table_find(const void *block)
{
    if (!registry_capacity)
        return 0;
    size_t i = slot_of(block, registry_capacity);
    while (registry_slots[i].pointer) {
        if (registry_slots[i].pointer == block)
            return i;
        i = (i + 1) & (registry_capacity - 1);
    }
    return registry_capacity;
}

/* Empties slot i and moves the records behind it in their probe run back (no tombstones). Lock held. */
static void table_remove_at(size_t i)
{
    size_t mask = registry_capacity - 1;
    registry_slots[i] = (RegistrySlot){NULL, NULL};
    registry_used--;
    for (size_t j = (i + 1) & mask; registry_slots[j].pointer; j = (j + 1) & mask) {
        size_t home = slot_of(registry_slots[j].pointer, registry_capacity);
        /* The record at j may move to the hole at i unless its home lies cyclically in (i, j]. */
        bool stays = (i <= j) ? (home > i && home <= j) : (home > i || home <= j);
        if (!stays) {
            registry_slots[i] = registry_slots[j];
            registry_slots[j] = (RegistrySlot){NULL, NULL};
            i = j;
        }
    }
}

/* Offset of the record behind a block of size bytes, aligned for the record. */
static size_t record_offset(size_t size)
{
    const size_t align = _Alignof(AllocRecord);
    return (size + align - 1) / align * align;
}

void *engine_alloc(size_t size, const char *file, uint32_t line)
{
    size_t offset = record_offset(size);
    if (offset < size || offset > SIZE_MAX - sizeof(AllocRecord))
        return NULL;
    void *block = raw_alloc(offset + sizeof(AllocRecord));
    if (!block)
        return NULL;
    memset(block, 0, size);
    AllocRecord *record = (AllocRecord *)((char *)block + offset);
    *record = (AllocRecord){.file = file, .line = line, .pointer = block};

    pthread_mutex_lock(&registry_lock);
    if (!table_reserve()) {
        /* An untraceable block would break the rule that every engine block is tracked. */
        pthread_mutex_unlock(&registry_lock);
        free(block);
        return NULL;
    }
    table_put(registry_slots, registry_capacity, record);
    registry_used++;
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
    size_t i = table_find(block);
    if (i < registry_capacity) {
        AllocRecord *record = registry_slots[i].record;
        if (record == registry_head) {
            /* The trace restarts from an empty registry. The records dropped live inside their blocks, which
               stay untouched and their owners' to free. Each record is dropped once, so this costs no more
               than tracking them did. */
            for (AllocRecord *r = record; r; r = r->next)
                table_remove_at(table_find(r->pointer));
            registry_head = NULL;
            registry_tail = NULL;
        } else {
            table_remove_at(i);
            record->prev->next = record->next;
            if (record == registry_tail)
                registry_tail = record->prev;
            else
                record->next->prev = record->prev;
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
    size_t i = block ? table_find(block) : registry_capacity;
    if (i < registry_capacity) {
        const AllocRecord *record = registry_slots[i].record;
        if (file && file_size > 0)
            snprintf(file, file_size, "%s", record->file);
        if (line)
            *line = record->line;
        found = 1;
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

/* Writes the decimal digits of n (at least min_digits of them) ending just before end; returns the start. */
static char *write_digits(char *end, uint64_t n, int min_digits)
{
    int written = 0;
    do {
        *--end = (char)('0' + n % 10);
        n /= 10;
        written++;
    } while (n > 0 || written < min_digits);
    return end;
}

void format_money(char *out, int force, float value)
{
    float fraction = value - truncf(value);
    int cents = 1;
    if (!force && fraction >= -0.0001 && fraction <= 0.0001)
        cents = 0;
    double number = (double)value;
    if (!(fabs(number) < 1e13)) {
        snprintf(out, ENGINE_MONEY_TEXT_SIZE, cents ? "%.2f" : "%.0f", number);
        return;
    }
    /* What printf writes, without printf: a float times 100 is exact in a double (its 24-bit mantissa
       times 100 needs 31 bits), so rounding it to an integer in the current mode (to nearest, ties to
       even) rounds the exact value as printf does; the sign is the value's own, as printf keeps it for a
       negative value that rounds to zero. */
    double scaled = nearbyint(cents ? fabs(number) * 100.0 : fabs(number));
    uint64_t n = (uint64_t)scaled;
    char digits[32];
    char *end = digits + sizeof digits;
    char *start;
    if (cents) {
        start = write_digits(end, n % 100, 2);
        *--start = '.';
        start = write_digits(start, n / 100, 1);
    } else {
        start = write_digits(end, n, 1);
    }
    if (signbit(number))
        *--start = '-';
    size_t length = (size_t)(end - start);
    memcpy(out, start, length);
    out[length] = '\0';
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
