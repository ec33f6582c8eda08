// The tracked allocator's registry, string copies, paper widths, money text and local time.

#include "byte_test_support.h"

#include "utility_p.h"

#include <vector>
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

std::string money(float value, int force = 0)
{
    char text[ENGINE_MONEY_TEXT_SIZE];
    format_money(text, force, value);
    return text;
}

TEST(Money, ShowsCentsOnlyWhenThereAreAnyAndFitsTheWidestFloat)
{
    const struct {
        float value;
        int force;
        const char* text;
    } table[] = {{12.0f, 0, "12"},     {12.5f, 0, "12.50"},  {12.0f, 1, "12.00"}, {0.00005f, 0, "0"},
                 {3.999f, 0, "4.00"},  {-15.0f, 0, "-15"},   {-0.5f, 0, "-0.50"}, {3.3f, 0, "3.30"},
                 {1.0f / 0.0f, 0, "inf"}};
    for (const auto& row : table)
        EXPECT_EQ(money(row.value, row.force), row.text) << row.value;
    EXPECT_EQ(money(-3.0e38f, 1).size(), 43u);
}

TEST(LocalTime, ConvertsInTheMachinesZoneWithMonthFromOneAndFullYear)
{
    setTimeZone("Asia/Shanghai");
    struct tm t = local_time(1710474138);  // 2024-03-15 03:42:18 UTC
    EXPECT_EQ(std::vector<int>({t.tm_year, t.tm_mon, t.tm_mday, t.tm_hour, t.tm_min}),
              std::vector<int>({2024, 3, 15, 11, 42}));
    setTimeZone("UTC");
    EXPECT_EQ(local_time(1710474138).tm_hour, 3);
    setTimeZone("Asia/Shanghai");
    // Out of range: the zero time.
    t = local_time(INT64_MAX);
    EXPECT_EQ(std::vector<int>({t.tm_year, t.tm_mon, t.tm_mday}), std::vector<int>({1900, 1, 0}));
}

}  // namespace
