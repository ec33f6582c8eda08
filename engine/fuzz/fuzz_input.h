/* How a fuzz input drives the engine, shared by the fuzz harness and the regression test that replays the
   inputs the fuzzer found: the first byte picks the entry (online, local, summary by its value mod 3), the
   rest holds the restaurant, the order or summary and the settings text, separated by NUL bytes (a missing
   text is empty). */
#pragma once

#include "receipt_engine/receipt_engine.h"

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

/* Runs one input; returns the entry's code. On success *length receives the receipt's length. */
static inline EngineError run_fuzz_input(const uint8_t *data, size_t size, uint32_t *length)
{
    if (size == 0)
        return ENGINE_ERROR_INVALID_INPUT;
    /* A copy of the texts with three spare NUL bytes: every text ends inside it, missing ones are empty. */
    char *texts = (char *)calloc(size + 3, 1);
    if (!texts)
        return ENGINE_ERROR_NO_MEMORY;
    memcpy(texts, data + 1, size - 1);
    const char *parts[3];
    const char *at = texts;
    for (int i = 0; i < 3; i++) {
        parts[i] = at;
        at += strlen(at) + 1;
    }
    uint8_t *out = NULL;
    *length = 0;
    EngineError (*const entries[3])(uint8_t **, uint32_t *, const char *, const char *, const char *) = {
        format_online_order, format_local_order, format_summary};
    EngineError code = entries[data[0] % 3](&out, length, parts[0], parts[1], parts[2]);
    engine_free(&out);
    free(texts);
    return code;
}
