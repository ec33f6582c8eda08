// The entry functions: whole receipts against the reviewed golden/expected/NAME.bin of each case of
// golden/cases.json (see golden/README.md), result codes (cases/format_errors.json), failed allocations,
// many threads at once, and the inputs the fuzzer once broke the engine with.

#include "engine_cases.h"
#include "utility_p.h"
#include "../fuzz/fuzz_input.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>

using namespace engine_test;

namespace {

const std::vector<Row> kGolden = (setTimeZone("Asia/Shanghai"), table("golden/cases"));  // the receipts' zone

// A row's text: "@NAME" is the golden input NAME, null no text (a null pointer), a missing key the default.
std::shared_ptr<std::string> text(const Row& row, const char* key, std::string value = "")
{
    value = row.has(key) ? row.text(key) : value;
    if (value == "null")
        return nullptr;
    return std::make_shared<std::string>(value.compare(0, 1, "@") ? value : readText("golden/inputs/" + value.substr(1)));
}
const char* c(const std::shared_ptr<std::string>& text) { return text ? text->c_str() : nullptr; }

EngineError formatGolden(const Row& row, Receipt& receipt)
{
    const std::string r = readText("golden/inputs/" + row.text("restaurant")), i = readText("golden/inputs/" + row.text("input"));
    return format(row.text("entry"), receipt, r.c_str(), i.c_str(), row.text("settings").c_str());
}

ENGINE_CASE_TABLE(GoldenReceipt, "golden/cases");

TEST_P(GoldenReceipt, MatchesTheReviewedBytes)
{
    Receipt receipt;
    ASSERT_EQ(formatGolden(GetParam(), receipt), ENGINE_OK);
    const std::string path = ENGINE_TESTS_DIR "/golden/expected/" + GetParam().name + ".bin";
    if (std::getenv("SB_UPDATE_GOLDEN")) {
        std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(receipt.data), receipt.length);
        GTEST_SKIP() << "wrote " << path << "; review it before committing";
    }
    ASSERT_TRUE(std::ifstream(path).good()) << "no golden file " << path;
    EXPECT_BYTES(readText(path), receipt.bytes());
    EXPECT_EQ(receipt.data == nullptr, receipt.length == 0) << "an empty receipt is no buffer and needs no freeing";
}

// A failure leaves a NULL buffer and the length untouched; a success a buffer.
EngineError checkedFormat(const std::string& entry, const char* restaurant, const char* input, const char* settings)
{
    Receipt receipt;
    receipt.data = reinterpret_cast<uint8_t*>(&receipt), receipt.length = 1234;  // a pointer and length to clear
    const EngineError code = format(entry, receipt, restaurant, input, settings);
    EXPECT_TRUE(code ? !receipt.data && receipt.length == 1234 : receipt.data != nullptr) << code;
    EXPECT_EQ(engine_registry_count(), 0u) << "tracked blocks outlived the call";
    return code;
}

const char kOrderSettings[] = R"({"width":"80mm","style":"normal","number_of_copies":2,"lines_between_copies":"small","isPrintBarcodeEnabled":true})";

ENGINE_CASE_TABLE(FormatError, "cases/format_errors");

TEST_P(FormatError, FailsWithTheCodeOfWhatIsWrongAndNoReceipt)
{
    const Row& row = GetParam();
    const auto r = text(row, "restaurant", "@restaurant.json"), i = text(row, "input"), s = text(row, "settings", kOrderSettings);
    EXPECT_EQ(checkedFormat(row.text("entry"), c(r), c(i), c(s)), row.number("code"));
}

