// Whole receipts against reviewed golden files: golden/cases.json lists each case (entry, inputs from
// golden/inputs, settings); golden/expected/NAME.bin holds its bytes. See golden/README.md to regenerate.

#include "byte_test_support.h"

#include <cjson/cJSON.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

using namespace engine_test;

namespace {

const std::string kGolden = ENGINE_GOLDEN_DIR;

struct GoldenCase {
    std::string name, entry, restaurant, input, settings;
};

void PrintTo(const GoldenCase& golden, std::ostream* out)
{
    *out << golden.name;
}

std::vector<GoldenCase> loadCases()
{
    std::vector<GoldenCase> cases;
    cJSON* list = cJSON_Parse(readText(kGolden + "/cases.json").c_str());
    const cJSON* item = nullptr;
    cJSON_ArrayForEach(item, list)
    {
        auto text = [item](const char* key) {
            const cJSON* value = cJSON_GetObjectItemCaseSensitive(item, key);
            return std::string(cJSON_IsString(value) ? value->valuestring : "");
        };
        char* settings = cJSON_PrintUnformatted(cJSON_GetObjectItemCaseSensitive(item, "settings"));
        cases.push_back({text("name"), text("entry"), text("restaurant"), text("input"), settings ? settings : ""});
        cJSON_free(settings);
    }
    cJSON_Delete(list);
    return cases;
}

const std::vector<GoldenCase>& allCases()
{
    static const std::vector<GoldenCase> cases = loadCases();
    return cases;
}

class GoldenReceipt : public ::testing::TestWithParam<GoldenCase> {
protected:
    static void SetUpTestSuite() { setTimeZone("Asia/Shanghai"); }
};

TEST_P(GoldenReceipt, MatchesTheReviewedBytes)
{
    const GoldenCase* golden = &GetParam();
    const std::string restaurant = readText(kGolden + "/inputs/" + golden->restaurant);
    const std::string input = readText(kGolden + "/inputs/" + golden->input);
    ASSERT_FALSE(restaurant.empty());
    ASSERT_FALSE(input.empty());

    Receipt receipt;
    const auto format = golden->entry == "online" ? format_online_order
                        : golden->entry == "local"   ? format_local_order
                        : golden->entry == "summary" ? format_summary
                                                     : nullptr;
    ASSERT_NE(format, nullptr) << "unknown entry " << golden->entry;
    ASSERT_EQ(format(&receipt.data, &receipt.length, restaurant.c_str(), input.c_str(), golden->settings.c_str()),
              ENGINE_OK);

    const std::string expectedPath = kGolden + "/expected/" + golden->name + ".bin";
    const Bytes actual = receipt.bytes();
    if (std::getenv("SB_UPDATE_GOLDEN")) {
        std::ofstream(expectedPath, std::ios::binary)
            .write(reinterpret_cast<const char*>(actual.data()), std::streamsize(actual.size()));
        GTEST_SKIP() << "wrote " << expectedPath << "; review it before committing";
    }
    std::ifstream file(expectedPath, std::ios::binary);
    ASSERT_TRUE(file.good()) << "no golden file " << expectedPath;
    const std::string expected = readText(expectedPath);
    EXPECT_BYTES(Bytes(expected.begin(), expected.end()), actual);
}

INSTANTIATE_TEST_SUITE_P(Cases, GoldenReceipt, ::testing::ValuesIn(allCases()),
                         [](const ::testing::TestParamInfo<GoldenCase>& info) { return info.param.name; });

TEST(GoldenCases, CoverEveryEntryPaperAndCopyCount)
{
    EXPECT_GE(allCases().size(), 24u);
}

}  // namespace
