// Whole receipts against reviewed golden files: golden/cases.json lists each case (entry, inputs from
// golden/inputs, settings); golden/expected/NAME.bin holds its bytes. See golden/README.md to regenerate.

#include "engine_cases.h"

#include <cstdlib>
#include <fstream>

using namespace engine_test;

namespace {

class GoldenReceipt : public ::testing::TestWithParam<Row> {
protected:
    static void SetUpTestSuite() { setTimeZone("Asia/Shanghai"); }
};

TEST_P(GoldenReceipt, MatchesTheReviewedBytes)
{
    const Row& golden = GetParam();
    const std::string restaurant = readText("golden/inputs/" + golden.text("restaurant"));
    const std::string input = readText("golden/inputs/" + golden.text("input"));
    ASSERT_FALSE(restaurant.empty() || input.empty());
    Receipt receipt;
    ASSERT_EQ(format(golden.text("entry"), receipt, restaurant, input, golden.text("settings")), ENGINE_OK);

    const std::string expectedPath = ENGINE_TESTS_DIR "/golden/expected/" + golden.name + ".bin";
    const Bytes actual = receipt.bytes();
    if (std::getenv("SB_UPDATE_GOLDEN")) {
        std::ofstream(expectedPath, std::ios::binary)
            .write(reinterpret_cast<const char*>(actual.data()), std::streamsize(actual.size()));
        GTEST_SKIP() << "wrote " << expectedPath << "; review it before committing";
    }
    ASSERT_TRUE(std::ifstream(expectedPath).good()) << "no golden file " << expectedPath;
    EXPECT_BYTES(readText(expectedPath), std::string(actual.begin(), actual.end()));
}

INSTANTIATE_TEST_SUITE_P(Cases, GoldenReceipt, ::testing::ValuesIn(table("golden/cases")),
                         [](const ::testing::TestParamInfo<Row>& info) { return info.param.name; });

}  // namespace
