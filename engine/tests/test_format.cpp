// The entry functions: their result codes, what they leave in the out-parameters, failed allocations,
// formatting from many threads at once, and the inputs the fuzzer once broke the engine with.

#include "byte_test_support.h"

#include "utility_p.h"

#include "../fuzz/fuzz_input.h"

#include <atomic>
#include <dirent.h>
#include <string>
#include <thread>

using namespace engine_test;

namespace {

const std::string kExamples = std::string(ENGINE_GOLDEN_DIR) + "/inputs/";

const char kOrderSettings[] =
    R"({"width":"80mm","style":"normal","number_of_copies":2,"lines_between_copies":"small","isPrintBarcodeEnabled":true})";
const char kSummarySettings[] = R"({"number_of_copies":1,"width":"58mm"})";

enum class Entry { Online, Local, Summary };

struct Job {
    Entry entry;
    std::string restaurant, input, settings;
};

EngineError format(const Job& job, Receipt& receipt)
{
    auto fn = job.entry == Entry::Online  ? format_online_order
              : job.entry == Entry::Local ? format_local_order
                                          : format_summary;
    return fn(&receipt.data, &receipt.length, job.restaurant.c_str(), job.input.c_str(), job.settings.c_str());
}

std::vector<Job> exampleJobs()
{
    const std::string restaurant = readText(kExamples + "restaurant.json");
    return {{Entry::Online, restaurant, readText(kExamples + "online_order.json"), kOrderSettings},
            {Entry::Local, restaurant, readText(kExamples + "dine_order.json"), kOrderSettings},
            {Entry::Local, restaurant, readText(kExamples + "phone_order.json"), kOrderSettings},
            {Entry::Summary, restaurant, readText(kExamples + "summary.json"), kSummarySettings}};
}

class FormatEntry : public ::testing::Test {
protected:
    static void SetUpTestSuite() { setTimeZone("Asia/Shanghai"); }
    void SetUp() override { jobs_ = exampleJobs(); }
    void TearDown() override { EXPECT_EQ(engine_registry_count(), 0u) << "tracked blocks outlived the call"; }

    // Runs job and checks the failure contract: a NULL buffer and the length untouched.
    EngineError failure(const Job& job)
    {
        Receipt receipt;
        receipt.data = reinterpret_cast<uint8_t*>(&receipt);  // anything but NULL
        receipt.length = 1234;
        EngineError code = format(job, receipt);
        EXPECT_EQ(receipt.data, nullptr);
        EXPECT_EQ(receipt.length, 1234u);
        return code;
    }

