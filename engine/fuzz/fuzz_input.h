/*
 * How a fuzz input drives the engine, shared by the fuzz harness and the regression test that replays the
 * inputs the fuzzer found: the first byte picks the entry (online, local, summary by its value mod 3), the
 * rest holds the restaurant, the order or summary and the settings text, separated by NUL bytes (a missing
 * text is empty).
 */
#ifndef RECEIPT_ENGINE_FUZZ_INPUT_H
#define RECEIPT_ENGINE_FUZZ_INPUT_H

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
    EngineError code;
    switch (data[0] % 3) {
    case 0: code = format_online_order(&out, length, parts[0], parts[1], parts[2]); break;
    case 1: code = format_local_order(&out, length, parts[0], parts[1], parts[2]); break;
    default: code = format_summary(&out, length, parts[0], parts[1], parts[2]); break;
    }
    engine_free(&out);
    free(texts);
    return code;
}

#endif /* RECEIPT_ENGINE_FUZZ_INPUT_H */
