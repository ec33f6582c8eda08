#pragma once
// Counts the blocks cJSON holds, through its allocation hooks, so that a test sees a tree it leaked. A test
// program that includes this header counts from its start.

#include <cjson/cJSON.h>

#include <atomic>
#include <cstdlib>

namespace test_support {

inline std::atomic<long> g_cjsonBlocks{0};

inline void* countedMalloc(size_t size)
{
    ++g_cjsonBlocks;
    return std::malloc(size);
}

inline void countedFree(void* block)
{
    if (block) --g_cjsonBlocks;
    std::free(block);
}

inline const bool g_countingCjsonBlocks = [] {
    cJSON_Hooks hooks{countedMalloc, countedFree};
    cJSON_InitHooks(&hooks);
    return true;
}();

// cJSON blocks alive now.
inline long cjsonBlocks()
{
    return g_cjsonBlocks;
}

}  // namespace test_support
