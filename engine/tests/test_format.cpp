// The entry functions: their result codes, what they leave in the out-parameters, failed allocations,
// formatting from many threads at once, and the inputs the fuzzer once broke the engine with.

#include "engine_cases.h"

#include "utility_p.h"

#include "../fuzz/fuzz_input.h"

#include <atomic>
#include <dirent.h>
#include <thread>

using namespace engine_test;

namespace {

const char kOrderSettings[] =
    R"({"width":"80mm","style":"normal","number_of_copies":2,"lines_between_copies":"small","isPrintBarcodeEnabled":true})";
const char kSummarySettings[] = R"({"number_of_copies":1,"width":"58mm"})";

struct Job {
    std::string entry, restaurant, input, settings;
};

// A text of a row: "@NAME" is the golden input NAME, a missing text is the given default.
std::string textOrFile(const Row& row, const char* key, const std::string& otherwise)
{
    const std::string text = row.has(key) ? row.text(key) : otherwise;
    return text.compare(0, 1, "@") == 0 ? readText("golden/inputs/" + text.substr(1)) : text;
}

std::vector<Job> exampleJobs()
{
    const std::string restaurant = readText("golden/inputs/restaurant.json");
    return {{"online", restaurant, readText("golden/inputs/online_order.json"), kOrderSettings},
            {"local", restaurant, readText("golden/inputs/dine_order.json"), kOrderSettings},
            {"local", restaurant, readText("golden/inputs/phone_order.json"), kOrderSettings},
            {"summary", restaurant, readText("golden/inputs/summary.json"), kSummarySettings}};
}

EngineError format(const Job& job, Receipt& receipt)
{
    return engine_test::format(job.entry, receipt, job.restaurant, job.input, job.settings);
}

class FormatEntry : public ::testing::Test {
protected:
    static void SetUpTestSuite() { setTimeZone("Asia/Shanghai"); }
    void TearDown() override { EXPECT_EQ(engine_registry_count(), 0u) << "tracked blocks outlived the call"; }
    const std::vector<Job> jobs_ = exampleJobs();
};

// A failure leaves a NULL buffer and the length untouched.
EngineError failure(const Job& job)
{
    Receipt receipt;
    receipt.data = reinterpret_cast<uint8_t*>(&receipt);  // anything but NULL
    receipt.length = 1234;
    const EngineError code = format(job, receipt);
    EXPECT_EQ(receipt.length, code ? 1234u : receipt.length);
    if (code)
        EXPECT_EQ(receipt.data, nullptr);
    else
        EXPECT_NE(receipt.data, nullptr);
    return code;
}

ENGINE_CASE_TABLE(FormatError, "format_errors");

TEST_P(FormatError, FailsWithTheCodeOfWhatIsWrongAndNoReceipt)
{
    const Row& row = GetParam();
    EXPECT_EQ(failure({row.text("entry"), textOrFile(row, "restaurant", "@restaurant.json"),
                       textOrFile(row, "input", ""), textOrFile(row, "settings", kOrderSettings)}),
              row.number("code"));
    EXPECT_EQ(engine_registry_count(), 0u);
}

TEST_F(FormatEntry, NullArgumentsAndTooLargeInputsAreRefusedAtOnce)
{
    Receipt out;
    const char* r = jobs_[0].restaurant.c_str();
    const char* o = jobs_[0].input.c_str();
    EXPECT_EQ(format_online_order(&out.data, &out.length, nullptr, o, kOrderSettings), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(format_online_order(&out.data, &out.length, r, nullptr, kOrderSettings), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(format_local_order(&out.data, &out.length, r, o, nullptr), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(format_summary(&out.data, &out.length, r, nullptr, kSummarySettings), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(format_online_order(nullptr, &out.length, r, o, kOrderSettings), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(format_summary(&out.data, nullptr, r, o, kSummarySettings), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(out.data, nullptr);
    // A good order one byte longer than the input limit is refused before it is parsed.
    Job large = jobs_[0];
    large.input.resize(ENGINE_INPUT_LIMIT + 1, ' ');
    EXPECT_EQ(failure(large), ENGINE_ERROR_INPUT_TOO_LARGE);
    large.input.resize(ENGINE_INPUT_LIMIT);
    EXPECT_EQ(failure(large), ENGINE_OK);
}

TEST_F(FormatEntry, ZeroCopiesSucceedWithAnEmptyReceiptThatNeedsNoFreeing)
{
    Receipt receipt;
    receipt.length = 99;
    ASSERT_EQ(format({"online", jobs_[0].restaurant, jobs_[0].input,
                      R"({"width":"58mm","style":"normal","lines_between_copies":"small","number_of_copies":0})"},
                     receipt),
              ENGINE_OK);
    EXPECT_EQ(receipt.data, nullptr);
    EXPECT_EQ(receipt.length, 0u);
    engine_free(nullptr);  // nothing to free is no fault
    EXPECT_STREQ(engine_error_text(ENGINE_ERROR_ORDER_JSON), "order JSON does not parse");
    EXPECT_STREQ(engine_error_text(-999), "unknown error");
}

// Fails the n-th allocation from now on (counting from 0) and every later one.
std::atomic<long> allocationsLeft{-1};
void* failingMalloc(size_t size)
{
    return allocationsLeft.fetch_sub(1) <= 0 ? nullptr : malloc(size);
}

TEST_F(FormatEntry, FailedAllocationsGiveNoMemoryAndLeakNothing)
{
    for (const Job& job : jobs_) {
        Receipt reference;
        ASSERT_EQ(format(job, reference), ENGINE_OK);
        for (long n = 0, completed = 0; !completed; n++) {
            allocationsLeft = n;
            engine_set_malloc(failingMalloc);
            Receipt receipt;
            const EngineError code = format(job, receipt);
            engine_set_malloc(nullptr);
            if (code == ENGINE_OK) {
                EXPECT_BYTES(reference.bytes(), receipt.bytes()) << "after " << n << " allocations";
                completed = allocationsLeft >= 0;
            } else {
                ASSERT_EQ(code, ENGINE_ERROR_NO_MEMORY) << "after " << n << " allocations";
                EXPECT_EQ(receipt.data, nullptr);
            }
            ASSERT_EQ(engine_registry_count(), 0u) << "after " << n << " allocations";
        }
    }
}

TEST_F(FormatEntry, ManyThreadsGetTheSameBytes)
{
    std::vector<Bytes> expected;
    for (const Job& job : jobs_) {
        Receipt receipt;
        ASSERT_EQ(format(job, receipt), ENGINE_OK);
        expected.push_back(receipt.bytes());
    }
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; t++)
        threads.emplace_back([&, t] {
            for (int round = 0; round < 40; round++) {
                Receipt receipt;
                const size_t which = size_t(t + round) % jobs_.size();
                mismatches += format(jobs_[which], receipt) != ENGINE_OK || receipt.bytes() != expected[which];
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches.load(), 0);
}

// Every NAME.input under regressions/ is a fuzz input (see fuzz_input.h) kept because it broke the engine
// once or stresses a limit (nesting depth, output size); each must give a result code.
TEST(FuzzRegression, EveryFoundInputFormatsOrFailsCleanly)
{
    DIR* dir = opendir(ENGINE_REGRESSION_DIR);
    ASSERT_NE(dir, nullptr);
    int replayed = 0;
    while (dirent* entry = readdir(dir)) {
        const std::string name = entry->d_name;
        if (name.size() < 6 || name.compare(name.size() - 6, 6, ".input") != 0)
            continue;
        const std::string data = readText(std::string(ENGINE_REGRESSION_DIR) + "/" + name);
        uint32_t length = 0;
        EXPECT_LE(run_fuzz_input(reinterpret_cast<const uint8_t*>(data.data()), data.size(), &length), 0) << name;
        replayed++;
    }
    closedir(dir);
    EXPECT_GT(replayed, 0);
    EXPECT_EQ(engine_registry_count(), 0u);
}

}  // namespace
