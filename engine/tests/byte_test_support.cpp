#include "byte_test_support.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <sstream>

namespace engine_test {

Part::Part(std::initializer_list<int> values)
{
    for (int v : values)
        bytes.push_back(uint8_t(v));
}

Part::Part(const char* text) : bytes(text, text + std::strlen(text)) {}

Bytes cat(std::initializer_list<Part> parts)
{
    Bytes out;
    for (const Part& part : parts)
        out.insert(out.end(), part.bytes.begin(), part.bytes.end());
    return out;
}

Bytes repeat(uint8_t byte, size_t count)
{
    return Bytes(count, byte);
}

Bytes spaces(size_t count)
{
    return repeat(' ', count);
}

const Bytes kReset = {0x1D, 0x21, 0x00, 0x1B, 0x21, 0x00};

Bytes align(int n)
{
    return {0x1B, 0x61, uint8_t(n)};
}

Bytes stylePrefix(int style)
{
    return {0x1B, 0x21, uint8_t(style & 8 ? 0x08 : 0x00),
            0x1D, 0x21, uint8_t((style & 2 ? 0x10 : 0x00) + (style & 4 ? 0x01 : 0x00))};
}

Bytes run(const char* text, int style)
{
    return style ? cat({stylePrefix(style), text, kReset}) : cat({text, kReset});
}

namespace {

std::string hexAround(const Bytes& bytes, size_t from, size_t to)
{
    std::string out;
    char cell[8];
    for (size_t i = from; i < to && i < bytes.size(); i++) {
        std::snprintf(cell, sizeof cell, "%02X ", bytes[i]);
        out += cell;
    }
    if (to < bytes.size())
        out += "...";
    return out;
}

}  // namespace

::testing::AssertionResult sameBytes(const Bytes& expected, const Bytes& actual)
{
    if (expected == actual)
        return ::testing::AssertionSuccess();
    size_t at = 0;
    while (at < expected.size() && at < actual.size() && expected[at] == actual[at])
        at++;
    size_t from = at >= 16 ? at - 16 : 0;
    size_t to = at + 24;
    return ::testing::AssertionFailure() << "streams differ at offset " << at << " (expected " << expected.size()
                                         << " bytes, got " << actual.size() << ")\n  from offset " << from
                                         << ":\n  expected: " << hexAround(expected, from, to)
                                         << "\n  actual:   " << hexAround(actual, from, to);
}

::testing::AssertionResult containsBytes(const Bytes& haystack, const Bytes& needle)
{
    if (std::search(haystack.begin(), haystack.end(), needle.begin(), needle.end()) != haystack.end())
        return ::testing::AssertionSuccess() << "found " << hexAround(needle, 0, needle.size());
    return ::testing::AssertionFailure() << "not found among " << haystack.size()
                                         << " bytes: " << hexAround(needle, 0, needle.size());
}

void setTimeZone(const char* zone)
{
    setenv("TZ", zone, 1);
    tzset();
}

std::string readText(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

}  // namespace engine_test
