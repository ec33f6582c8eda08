#pragma once
// What the engine tests share: byte strings written readably, receipt and parse owners, and the case
// tables under cases/ (a JSON list of rows, each with a "name").

#include "order_parser_p.h"
#include "same_bytes.h"

#include <cjson/cJSON.h>

#include <string>
#include <vector>

namespace engine_test {

using Bytes = std::vector<uint8_t>;

// Bytes of a readable notation: text as it stands, and in braces space-separated tokens: a hex byte
// ("1B"), N copies of one ("29*20"), "lf", "reset" (GS ! 00 ESC ! 00), "alN" (ESC a N) and "sN", the
// style prefix of style N (ESC ! e GS ! s). "{al0}abc{reset 29*20 lf}" is a left line of width 32.
Bytes bytesOf(const std::string& notation);

// The whole text of a file; a relative path is under the tests' source folder.
std::string readText(const std::string& path);

// Sets the time zone of local times for the rest of the process.
void setTimeZone(const char* zone);

// A string value, or the compact JSON of any other value ("" for none).
std::string textOf(const cJSON* value);

// The rows of the table PATH.json, parsed once and kept for the whole program.
struct Row {
    std::string name;
    const cJSON* json;
    std::string text(const char* key) const;  // a string member, or the compact JSON of any other value
    bool has(const char* key) const { return cJSON_GetObjectItemCaseSensitive(json, key) != nullptr; }
    int number(const char* key) const;
};
std::vector<Row> table(const char* path);
void PrintTo(const Row& row, std::ostream* out);

// The receipt of an entry function; released with engine_free.
struct Receipt {
    Receipt() = default;
    Receipt(const Receipt&) = delete;
    Receipt& operator=(const Receipt&) = delete;
    ~Receipt() { engine_free(&data); }
    Bytes bytes() const { return data ? Bytes(data, data + length) : Bytes(); }
    uint8_t* data = nullptr;
    uint32_t length = 0;
};

// The entry function "online", "local" or "summary" on three texts.
EngineError format(const std::string& entry, Receipt& receipt, const std::string& restaurant,
                   const std::string& input, const std::string& settings);

extern const char kRestaurant[];  // a restaurant with a name
extern const char kSettings58[];  // complete order settings: 58mm, normal, middle, one copy, no barcode

// A parsed order document, destroyed with the test.
struct ParsedOrder {
    ParsedOrder(bool online, const std::string& order, const std::string& settings = kSettings58,
                const std::string& restaurant = kRestaurant);
    ~ParsedOrder() { destroy_order_document(&document); }
    ParsedOrder(const ParsedOrder&) = delete;
    ParsedOrder& operator=(const ParsedOrder&) = delete;
    OrderDocument* document = nullptr;
    EngineError code = ENGINE_OK;
};

}  // namespace engine_test

// A parameterised suite over the rows of cases/FILE.json, named after the rows.
#define ENGINE_CASE_TABLE(Suite, file)                                                                        \
    class Suite : public ::testing::TestWithParam<::engine_test::Row> {};                                     \
    INSTANTIATE_TEST_SUITE_P(Cases, Suite, ::testing::ValuesIn(::engine_test::table("cases/" file)),                   \
                             [](const ::testing::TestParamInfo<::engine_test::Row>& info) { return info.param.name; })
