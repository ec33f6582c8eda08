/* Fuzz target: one input is an entry selector and three JSON texts (see fuzz_input.h). */
#include "fuzz_input.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    uint32_t length = 0;
    EngineError code = run_fuzz_input(data, size, &length);
    /* A result is a receipt or a code, never both and never something else. */
    if (code > 0 || (code != ENGINE_OK && length != 0))
        __builtin_trap();
    return 0;
}