TEST(FormatEntry, MissingOutParametersAndTooLargeInputsAreRefusedAtOnceAndCodesAreDescribed)
{
    const std::string r = readText("golden/inputs/restaurant.json");
    std::string large = readText("golden/inputs/online_order.json");
    uint32_t length = 0;
    uint8_t* out = nullptr;
    EXPECT_EQ(format_online_order(nullptr, &length, r.c_str(), large.c_str(), kOrderSettings), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(format_summary(&out, nullptr, r.c_str(), large.c_str(), kOrderSettings), ENGINE_ERROR_INVALID_INPUT);
    large.resize(ENGINE_INPUT_LIMIT + 1, ' ');  // a good text one byte longer than the limit, in each place
    EXPECT_EQ(checkedFormat("online", r.c_str(), large.c_str(), kOrderSettings), ENGINE_ERROR_INPUT_TOO_LARGE);
    EXPECT_EQ(checkedFormat("online", large.c_str(), r.c_str(), kOrderSettings), ENGINE_ERROR_INPUT_TOO_LARGE);
    large.resize(ENGINE_INPUT_LIMIT);
    EXPECT_EQ(checkedFormat("online", r.c_str(), large.c_str(), kOrderSettings), ENGINE_OK);
    engine_free(nullptr);  // nothing to free is no fault
    EXPECT_STREQ(engine_error_text(ENGINE_ERROR_ORDER_JSON), "order JSON does not parse");
    EXPECT_STREQ(engine_error_text(-999), "unknown error");
}

// Fails the n-th allocation from now on (counting from 0), and every later one unless failOnce.
std::atomic<long> allocationsLeft{-1};
bool failOnce = false;
void* failingMalloc(size_t size)
{
    const long left = allocationsLeft.fetch_sub(1);
    return (failOnce ? left == 0 : left <= 0) ? nullptr : malloc(size);
}

TEST(FormatEntry, FailedAllocationsGiveNoMemoryAndLeakNothing)
{
    for (const Row& golden : kGolden) for (const bool once : {false, true}) {
        failOnce = once;
        const LeakCheck check;  // every block a call takes it gives back, on any path
        Receipt reference;
        ASSERT_EQ(formatGolden(golden, reference), ENGINE_OK);
        for (long n = 0, completed = 0; !completed; n++) {
            {
                allocationsLeft = n;
                engine_set_malloc(failingMalloc);
                Receipt receipt;
                const EngineError code = formatGolden(golden, receipt);
                engine_set_malloc(nullptr);
                completed = code == ENGINE_OK && allocationsLeft >= 0;
                if (code == ENGINE_OK)
                    EXPECT_BYTES(reference.bytes(), receipt.bytes()) << golden.name << " after " << n << " allocations";
                else
                    ASSERT_TRUE(code == ENGINE_ERROR_NO_MEMORY && !receipt.data) << golden.name << " after " << n;
            }
            ASSERT_EQ(check.leaked(), reference.data ? 1u : 0u) << golden.name << " after " << n << " allocations";
        }
    }
}

TEST(FormatEntry, ManyThreadsGetTheSameBytes)
{
    std::vector<Bytes> expected;
    for (const Row& golden : kGolden) {
        Receipt receipt;
        expected.push_back((formatGolden(golden, receipt), receipt.bytes()));
    }
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (size_t t = 0; t < 8; t++)
        threads.emplace_back([&, t] {
            for (size_t which = t * 5; which < t * 5 + 40; which++) {
                Receipt receipt;
                mismatches += formatGolden(kGolden[which % kGolden.size()], receipt) != ENGINE_OK ||
                              receipt.bytes() != expected[which % kGolden.size()];
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(mismatches.load(), 0);
}

// Every NAME.input under regressions/ is a fuzz input (see fuzz_input.h) kept because it broke the engine
// once or stresses a limit (nesting depth, output size); each must give a result code.
TEST(FuzzRegression, EveryFoundInputFormatsOrFailsCleanly)
{
    int replayed = 0;
    for (const auto& entry : std::filesystem::directory_iterator(ENGINE_TESTS_DIR "/regressions")) {
        if (entry.path().extension() != ".input") continue;
        const std::string data = readText(entry.path());
        uint32_t length = 0;
        EXPECT_LE(run_fuzz_input(reinterpret_cast<const uint8_t*>(data.data()), data.size(), &length), 0) << entry.path();
        replayed++;
    }
    EXPECT_GT(replayed, 0);
    EXPECT_EQ(engine_registry_count(), 0u);
}

}  // namespace
