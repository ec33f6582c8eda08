// Styled lines to printer bytes: each row of cases/render_line.json makes lines through the line builder,
// once streaming (as the layouts do) and once as a chain rendered by render_lines; both give its bytes.

#include "engine_cases.h"
#include "print_line_p.h"
#include "utility_p.h"

#include <cstring>

using namespace engine_test;

namespace {

// The builder's code, ":" and the bytes of the row's calls, each [call, text, style, align, fill, end, parts].
std::string build(const Row& row, bool streaming)
{
    const uint32_t width = uint32_t(row.number("width"));
    LineBuilder builder{};
    ByteBuffer sink{};
    if (streaming) stream_lines(&builder, &sink, width);
    const cJSON* call = nullptr;
    cJSON_ArrayForEach(call, cJSON_GetObjectItem(row.json, "calls"))
    {
        const auto text = [&](int i) { return cJSON_GetStringValue(cJSON_GetArrayItem(call, i)); };
        const auto number = [&](int i) { return cJSON_GetArrayItem(call, i)->valueint; };
        const std::string kind = text(0);
        if (kind == "line") add_line(&builder, text(1), number(2), number(3), text(4), number(5));
        if (kind == "printf") add_line_printf(&builder, number(2), number(3), text(4), number(5), "%s", text(1));
        if (kind == "run") add_run(&builder, uint32_t(std::strlen(text(1))), text(1), number(2));
        char* owned = nullptr;
        if (kind == "owned" && (!text(1) || engine_strdup(&owned, text(1))))
            add_line_owned(&builder, owned, number(2), number(3), text(4), number(5));
        std::vector<TextPart> parts;
        const cJSON* part = nullptr;
        cJSON_ArrayForEach(part, cJSON_GetArrayItem(call, 6))
            parts.push_back({uint32_t(cJSON_GetArrayItem(part, 0)->valueint), cJSON_GetArrayItem(part, 1)->valuestring});
        if (kind == "parts") add_line_parts(&builder, number(2), number(3), text(4), number(5), parts.data(), uint32_t(parts.size()));
    }
    Receipt out;
    if (streaming) flush_lines(&builder, &sink, width);
    const EngineError code = builder.rc ? builder.rc
                             : streaming ? buffer_take(&sink, &out.data, &out.length)
                                         : render_lines(&out.data, &out.length, builder.lines, width);
    end_lines(&builder);
    buffer_release(&sink);
    return std::to_string(code) + ":" + std::string(out.data, out.data + out.length);
}

ENGINE_CASE_TABLE(RenderLine, "cases/render_line");

TEST_P(RenderLine, StreamedAndChainedLinesGiveTheTabledBytes)
{
    const Bytes expected = bytesOf((GetParam().has("code") ? GetParam().text("code") : "0") + ":" + GetParam().text("bytes"));
    EXPECT_BYTES(expected, build(GetParam(), true)) << "streamed";
    EXPECT_BYTES(expected, build(GetParam(), false)) << "chained";
}

}  // namespace
