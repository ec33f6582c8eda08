#include "same_bytes.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace test_support {

namespace {

std::string hex(ByteView bytes, size_t from, size_t to)
{
    std::string out;
    char cell[4];
    for (size_t i = from; i < to && i < bytes.size; i++) {
        std::snprintf(cell, sizeof cell, "%02X ", bytes.data[i]);
        out += cell;
    }
    if (to < bytes.size) out += "...";
    return out;
}

}  // namespace

::testing::AssertionResult sameBytes(ByteView expected, ByteView actual)
{
    if (expected.size == actual.size && (expected.size == 0 || !std::memcmp(expected.data, actual.data, actual.size)))
        return ::testing::AssertionSuccess();
    size_t at = 0;
    while (at < expected.size && at < actual.size && expected.data[at] == actual.data[at]) at++;
    const size_t from = at >= 16 ? at - 16 : 0;
    const size_t to = at + 24;
    return ::testing::AssertionFailure() << "streams differ at offset " << at << " (expected " << expected.size
                                         << " bytes, got " << actual.size << ")\n  from offset " << from
                                         << ":\n  expected: " << hex(expected, from, to)
                                         << "\n  actual:   " << hex(actual, from, to);
}

::testing::AssertionResult containsBytes(ByteView haystack, ByteView needle)
{
    const uint8_t* end = haystack.data + haystack.size;
    if (std::search(haystack.data, end, needle.data, needle.data + needle.size) != end || needle.size == 0)
        return ::testing::AssertionSuccess() << "found " << hex(needle, 0, needle.size);
    return ::testing::AssertionFailure() << "not found among " << haystack.size << " bytes: "
                                         << hex(needle, 0, needle.size);
}

}  // namespace test_support
