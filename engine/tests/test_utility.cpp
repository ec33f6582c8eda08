// The tracked allocator's registry, and the small functions of every unit, run from the table
// cases/functions.json (function, input, result).

#include "engine_cases.h"
#include "order_layout_p.h"
#include "print_line_p.h"
#include "utility_p.h"

#include <climits>
#include <cstdio>
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
    engine_untrack(&unknown), engine_untrack(nullptr);
    EXPECT_EQ(engine_registry_count(), 2u);
    engine_untrack(first);  // the head: the blocks behind it are dropped too, and stay valid for their owners
    EXPECT_EQ(engine_registry_count() + tagOf(next).size(), 1u);
    std::memset(next, 0x5A, 8);
    engine_release(next);
    for (void* block : {first, middle, last}) std::free(block);
    std::vector<void*> blocks(256);  // as many as the first table has slots: it grew, so a lookup still ends
    for (size_t i = 0; i < blocks.size(); i++) {
        engine_set_malloc(i == 128 ? +[](size_t size) { return size > 1024 ? nullptr : std::malloc(size); } : nullptr);
        EXPECT_EQ(i == 128 ? engine_alloc(8, "src/e.c", 6) : nullptr, nullptr);  // the table cannot grow: no block
        engine_set_malloc(nullptr);
        blocks[i] = engine_alloc(8, "src/e.c", 5);
    }
    EXPECT_EQ(engine_registry_find(&unknown, nullptr, 0, nullptr) + engine_registry_count(), 256u);
    for (auto block = blocks.rbegin(); block != blocks.rend(); ++block) engine_release(*block);
}

// Calls the small function fn on in; its result as text, or its code, ":" and the bytes or text it made.
std::string call(const std::string& fn, const cJSON* in)
{
    const std::string text = textOf(in);
    const char* arg = cJSON_IsNull(in) ? nullptr : text.c_str();
    const cJSON *first = cJSON_GetArrayItem(in, 0), *second = cJSON_GetArrayItem(in, 1);
    const Bytes bytes = bytesOf(textOf(first));
    Receipt out;
    char** made = reinterpret_cast<char**>(&out.data);  // the text of the functions that make one
    char money[ENGINE_MONEY_TEXT_SIZE];
    uint8_t control[CONTROL_BYTES_MAX];
    EngineError code = ENGINE_OK;
    std::string columns;  // of the segments
    if (fn == "money") return format_money(money, cJSON_IsTrue(second), float(first->valuedouble)), money;
    if (fn == "control") out.length = 99, control_bytes(nullptr, &out.length, 1), control_bytes(control, &out.length, in->valueint);
    if (fn == "control") return out.length == 99 ? "unchanged" : std::string(control, control + out.length);
    if (fn == "copy_feed_lines") return std::to_string(copy_feed_lines(arg));
    if (fn == "known_kind") return is_known_order_kind(arg) ? "true" : "false";
    if (fn == "paper_width") return std::to_string(paper_width_chars(arg));
    if (fn == "display_width") return std::to_string(text_display_width(bytes.data(), uint32_t(bytes.size()), cJSON_IsTrue(second)));
    if (fn == "local_time") {  // in the zone given
        setTimeZone(cJSON_GetStringValue(first));
        const struct tm t = local_time(int64_t(second->valuedouble));
        char date[64];
        return std::snprintf(date, sizeof date, "%d-%d-%d %d:%d", t.tm_year, t.tm_mon, t.tm_mday, t.tm_hour, t.tm_min), date;
    }
    if (fn == "phone") *made = format_phone(arg);
    if (fn == "fill_line") *made = make_fill_line(cJSON_GetStringValue(first), uint32_t(second->valueint), cJSON_IsTrue(cJSON_GetArrayItem(in, 2)));
    if (fn == "strdup") code = engine_strdup(made, arg);
    if (fn == "memdup") code = engine_memdup(&out.data, uint32_t(text.size()), arg), out.length = uint32_t(text.size());
    if (fn == "barcode") out.data = barcode_bytes(arg, &out.length);
    if (fn == "feed_lines") code = feed_lines(&out.data, &out.length, in->valueint);
    if (fn == "segments") {  // [[text, style]...] rendered, then aligned by the second number
        TextSegment* segments = nullptr;
        for (const cJSON* run = first->child; run; run = run->next)
            append_segment(&segments, uint32_t(std::strlen(run->child->valuestring)),
                           reinterpret_cast<const uint8_t*>(run->child->valuestring), run->child->next->valueint);
        code = render_segments(&out.data, &out.length, segments);
        code = code ? code : apply_alignment(&out.data, &out.length, second->valueint);
        columns = std::to_string(segment_list_width(segments)) + " columns ";
        free_segments(&segments);
    }
    if (fn == "buffer_reuse") {  // a buffer released and written again holds only the new bytes
        ByteBuffer buffer{};
        buffer_append(&buffer, "old", 3), buffer_release(&buffer), buffer_append(&buffer, arg, uint32_t(text.size()));
        code = buffer_take(&buffer, &out.data, &out.length);
    }
    if (fn == "chunks") {  // [[chunk...], copies]: copies of the chain, or for 0 the chain joined
        OutputChunk* chunks = nullptr;
        for (const cJSON* chunk = first->child; chunk; chunk = chunk->next) {
            uint8_t* data = nullptr;
            engine_memdup(&data, uint32_t(std::strlen(chunk->valuestring)), chunk->valuestring);
            append_chunk(&chunks, data, uint32_t(std::strlen(chunk->valuestring)));
        }
        code = second->valueint ? repeat_chunks(&out.data, &out.length, chunks, second->valueint)
                                : join_chunks(&out.data, &out.length, chunks);
        free_chunks(&chunks);
    }
    if (fn == "render_line") {  // [text, width]: one left line
        PrintLine* line = new_print_line(cJSON_GetStringValue(first), 0, ALIGNMENT_LEFT, nullptr, LINE_END_FEED);
        code = render_line(&out.data, &out.length, line, uint32_t(second->valueint));
        free_print_lines(&line);
    }
    if (*made && (fn == "phone" || fn == "fill_line" || fn == "strdup")) out.length = uint32_t(strlen(*made));
    return columns + std::to_string(code) + ":" +
           (out.data ? std::string(out.data, out.data + out.length) : out.length ? "null, length set" : "null");
}

ENGINE_CASE_TABLE(EngineFunction, "cases/functions");

TEST_P(EngineFunction, GivesTheTabledResult)
{
    const std::string fn = GetParam().text("fn");
    const LeakCheck check;
    EXPECT_BYTES(bytesOf(GetParam().text("out")), call(fn, cJSON_GetObjectItem(GetParam().json, "in"))) << fn;
    EXPECT_EQ(check.leaked(), 0u);
}

}  // namespace
