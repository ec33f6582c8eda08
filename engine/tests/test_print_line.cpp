// Styled lines to printer bytes: display widths, padding and fill, style commands, and the small controls.

#include "engine_cases.h"

#include "print_line_p.h"
#include "utility_p.h"

using namespace engine_test;

namespace {

ENGINE_CASE_TABLE(RenderLine, "render_line");

TEST_P(RenderLine, GivesTheTabledBytes)
{
    const Row& row = GetParam();
    const std::string text = row.text("text"), fill = row.text("fill");
    PrintLine* line = new_print_line(row.text("text") == "null" ? nullptr : text.c_str(),
                                     row.has("style") ? row.number("style") : 0, row.number("align"),
                                     row.has("fill") ? fill.c_str() : nullptr,
                                     row.has("end") ? row.number("end") : LINE_END_FEED);
    ASSERT_NE(line, nullptr);
    Receipt out;
    EXPECT_EQ(render_line(&out.data, &out.length, line, uint32_t(row.number("width"))), ENGINE_OK);
    free_print_lines(&line);
    EXPECT_BYTES(bytesOf(row.text("bytes")), out.bytes());
}

ENGINE_CASE_TABLE(DisplayWidth, "display_width");

TEST_P(DisplayWidth, CountsMultiByteCharactersAsTwoColumnsAndStrayBytesAsOne)
{
    const Bytes text = bytesOf(GetParam().text("bytes"));
    EXPECT_EQ(text_display_width(text.data(), uint32_t(text.size()), GetParam().has("double")),
              uint32_t(GetParam().number("width")));
}

TEST(RenderLine, RejectsMissingArgumentsAndCountsNoText)
{
    uint8_t* bytes = nullptr;
    uint32_t length = 0;
    PrintLine* line = new_print_line("a", 0, ALIGNMENT_LEFT, nullptr, LINE_END_FEED);
    EXPECT_EQ(render_line(nullptr, &length, line, 32), ENGINE_ERROR_RENDER);
    EXPECT_EQ(render_line(&bytes, nullptr, line, 32), ENGINE_ERROR_RENDER);
    EXPECT_EQ(render_line(&bytes, &length, nullptr, 32), ENGINE_ERROR_RENDER);
    EXPECT_EQ(bytes, nullptr);
    free_print_lines(&line);
    EXPECT_EQ(text_display_width(nullptr, 5, 1), 0u);
}

TEST(Controls, WriteTheirCommandBytesAndIgnoreUnknownKinds)
{
    uint8_t out[CONTROL_BYTES_MAX] = {};
    uint32_t length = 99;
    const char* table[] = {"{00}", "{lf}", "{1D 56 00}", "{1B 70 00 3C FF}"};
    for (int kind = CONTROL_NUL; kind <= CONTROL_DRAWER_PULSE; kind++) {
        control_bytes(out, &length, kind);
        EXPECT_BYTES(bytesOf(table[kind - 1]), Bytes(out, out + length));
    }
    control_bytes(out, &length, 5);
    EXPECT_EQ(length, 5u);  // unchanged
}

TEST(Chunks, RefuseAnOutputBeyondTheLimitOrAMissingChain)
{
    OutputChunk* chunks = nullptr;
    uint8_t* a = nullptr;
    ASSERT_TRUE(engine_memdup(&a, 4, "abcd"));
    ASSERT_EQ(append_chunk(&chunks, a, 4), ENGINE_OK);
    Receipt out;
    EXPECT_EQ(repeat_chunks(&out.data, &out.length, chunks, INT32_MAX), ENGINE_ERROR_NO_MEMORY);
    EXPECT_EQ(repeat_chunks(&out.data, &out.length, chunks, -3), ENGINE_OK);
    EXPECT_EQ(out.data, nullptr);
    EXPECT_EQ(out.length, 0u);
    EXPECT_EQ(join_chunks(&out.data, &out.length, nullptr), ENGINE_ERROR_RENDER);
    free_chunks(&chunks);
}

}  // namespace
