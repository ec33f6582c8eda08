// The tracked allocator's registry, money text and local time.

#include "engine_cases.h"

#include "utility_p.h"

#include <climits>
#include <cstring>

using namespace engine_test;

namespace {

std::string tagOf(const void* block)
{
    char file[64] = {};
    uint32_t line = 0;
    return engine_registry_find(block, file, sizeof file, &line) ? file + (":" + std::to_string(line)) : "-";
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
    EXPECT_EQ(tagOf(second) + tagOf(third), "--");
    std::memset(second, 0x5A, 8);  // the dropped blocks stay valid and their owners can release them
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
    void* next = engine_alloc(8, "src/d.c", 4);
    EXPECT_EQ(engine_registry_count(), 2u);
    EXPECT_EQ(tagOf(first) + tagOf(next), "src/a.c:1src/d.c:4");
    int unknown = 0;
    engine_untrack(&unknown);
    engine_untrack(nullptr);
    EXPECT_EQ(engine_registry_count(), 2u);
    engine_release(next);
    engine_release(first);
    std::free(middle);
    std::free(last);
}

ENGINE_CASE_TABLE(Money, "money");

TEST_P(Money, ShowsCentsOnlyWhenThereAreAny)
{
    char text[ENGINE_MONEY_TEXT_SIZE];
    format_money(text, GetParam().has("force"), float(cJSON_GetObjectItem(GetParam().json, "value")->valuedouble));
    EXPECT_EQ(std::string(text), GetParam().text("text"));
}

TEST(LocalTime, ConvertsInTheMachinesZoneWithMonthFromOneAndFullYear)
{
    auto date = [](int64_t t) {
        struct tm d = local_time(t);
        return std::vector<int>({d.tm_year, d.tm_mon, d.tm_mday, d.tm_hour, d.tm_min});
    };
    setTimeZone("UTC");
    EXPECT_EQ(date(1710474138), std::vector<int>({2024, 3, 15, 3, 42}));  // 2024-03-15 03:42:18 UTC
    setTimeZone("Asia/Shanghai");
    EXPECT_EQ(date(1710474138), std::vector<int>({2024, 3, 15, 11, 42}));
    EXPECT_EQ(date(INT64_MAX), std::vector<int>({1900, 1, 0, 0, 0}));  // out of range: the zero time
}

}  // namespace
