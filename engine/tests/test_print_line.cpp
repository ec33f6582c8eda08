// Styled lines to printer bytes: display widths, padding and fill, style commands, and the small controls.

#include "byte_test_support.h"

#include "print_line_p.h"
#include "utility_p.h"

#include <cstring>

using namespace engine_test;

namespace {

uint32_t widthOf(const char* text, int doubleWidth = 0)
{
    return text_display_width(reinterpret_cast<const uint8_t*>(text), uint32_t(std::strlen(text)), doubleWidth);
}

// Renders one line made by new_print_line and frees everything.
Bytes renderOne(const char* text, TextStyle style, Alignment alignment, const char* fill, uint32_t width,
                int32_t lineEnd = LINE_END_FEED)
{
    PrintLine* line = new_print_line(text, style, alignment, fill, lineEnd);
    EXPECT_NE(line, nullptr);
    uint8_t* bytes = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(render_line(&bytes, &length, line, width), ENGINE_OK);
    Bytes out = bytes ? Bytes(bytes, bytes + length) : Bytes();
    engine_release(bytes);
    free_print_lines(&line);
    return out;
}

TEST(DisplayWidth, CountsEveryMultiByteCharacterAsTwoColumnsAndStrayBytesAsOne)
{
    EXPECT_EQ(widthOf("中文"), 4u);
    EXPECT_EQ(widthOf("中文", 1), 8u);
    EXPECT_EQ(widthOf("é"), 2u);                 // two-byte Latin letter
    EXPECT_EQ(widthOf("\xF0\x9F\x8D\x9C"), 2u);  // four-byte character
    EXPECT_EQ(widthOf("a中b"), 4u);
    const uint8_t stray[] = {0x80, 0xFF, 0x00, 0xF8};
    EXPECT_EQ(text_display_width(stray, sizeof stray, 0), 4u);
    const uint8_t cutCharacter[] = {'a', 0xE4, 0xB8};  // a three-byte lead with one byte left
    EXPECT_EQ(text_display_width(cutCharacter, sizeof cutCharacter, 0), 3u);
    EXPECT_EQ(text_display_width(nullptr, 5, 1), 0u);
    EXPECT_EQ(text_display_width(stray, 0, 1), 0u);
}

TEST(RenderLine, LeftLineIsPaddedToTheFullWidth)
{
    EXPECT_BYTES(cat({align(0), "abc", kReset, spaces(29), {0x0A}}), renderOne("abc", 0, ALIGNMENT_LEFT, nullptr, 32));
    EXPECT_BYTES(cat({align(0), "abc", kReset, spaces(29)}),
                 renderOne("abc", 0, ALIGNMENT_LEFT, nullptr, 32, LINE_END_NONE));
    // With a fill: padded with spaces whatever the pattern, and no ESC a.
    EXPECT_BYTES(cat({"abc", kReset, spaces(5), {0x0A}}), renderOne("abc", 0, ALIGNMENT_LEFT, " ", 8));
    EXPECT_BYTES(cat({"abc", kReset, spaces(5), {0x0A}}), renderOne("abc", 0, ALIGNMENT_LEFT, "-", 8));
    // A blank line is an empty run padded to the full width.
    EXPECT_BYTES(cat({align(0), kReset, spaces(32), {0x0A}}), renderOne("", 0, ALIGNMENT_LEFT, nullptr, 32));
    // A NULL text makes no run at all, so no reset bytes either.
    EXPECT_BYTES(cat({align(0), spaces(48), {0x0A}}), renderOne(nullptr, 0, ALIGNMENT_LEFT, nullptr, 48));
}

TEST(RenderLine, CentredTitleMirrorsFillAroundText)
{
    // T 5, pad 27: left 13 (12 dashes and a space), right 14 (a space and 13 dashes); no ESC a.
    EXPECT_BYTES(cat({repeat('-', 12), " ", "Hello", kReset, " ", repeat('-', 13), {0x0A}}),
                 renderOne("Hello", 0, ALIGNMENT_CENTRE, "-", 32));
    // A two-character pattern reads forwards on the right and backwards on the left.
    EXPECT_BYTES(cat({"=-=-", " ", "ab", kReset, " ", "-=-=", {0x0A}}), renderOne("ab", 0, ALIGNMENT_CENTRE, "-=", 12));
}

TEST(RenderLine, CentredLineWithSmallPadKeepsTheUnwrittenZeroBytes)
{
    // pad 1: the text, then one byte nobody writes.
    EXPECT_BYTES(cat({"abc", kReset, {0x00, 0x0A}}), renderOne("abc", 0, ALIGNMENT_CENTRE, "-", 4));
    // pad 2: no left fill, so no space before the text either; the space after it is written.
    EXPECT_BYTES(cat({{0x00}, "abc", kReset, " ", {0x0A}}), renderOne("abc", 0, ALIGNMENT_CENTRE, "-", 5));
    // pad 3: as pad 2 with one pattern byte on the right.
    EXPECT_BYTES(cat({{0x00}, "abc", kReset, " -", {0x0A}}), renderOne("abc", 0, ALIGNMENT_CENTRE, "-", 6));
    // An empty pattern is a fill that makes no bytes: both sides stay zero but the space after the text.
    EXPECT_BYTES(cat({{0x00, 0x00}, "abc", kReset, {0x20, 0x00}}),
                 renderOne("abc", 0, ALIGNMENT_CENTRE, "", 7, LINE_END_NONE));
}

TEST(RenderLine, RightLinePadsBeforeTheTextWithoutASpaceOrLeavesItToThePrinterWithoutFill)
{
    EXPECT_BYTES(cat({align(1), "abc", kReset, {0x0A}}), renderOne("abc", 0, ALIGNMENT_CENTRE, nullptr, 32));
    EXPECT_BYTES(cat({align(2), "abc", kReset, {0x0A}}), renderOne("abc", 0, ALIGNMENT_RIGHT, nullptr, 32));
    EXPECT_BYTES(cat({repeat('-', 29), "abc", kReset, {0x0A}}), renderOne("abc", 0, ALIGNMENT_RIGHT, "-", 32));
    // The full-width rule: an empty text after W pattern bytes.
    EXPECT_BYTES(cat({repeat('-', 32), kReset, {0x0A}}), renderOne("", 0, ALIGNMENT_RIGHT, "-", 32));
}

TEST(RenderLine, MultiBytePatternIsCutByBytes)
{
    // "中" is E4 B8 AD; four bytes of it, written backwards.
    EXPECT_BYTES(cat({{0xE4, 0xAD, 0xB8, 0xE4}, "ab", kReset}),
                 renderOne("ab", 0, ALIGNMENT_RIGHT, "中", 6, LINE_END_NONE));
}

TEST(RenderLine, TextWiderThanTheLineIsNeitherPaddedNorCut)
{
    EXPECT_BYTES(cat({align(0), "abcdef", kReset, {0x0A}}), renderOne("abcdef", 0, ALIGNMENT_LEFT, nullptr, 4));
    EXPECT_BYTES(cat({"abcdef", kReset, {0x0A}}), renderOne("abcdef", 0, ALIGNMENT_CENTRE, "*", 4));
    EXPECT_BYTES(cat({"abcdef", kReset}), renderOne("abcdef", 0, ALIGNMENT_RIGHT, "*", 6, LINE_END_NONE));
}

TEST(RenderLine, StyledRunsCarryPrefixAndReset)
{
    // Bold, double width and height.
    EXPECT_BYTES(cat({align(1), {0x1B, 0x21, 0x08, 0x1D, 0x21, 0x11}, "ab", {0x1D, 0x21, 0x00, 0x1B, 0x21, 0x00}}),
                 renderOne("ab", 14, ALIGNMENT_CENTRE, nullptr, 32, LINE_END_NONE));
    // Style 1 sets nothing but still sends both prefix commands.
    EXPECT_BYTES(cat({align(2), {0x1B, 0x21, 0x00, 0x1D, 0x21, 0x00}, "ab", kReset}),
                 renderOne("ab", 1, ALIGNMENT_RIGHT, nullptr, 32, LINE_END_NONE));
    // Double width takes twice the columns: "ab" leaves 6 of 10.
    EXPECT_BYTES(cat({align(0), {0x1B, 0x21, 0x00, 0x1D, 0x21, 0x10}, "ab", kReset, spaces(6)}),
                 renderOne("ab", TEXT_STYLE_DOUBLE_WIDTH, ALIGNMENT_LEFT, nullptr, 10, LINE_END_NONE));
}

TEST(RenderLine, UnknownAlignmentRendersOnlyTheLineFeed)
{
    EXPECT_BYTES(Bytes({0x0A}), renderOne("abc", 0, 3, nullptr, 32));
    EXPECT_BYTES(Bytes(), renderOne("abc", 0, -1, "-", 32, LINE_END_NONE));
}

TEST(RenderLine, RejectsMissingArguments)
{
    uint8_t* bytes = nullptr;
    uint32_t length = 0;
    PrintLine* line = new_print_line("a", 0, ALIGNMENT_LEFT, nullptr, LINE_END_FEED);
    EXPECT_EQ(render_line(nullptr, &length, line, 32), ENGINE_ERROR_RENDER);
    EXPECT_EQ(render_line(&bytes, nullptr, line, 32), ENGINE_ERROR_RENDER);
    EXPECT_EQ(render_line(&bytes, &length, nullptr, 32), ENGINE_ERROR_RENDER);
    EXPECT_EQ(bytes, nullptr);
    free_print_lines(&line);
}

TEST(Controls, WriteTheirCommandBytes)
{
    uint8_t out[CONTROL_BYTES_MAX] = {};
    uint32_t length = 99;
    const std::pair<int, Bytes> table[] = {{CONTROL_NUL, {0x00}},
                                           {CONTROL_LINE_FEED, {0x0A}},
                                           {CONTROL_FULL_CUT, {0x1D, 0x56, 0x00}},
                                           {CONTROL_DRAWER_PULSE, {0x1B, 0x70, 0x00, 0x3C, 0xFF}}};
    for (const auto& row : table) {
        control_bytes(out, &length, row.first);
        EXPECT_BYTES(row.second, Bytes(out, out + length));
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
    uint8_t* out = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(repeat_chunks(&out, &length, chunks, INT32_MAX), ENGINE_ERROR_NO_MEMORY);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(repeat_chunks(&out, &length, chunks, -3), ENGINE_OK);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(join_chunks(&out, &length, nullptr), ENGINE_ERROR_RENDER);
    free_chunks(&chunks);
}

}  // namespace
