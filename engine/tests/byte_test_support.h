#pragma once
// Shared pieces of the engine tests: byte strings built from readable parts, a comparison that shows
// where two streams differ, and owners that release engine buffers.

#include "receipt_engine/receipt_engine.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace engine_test {

using Bytes = std::vector<uint8_t>;

// One part of a byte string: literal byte values or the UTF-8 bytes of a text.
struct Part {
    Part(std::initializer_list<int> values);
    Part(const char* text);
    Part(const Bytes& bytes) : bytes(bytes) {}
    Bytes bytes;
};

// The parts one after the other.
Bytes cat(std::initializer_list<Part> parts);

// count copies of byte.
Bytes repeat(uint8_t byte, size_t count);

// count spaces.
Bytes spaces(size_t count);

// Command bytes of the printer, by the names of its command table.
Bytes align(int n);                      // ESC a n
Bytes stylePrefix(int style);            // ESC ! e, GS ! s of a non-zero style
extern const Bytes kReset;               // GS ! 00, ESC ! 00: after every run
Bytes run(const char* text, int style);  // a styled run: prefix (style non-zero), text, reset

// Compares two streams; on a difference the message names the first differing offset and shows both
// streams in hex around it.
::testing::AssertionResult sameBytes(const Bytes& expected, const Bytes& actual);

// Whether needle occurs in haystack; the message shows the needle when it does not.
::testing::AssertionResult containsBytes(const Bytes& haystack, const Bytes& needle);

// The receipt of an entry function; releases it with engine_free.
struct Receipt {
    Receipt() = default;
    Receipt(const Receipt&) = delete;
    Receipt& operator=(const Receipt&) = delete;
    ~Receipt() { engine_free(&data); }
    Bytes bytes() const { return data ? Bytes(data, data + length) : Bytes(); }

    uint8_t* data = nullptr;
    uint32_t length = 0;
};

// Sets the time zone of local times for the rest of the process.
void setTimeZone(const char* zone);

// The whole text of a file.
std::string readText(const std::string& path);

}  // namespace engine_test

#define EXPECT_BYTES(expected, actual) EXPECT_TRUE(::engine_test::sameBytes((expected), (actual)))
#define EXPECT_CONTAINS_BYTES(haystack, needle) EXPECT_TRUE(::engine_test::containsBytes((haystack), (needle)))
#define EXPECT_LACKS_BYTES(haystack, needle) EXPECT_FALSE(::engine_test::containsBytes((haystack), (needle)))
