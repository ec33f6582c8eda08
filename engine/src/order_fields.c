/* Fields of the order receipt that are more than text: the phone display form and the id barcode. */
#include "order_layout_p.h"

#include "utility_p.h"

#include <stdint.h>
#include <string.h>

#define ENGINE_UNIT "src/order_fields.c"

/* Copies text with a dash before each of the given positions where none stands already. */
static char *insert_dashes(const char *text, size_t length, size_t first, size_t second)
{
    char *out = ENGINE_ALLOC(length + 3);
    if (!out)
        return NULL;
    size_t at = 0;
    for (size_t i = 0; i < length; i++) {
        if ((i == first || i == second) && text[i] != '-')
            out[at++] = '-';
        out[at++] = text[i];
    }
    out[at] = '\0';
    return out;
}

char *format_phone(const char *text)
{
    if (!text || text[0] == '\0')
        return NULL;
    size_t length = strlen(text);
    if (length == 11 && text[0] == '1')
        return insert_dashes(text, length, 3, 7);
    if (text[0] == '0' && length >= 7)
        return text[1] < '3' ? insert_dashes(text, length, 3, 7) : insert_dashes(text, length, 4, 8);
    if (length >= 4 && strncmp(text, "+86", 3) == 0)
        return insert_dashes(text, length, 3, SIZE_MAX); /* one dash only */
    char *copy = NULL;
    engine_strdup(&copy, text);
    return copy;
}

uint8_t *barcode_bytes(const char *id, uint32_t *length)
{
    static const uint8_t setup[] = {
        0x1D, 0x68, 0x60, /* GS h: bar height 96 dots */
        0x1D, 0x77, 0x02, /* GS w: module width 2 */
        0x1D, 0x6B, 0x49  /* GS k: CODE128, the data length follows */
    };
    size_t digits = id ? strlen(id) : 0;
    size_t packed = (digits + 1) / 2;
    size_t size = sizeof setup + 1 + 2 + packed + digits;
    uint8_t *bytes = ENGINE_ALLOC(size);
    if (!bytes)
        return NULL;
    uint8_t *at = bytes;
    memcpy(at, setup, sizeof setup);
    at += sizeof setup;
    *at++ = (uint8_t)(packed + 2);
    *at++ = 0x7B; /* {C: code set C, two digits per symbol */
    *at++ = 0x43;
    size_t i = 0;
    if (digits % 2 == 1)
        *at++ = (uint8_t)(id[i++] - '0');
    for (; i < digits; i += 2)
        *at++ = (uint8_t)((id[i] - '0') * 10 + (id[i + 1] - '0'));
    if (digits > 0)
        memcpy(at, id, digits);
    *length = (uint32_t)size;
    return bytes;
}
