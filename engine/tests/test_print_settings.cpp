// The print-settings readers: the fields they take, the codes they give and where they stop.

#include "byte_test_support.h"

#include "print_settings_parser_p.h"

#include <cjson/cJSON.h>

#include <climits>
#include <memory>
#include <string>

namespace {

struct JsonDeleter {
    void operator()(cJSON* json) const { cJSON_Delete(json); }
};
using Json = std::unique_ptr<cJSON, JsonDeleter>;

Json parse(const char* text)
{
    Json json(cJSON_Parse(text));
    EXPECT_NE(json, nullptr) << text;
    return json;
}

// Reads the order settings of text; the record is freed when the test ends.
struct Settings {
    explicit Settings(const char* text) : json(parse(text)) { code = read_print_settings(&record, json.get()); }
    ~Settings() { free_print_settings(&record); }
    Json json;
    EnginePrintSettings* record = nullptr;
    EngineError code = ENGINE_OK;
};

TEST(PrintSettingsReader, RejectsUnknownWidthsAndStylesAndStopsThere)
{
    Settings style(R"({"style":"large","width":"58mm"})");
    EXPECT_EQ(style.code, ENGINE_ERROR_PRINT_STYLE);
    ASSERT_NE(style.record, nullptr);  // handed over for freeing even on a code
    EXPECT_EQ(style.record->width, nullptr);

    EXPECT_EQ(Settings(R"({"width":"A4"})").code, ENGINE_ERROR_PAPER_WIDTH);
    EXPECT_EQ(Settings(R"({"width":"58MM"})").code, ENGINE_ERROR_PAPER_WIDTH);
    EXPECT_EQ(Settings(R"({"width":58})").code, ENGINE_ERROR_PAPER_WIDTH);
    EXPECT_EQ(Settings(R"({"width":"58mm","width":"76mm"})").code, ENGINE_ERROR_PAPER_WIDTH);
}

TEST(PrintSettingsReader, StoresTypeTagsIntegersAndOnlyStringsAsText)
{
    // The barcode switch keeps the type tag of its value: false 0, true 1, null 2, number 3, ...
    const char* switches[] = {"false", "true", "null", "0", "\"false\"", "[]", "{}"};
    for (int tag = 0; tag < 7; tag++)
        EXPECT_EQ(Settings((std::string(R"({"isPrintBarcodeEnabled":)") + switches[tag] + "}").c_str())
                      .record->isPrintBarcodeEnabled,
                  tag)
            << switches[tag];
    EXPECT_EQ(Settings("{}").record->isPrintBarcodeEnabled, 0);
    const std::pair<const char*, int> copies[] = {
        {"2.9", 2}, {"-2.9", -2}, {"1e12", INT_MAX}, {"true", 1}, {"\"3\"", 0}};
    for (const auto& row : copies)
        EXPECT_EQ(Settings((std::string(R"({"number_of_copies":)") + row.first + "}").c_str()).record->number_of_copies,
                  row.second)
            << row.first;
    EXPECT_EQ(Settings(R"({"lines_between_copies":1})").record->lines_between_copies, nullptr);
    EXPECT_STREQ(Settings(R"({"lines_between_copies":"1"})").record->lines_between_copies, "1");
}

TEST(PrintSettingsReader, NeedsARecordAddressAndAnObject)
{
    Json json = parse("{}");
    EnginePrintSettings* record = nullptr;
    EXPECT_EQ(read_print_settings(&record, nullptr), ENGINE_ERROR_SETTINGS_JSON);
    EXPECT_EQ(read_print_settings(nullptr, json.get()), ENGINE_ERROR_SETTINGS_JSON);
    EngineSummaryPrintSettings* summary = nullptr;
    EXPECT_EQ(read_summary_print_settings(&summary, nullptr), ENGINE_ERROR_SETTINGS_JSON);
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(summary, nullptr);
}

}  // namespace
