#ifndef RECEIPT_PREVIEW_TESTS_STREAM_BYTES_H
#define RECEIPT_PREVIEW_TESTS_STREAM_BYTES_H

#include <QByteArray>

#include <cstddef>

// A printer stream from a string literal, NUL bytes included (QByteArray(const char*) stops at a NUL).
template <std::size_t N>
QByteArray bytes(const char (&literal)[N]) {
    return QByteArray(literal, int(N - 1));
}

#endif
