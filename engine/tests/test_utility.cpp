// The tracked allocator and its registry, string copies, paper widths, money text and local time.

#include "byte_test_support.h"

#include "utility_p.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

using namespace engine_test;

namespace {

std::string tagOf(const void* block, uint32_t* line)
{
    char file[64] = {};
    if (!engine_registry_find(block, file, sizeof file, line))
        return "(not tracked)";
    return file;
}

class AllocationRegistry : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(engine_registry_count(), 0u) << "an earlier test left tracked blocks"; }
    void TearDown() override { EXPECT_EQ(engine_registry_count(), 0u); }
};

TEST_F(AllocationRegistry, RecordsEveryBlockWithItsSourceAndZeroFillsIt)
{
    auto* block = static_cast<unsigned char*>(engine_alloc(32, "src/format.c", 42));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::count(block, block + 32, 0), 32);
    uint32_t line = 0;
    EXPECT_EQ(tagOf(block, &line), "src/format.c");
    EXPECT_EQ(line, 42u);
    EXPECT_EQ(engine_registry_count(), 1u);
    engine_release(block);
}

TEST_F(AllocationRegistry, UntrackingTheHeadDropsTheRecordsBehindIt)
{
    void* first = engine_alloc(8, "src/a.c", 1);
    void* second = engine_alloc(8, "src/b.c", 2);
    void* third = engine_alloc(8, "src/c.c", 3);
    ASSERT_EQ(engine_registry_count(), 3u);

    engine_untrack(first);
    EXPECT_EQ(engine_registry_count(), 0u);
    uint32_t line = 0;
    EXPECT_EQ(tagOf(second, &line), "(not tracked)");
    EXPECT_EQ(tagOf(third, &line), "(not tracked)");

    // The dropped blocks stay valid and their owners can still release them.
    std::memset(second, 0x5A, 8);
    engine_release(second);
    engine_release(third);
    std::free(first);
}

TEST_F(AllocationRegistry, UntrackingAnyOtherRecordKeepsTheRest)
{
    void* first = engine_alloc(8, "src/a.c", 1);
    void* middle = engine_alloc(8, "src/b.c", 2);
    void* last = engine_alloc(8, "src/c.c", 3);
    engine_untrack(middle);
    EXPECT_EQ(engine_registry_count(), 2u);
    engine_untrack(last);  // the tail: its predecessor becomes the tail
    EXPECT_EQ(engine_registry_count(), 1u);
    void* next = engine_alloc(8, "src/d.c", 4);
    EXPECT_EQ(engine_registry_count(), 2u);
    uint32_t line = 0;
    EXPECT_EQ(tagOf(next, &line), "src/d.c");
    EXPECT_EQ(line, 4u);

    int unknown = 0;
    engine_untrack(&unknown);
    engine_untrack(nullptr);
    EXPECT_EQ(engine_registry_count(), 2u);

    engine_release(next);
    engine_release(first);
    std::free(middle);
    std::free(last);
}

TEST_F(AllocationRegistry, CopiesAreTaggedWithTheirFixedSourceLines)
{
    char* text = nullptr;
    uint8_t* bytes = nullptr;
    ASSERT_EQ(engine_strdup(&text, "蜀香阁"), 1);
    ASSERT_EQ(engine_memdup(&bytes, 3, "abc"), 1);
    uint32_t line = 0;
    EXPECT_EQ(tagOf(text, &line), "src/utility.c");
    EXPECT_EQ(line, 178u);
    EXPECT_EQ(tagOf(bytes, &line), "src/utility.c");
    EXPECT_EQ(line, 190u);
    EXPECT_STREQ(text, "蜀香阁");
    EXPECT_EQ(std::memcmp(bytes, "abc", 3), 0);
    engine_release(bytes);
    engine_release(text);
}