    std::vector<Job> jobs_;
};

TEST_F(FormatEntry, NullInputsGiveMinusTwo)
{
    uint8_t* out = nullptr;
    uint32_t length = 0;
    const char* r = jobs_[0].restaurant.c_str();
    const char* o = jobs_[0].input.c_str();
    EXPECT_EQ(format_online_order(&out, &length, nullptr, o, kOrderSettings), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(format_online_order(&out, &length, r, nullptr, kOrderSettings), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(format_local_order(&out, &length, r, o, nullptr), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(format_summary(&out, &length, r, nullptr, kSummarySettings), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(format_online_order(nullptr, &length, r, o, kOrderSettings), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(format_summary(&out, nullptr, r, o, kSummarySettings), ENGINE_ERROR_INVALID_INPUT);
    EXPECT_EQ(out, nullptr);
}

// Each bad input fails with its code, a NULL buffer and the length untouched.
TEST_F(FormatEntry, BadInputFailsWithTheCodeOfWhatIsWrong)
{
    const Job &online = jobs_[0], &dine = jobs_[1], &phone = jobs_[2], &summary = jobs_[3];
    const std::string& r = online.restaurant;
    const std::pair<Job, EngineError> table[] = {
        {{Entry::Online, "{\"name\":", online.input, online.settings}, ENGINE_ERROR_RESTAURANT_JSON},
        {{Entry::Online, r, online.input.substr(0, online.input.size() / 2), online.settings}, ENGINE_ERROR_ORDER_JSON},
        {{Entry::Local, r, dine.input, "{'width':'58mm'}"}, ENGINE_ERROR_SETTINGS_JSON},
        {{Entry::Summary, r, "", summary.settings}, ENGINE_ERROR_SUMMARY_JSON},
        {{Entry::Summary, r, summary.input, "nul"}, ENGINE_ERROR_SETTINGS_JSON},
        // The restaurant is read first: a broken restaurant wins over a broken order.
        {{Entry::Local, "[", "[", "["}, ENGINE_ERROR_RESTAURANT_JSON},
        {{Entry::Online, r, online.input, R"({"width":"76mm","style":"normal"})"}, ENGINE_ERROR_PAPER_WIDTH},
        {{Entry::Local, r, phone.input, R"({"width":"58mm","style":"large"})"}, ENGINE_ERROR_PRINT_STYLE},
        {{Entry::Summary, r, summary.input, R"({"width":"A4"})"}, ENGINE_ERROR_PAPER_WIDTH},
        // A summary without a width passes its reader and fails in the layout.
        {{Entry::Summary, r, summary.input, R"({"number_of_copies":1})"}, ENGINE_ERROR_PAPER_WIDTH},
        // Incomplete: a local order without "localOrderType", a dine order read as online (no consignee),
        // settings without "lines_between_copies", a restaurant without a name.
        {{Entry::Local, r, R"({"id":"1","general":{},"detail":{}})", dine.settings}, ENGINE_ERROR_INVALID_INPUT},
        {{Entry::Online, r, dine.input, dine.settings}, ENGINE_ERROR_INVALID_INPUT},
        {{Entry::Local, r, dine.input, R"({"width":"58mm","style":"small"})"}, ENGINE_ERROR_INVALID_INPUT},
        {{Entry::Local, "{}", dine.input, dine.settings}, ENGINE_ERROR_INVALID_INPUT},
        // A good order one byte longer than the input limit is refused before it is parsed, at once.
        {{Entry::Online, r, online.input + std::string(ENGINE_INPUT_LIMIT + 1 - online.input.size(), ' '),
          online.settings},
         ENGINE_ERROR_INPUT_TOO_LARGE},
    };
    for (const auto& row : table)
        EXPECT_EQ(failure(row.first), row.second) << row.first.input.substr(0, 40) << " / " << row.first.settings;
    // The summary asks for its three records only: a summary text that is a bare number still prints.
    Receipt receipt;
    EXPECT_EQ(format({Entry::Summary, "{}", "5", kSummarySettings}, receipt), ENGINE_OK);
}

TEST_F(FormatEntry, ZeroCopiesSucceedWithAnEmptyReceiptThatNeedsNoFreeing)
{
    Receipt receipt;
    receipt.length = 99;
    ASSERT_EQ(format({Entry::Online, jobs_[0].restaurant, jobs_[0].input,
                      R"({"width":"58mm","style":"normal","lines_between_copies":"small","number_of_copies":0})"},
                     receipt),
              ENGINE_OK);
    EXPECT_EQ(receipt.data, nullptr);
    EXPECT_EQ(receipt.length, 0u);
    engine_free(&receipt.data);  // nothing to free is no fault
    engine_free(nullptr);
}

TEST_F(FormatEntry, DescribesItsCodes)
{
    EXPECT_STREQ(engine_error_text(ENGINE_ERROR_ORDER_JSON), "order JSON does not parse");
    EXPECT_STREQ(engine_error_text(-999), "unknown error");
}

// Fails the n-th allocation from now on (counting from 0) and every later one, so that each failure path
// is taken once while formatting.
std::atomic<long> allocationsLeft{-1};

void* failingMalloc(size_t size)
{
    if (allocationsLeft.fetch_sub(1) <= 0)
        return nullptr;
    return malloc(size);
}

TEST_F(FormatEntry, FailedAllocationsGiveNoMemoryAndLeakNothing)
{
    for (const Job& job : jobs_) {
        Receipt reference;
        ASSERT_EQ(format(job, reference), ENGINE_OK);
        bool completed = false;
        for (long n = 0; !completed; n++) {
            allocationsLeft = n;
            engine_set_malloc(failingMalloc);
            Receipt receipt;
            EngineError code = format(job, receipt);
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
    for (int t = 0; t < 8; t++) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 40; round++) {
                size_t which = size_t(t + round) % jobs_.size();
                Receipt receipt;
                if (format(jobs_[which], receipt) != ENGINE_OK || receipt.bytes() != expected[which])
                    mismatches++;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches.load(), 0);
}

// Every NAME.input under the regression folder is a fuzz-format input (see fuzz_input.h) kept because it
// broke the engine once or stresses a limit (nesting depth, output size); each must give a result code.
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
        EngineError code = run_fuzz_input(reinterpret_cast<const uint8_t*>(data.data()), data.size(), &length);
        EXPECT_LE(code, 0) << name;
        replayed++;
    }
    closedir(dir);
    EXPECT_GT(replayed, 0);
    EXPECT_EQ(engine_registry_count(), 0u);
}

}  // namespace
