#pragma once
// What the engine tests share: byte strings written readably, owners of receipts and parsed orders, and
// the case tables (a JSON list of rows, each with a "name").

#include "receipt_engine/receipt_engine.h"
#include "utility_p.h"
#include "cjson_blocks.h"
#include "same_bytes.h"

#include <cjson/cJSON.h>

#include <string>
#include <vector>

namespace engine_test {

using Bytes = std::vector<uint8_t>;

// Text as it stands, and in braces space-separated tokens: a hex byte ("1B"), N copies of one ("29*20"),
// "lf", "reset" (GS ! 00 ESC ! 00), "alN" (ESC a N), "sN" (ESC ! e GS ! s of style N).
// "{al0}abc{reset 29*20 lf}" is a left line of width 32.
Bytes bytesOf(const std::string& notation);

std::string readText(const std::string& path);  // a relative path is under the tests' source folder
void setTimeZone(const char* zone);
std::string textOf(const cJSON* value);  // a string's text, or the compact JSON of any other value

// One row of a table; the tables are parsed once and kept for the whole program.
struct Row {
    std::string name;
    const cJSON* json;
    std::string text(const char* key) const { return textOf(cJSON_GetObjectItemCaseSensitive(json, key)); }
    bool has(const char* key) const { return cJSON_GetObjectItemCaseSensitive(json, key) != nullptr; }
    int number(const char* key) const { return cJSON_GetObjectItemCaseSensitive(json, key)->valueint; }
};
std::vector<Row> table(const char* path);  // the rows of PATH.json
inline void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

// The receipt of an entry function, released with engine_free.
struct Receipt {
    Receipt() = default;
    Receipt(const Receipt&) = delete;
    ~Receipt() { engine_free(&data); }
    Bytes bytes() const { return data ? Bytes(data, data + length) : Bytes(); }
    uint8_t* data = nullptr;
    uint32_t length = 0;
};

using test_support::cjsonBlocks;

// Counts the tracked blocks some work leaves; its block stays the oldest, so no release restarts the count.
struct LeakCheck {
    ~LeakCheck() { engine_release(oldest); }
    size_t leaked() const { return engine_registry_count() - 1 + size_t(cjsonBlocks() - cjson); }  // cJSON's too
    void* oldest = engine_alloc(1, "leak check", 0);
    long cjson = cjsonBlocks();
};

// The entry function "online", "local" or "summary" on three texts (NULL for a null pointer).
EngineError format(const std::string& entry, Receipt& receipt, const char* restaurant, const char* input,
                   const char* settings);

}  // namespace engine_test

// A parameterised suite over the rows of the table PATH.json, named after the rows.
#define ENGINE_CASE_TABLE(Suite, path)                                                                        \
    class Suite : public ::testing::TestWithParam<::engine_test::Row> {};                                     \
    INSTANTIATE_TEST_SUITE_P(Cases, Suite, ::testing::ValuesIn(::engine_test::table(path)),                   \
                             [](const ::testing::TestParamInfo<::engine_test::Row>& info) { return info.param.name; })
