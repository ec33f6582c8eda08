// Styled lines to printer bytes (cases/render_line.json): padding and fill, style commands.

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

}  // namespace