TEST_F(AllocationRegistry, CopyOfNothingLeavesTheDestination)
{
    char* text = nullptr;
    ASSERT_EQ(engine_strdup(&text, "kept"), 1);
    EXPECT_EQ(engine_strdup(&text, nullptr), 0);
    EXPECT_STREQ(text, "kept");
    // A new copy replaces (and releases) the old one; the old one was the oldest record, so releasing it
    // empties the registry.
    ASSERT_EQ(engine_strdup(&text, "new"), 1);
    EXPECT_STREQ(text, "new");
    EXPECT_EQ(engine_registry_count(), 0u);
    engine_release(text);

    uint8_t* bytes = nullptr;
    EXPECT_EQ(engine_memdup(&bytes, 0, "abc"), 0);
    EXPECT_EQ(engine_memdup(&bytes, 3, nullptr), 0);
    EXPECT_EQ(bytes, nullptr);
}

TEST_F(AllocationRegistry, FailedAllocationIsNullAndUnrecorded)
{
    engine_set_malloc([](size_t) -> void* { return nullptr; });
    char* text = nullptr;
    EXPECT_EQ(engine_alloc(16, "src/a.c", 1), nullptr);
    EXPECT_EQ(engine_strdup(&text, "x"), 0);
    EXPECT_EQ(text, nullptr);
    engine_set_malloc(nullptr);
    EXPECT_EQ(engine_registry_count(), 0u);
}

TEST(PaperWidth, NamesExactlyTwoPapers)
{
    EXPECT_EQ(paper_width_chars("58mm"), 32);
    EXPECT_EQ(paper_width_chars("80mm"), 48);
    EXPECT_EQ(paper_width_chars("58MM"), -1);
    EXPECT_EQ(paper_width_chars("58mm "), -1);
    EXPECT_EQ(paper_width_chars(""), -1);
    EXPECT_EQ(paper_width_chars(nullptr), -1);
    EXPECT_TRUE(is_valid_width("80mm"));
    EXPECT_FALSE(is_valid_width("A4"));
    EXPECT_TRUE(is_valid_style("normal"));
    EXPECT_TRUE(is_valid_style("small"));
    EXPECT_FALSE(is_valid_style("large"));
    EXPECT_FALSE(is_valid_style(nullptr));
}

std::string money(float value, int force = 0)
{
    char text[ENGINE_MONEY_TEXT_SIZE];
    format_money(text, force, value);
    return text;
}

TEST(Money, ShowsCentsOnlyWhenThereAreAny)
{
    EXPECT_EQ(money(12.0f), "12");
    EXPECT_EQ(money(12.5f), "12.50");
    EXPECT_EQ(money(12.0f, 1), "12.00");
    EXPECT_EQ(money(0.00005f), "0");
    EXPECT_EQ(money(3.999f), "4.00");
    EXPECT_EQ(money(-15.0f), "-15");
    EXPECT_EQ(money(-0.5f), "-0.50");
    EXPECT_EQ(money(3.3f), "3.30");
}

TEST(Money, FitsTheWidestFloat)
{
    EXPECT_EQ(money(-3.0e38f, 1).size(), 43u);
    EXPECT_EQ(money(1.0f / 0.0f), "inf");
}

TEST(LocalTime, ConvertsInTheMachinesZoneWithMonthFromOneAndFullYear)
{
    setTimeZone("Asia/Shanghai");
    struct tm t = local_time(1710474138);  // 2024-03-15 03:42:18 UTC
    EXPECT_EQ(t.tm_year, 2024);
    EXPECT_EQ(t.tm_mon, 3);
    EXPECT_EQ(t.tm_mday, 15);
    EXPECT_EQ(t.tm_hour, 11);
    EXPECT_EQ(t.tm_min, 42);
    setTimeZone("UTC");
    EXPECT_EQ(local_time(1710474138).tm_hour, 3);
    setTimeZone("Asia/Shanghai");
}

TEST(LocalTime, GivesTheZeroTimeForTimesOutOfRange)
{
    struct tm t = local_time(INT64_MAX);
    EXPECT_EQ(t.tm_year, 1900);
    EXPECT_EQ(t.tm_mon, 1);
    EXPECT_EQ(t.tm_mday, 0);
}

}  // namespace
