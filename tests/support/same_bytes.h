#pragma once
// One byte comparison for every test: on a difference the message names the first differing offset and
// shows both streams in hex around it.

#include <gtest/gtest.h>

#include <QByteArray>

#include <cstdint>
#include <string>
#include <vector>

namespace test_support {

// A view of bytes from any of the containers the tests hold them in.
struct ByteView {
    ByteView(const std::vector<uint8_t>& bytes) : data(bytes.data()), size(bytes.size()) {}
    ByteView(const std::string& bytes) : data(reinterpret_cast<const uint8_t*>(bytes.data())), size(bytes.size()) {}
    ByteView(const QByteArray& bytes)
        : data(reinterpret_cast<const uint8_t*>(bytes.constData())), size(size_t(bytes.size()))
    {
    }
    const uint8_t* data;
    size_t size;
};

::testing::AssertionResult sameBytes(ByteView expected, ByteView actual);

// Whether needle occurs in haystack; the message shows the needle.
::testing::AssertionResult containsBytes(ByteView haystack, ByteView needle);

}  // namespace test_support

#define EXPECT_BYTES(expected, actual) EXPECT_TRUE(::test_support::sameBytes((expected), (actual)))
#define EXPECT_LACKS_BYTES(haystack, needle) EXPECT_FALSE(::test_support::containsBytes((haystack), (needle)))
