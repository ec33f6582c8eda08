// The tracked allocator's registry and local time, and the small functions of every unit, run from the
// table cases/functions.json (function, input, result).

#include "engine_cases.h"

#include "order_layout_p.h"
#include "print_line_p.h"
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

TEST(AllocationRegistry, UntrackingTheHeadDropsTheRecordsBehindItAndAnyOtherOnlyItself)
{
    ASSERT_EQ(engine_registry_count(), 0u) << "an earlier test left tracked blocks";
    void* first = engine_alloc(8, "src/a.c", 1);
    void* middle = engine_alloc(8, "src/b.c", 2);
    void* last = engine_alloc(8, "src/c.c", 3);
    engine_untrack(middle);
    EXPECT_EQ(engine_registry_count(), 2u);
    engine_untrack(last);  // the tail: its predecessor becomes the tail
    void* next = engine_alloc(8, "src/d.c", 4);
    EXPECT_EQ(tagOf(first) + tagOf(next) + tagOf(middle), "src/a.c:1src/d.c:4-");
    int unknown = 0;
    engine_untrack(&unknown);
    engine_untrack(nullptr);
    EXPECT_EQ(engine_registry_count(), 2u);
    engine_untrack(first);  // the head: the blocks behind it are dropped too, and stay valid for their owners
    EXPECT_EQ(engine_registry_count() + tagOf(next).size(), 1u);
    std::memset(next, 0x5A, 8);
    engine_release(next);
    for (void* block : {first, middle, last})
        std::free(block);
}

// Calls the small function fn on in; its result as text or bytes.
std::string call(const std::string& fn, const cJSON* in)
{
    const std::string text = textOf(in);
    const char* arg = cJSON_IsNull(in) ? nullptr : text.c_str();
    const cJSON *first = cJSON_GetArrayItem(in, 0), *second = cJSON_GetArrayItem(in, 1);
    Receipt out;
    if (fn == "money") {
        char money[ENGINE_MONEY_TEXT_SIZE];
        format_money(money, cJSON_IsTrue(second), float(first ? first->valuedouble : 0));
        return money;
    }
    if (fn == "phone") {
        out.data = reinterpret_cast<uint8_t*>(format_phone(arg));
        return out.data ? reinterpret_cast<char*>(out.data) : "null";
    }
    if (fn == "barcode") out.data = barcode_bytes(arg, &out.length);
    if (fn == "display_width") {
        const Bytes bytes = bytesOf(textOf(first));
        return std::to_string(text_display_width(bytes.data(), uint32_t(bytes.size()), cJSON_IsTrue(second)));
    }
    if (fn == "control") {
        uint8_t bytes[CONTROL_BYTES_MAX];
        out.length = 99;
        control_bytes(bytes, &out.length, in->valueint);
        return out.length == 99 ? "unchanged" : std::string(bytes, bytes + out.length);
    }
    if (fn == "copy_feed_lines") return std::to_string(copy_feed_lines(arg));
    if (fn == "known_kind") return is_known_order_kind(arg) ? "true" : "false";
    if (fn == "paper_width") return std::to_string(paper_width_chars(arg));
    if (fn == "repeat_chunks") {  // a chain of one 4-byte chunk, or none
        OutputChunk* chunks = nullptr;
        uint8_t* chunk = nullptr;
        if (in->valueint && engine_memdup(&chunk, 4, "abcd"))
            append_chunk(&chunks, chunk, 4);
        const EngineError code = chunks ? repeat_chunks(&out.data, &out.length, chunks, in->valueint)
                                        : join_chunks(&out.data, &out.length, chunks);
        free_chunks(&chunks);
        return std::to_string(code) + ":" + std::string(out.data, out.data + out.length);
    }
    return std::string(out.data, out.data + out.length);
}

ENGINE_CASE_TABLE(EngineFunction, "functions");

TEST_P(EngineFunction, GivesTheTabledResult)
{
    const std::string fn = GetParam().text("fn");
    EXPECT_BYTES(bytesOf(GetParam().text("out")), call(fn, cJSON_GetObjectItem(GetParam().json, "in"))) << fn;
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
