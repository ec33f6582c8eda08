#include "text_decoding_p.h"

#include "stream_bytes.h"

#include <QTextCodec>

#include <gtest/gtest.h>

namespace receipt_preview {
namespace {

QByteArray codecName(const QByteArray& stream, Encoding encoding = Encoding::Auto) {
    return textCodec(encoding, readCommands(stream))->name();
}

TEST(TextDecoding, AutoReadsValidMultiByteUtf8AsUtf8AndEverythingElseAsGb18030) {
    const std::pair<QByteArray, QByteArray> table[] = {
        {"\xe4\xb8\xad\n", "UTF-8"},
        {"plain ASCII\n", "GB18030"},
        {"\xd6\xd0\xce\xc4\n", "GB18030"},     // 中文 in GB18030
        {"\xe4\xb8\xad\xd6\xd0\n", "GB18030"}, // UTF-8 spoilt by one GB18030 character
        {"\xe4\xb8\n", "GB18030"},             // a UTF-8 character cut short
        // The drawer pulse's 0xFF argument is not text and must not spoil the UTF-8 reading.
        {bytes("\x1b\x70\x00\x3c\xff\xe4\xb8\xad\n"), "UTF-8"},
    };
    for (const auto& row : table) EXPECT_EQ(codecName(row.first), row.second) << row.first.toHex().toStdString();
}

TEST(TextDecoding, AForcedEncodingIsTakenAsGiven) {
    EXPECT_EQ(codecName("\xe4\xb8\xad\n", Encoding::Gb18030), "GB18030");
    EXPECT_EQ(codecName("\xd6\xd0\n", Encoding::Utf8), "UTF-8");
}

} // namespace
} // namespace receipt_preview
