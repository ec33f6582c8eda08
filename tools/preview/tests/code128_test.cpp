#include "code128_p.h"

#include "stream_bytes.h"

#include <gtest/gtest.h>

#include <numeric>
#include <string>

namespace receipt_preview {
namespace {

// Element widths written as digits, as the symbol tables print them.
std::vector<int> widths(const std::string& digits) {
    std::vector<int> result;
    for (const char digit : digits) result.push_back(digit - '0');
    return result;
}

TEST(Code128, EncodesPackedDigitPairsInCodeSetC) {
    // "{C" then 01 23 45: the engine's packing of the order id "12345".
    // Checksum: (105 + 1*1 + 2*23 + 3*45) mod 103 = 287 mod 103 = 81.
    const std::string expected = std::string("211232")  // start C (105)
                                 + "222122"              // 01
                                 + "312131"              // 23
                                 + "113123"              // 45
                                 + "121142"              // checksum 81
                                 + "2331112";            // stop
    EXPECT_EQ(code128Elements(bytes("{C\x01\x17\x2d")), widths(expected));
}

TEST(Code128, EncodesTextInCodeSetsBAndA) {
    const std::pair<const char*, std::string> table[] = {
        // 'A' = 33, 'b' = 66; checksum (104 + 33 + 2*66) mod 103 = 63.
        {"{BAb", std::string("211214") + "111323" + "121421" + "111224" + "2331112"},
        // Tab (0x09) is value 73 in set A; checksum (103 + 73) mod 103 = 73.
        {"{A\t", std::string("211412") + "142112" + "142112" + "2331112"},
        // An escaped brace is '{' = 91 in set B; checksum (104 + 91) mod 103 = 92.
        {"{B{{", std::string("211214") + "412121" + "111143" + "2331112"},
    };
    for (const auto& row : table) EXPECT_EQ(code128Elements(row.first), widths(row.second)) << row.first;
}

TEST(Code128, SwitchesSetsAndShifts) {
    // {B 'a' {C 12 {B {S then '\t' read in set A.
    // Values: 104, 65, 99, 12, 100, 98, 73; checksum (104 + 65 + 198 + 36 + 400 + 490 + 438) mod 103 = 83.
    const std::vector<int> elements = code128Elements(bytes("{Ba{C\x0c{B{S\t"));
    ASSERT_EQ(elements.size(), 8u * 6 + 7);
    EXPECT_EQ(std::vector<int>(elements.end() - 13, elements.end() - 7), widths("114212")); // checksum 83
}

TEST(Code128, EverySymbolIsElevenModulesAndTheStopThirteen) {
    const std::vector<int> elements = code128Elements(bytes("{C\x00\x63{B !~{A\x1f"));
    ASSERT_FALSE(elements.empty());
    const int modules = std::accumulate(elements.begin(), elements.end(), 0);
    EXPECT_EQ((modules - 13) % 11, 0);
    EXPECT_EQ(elements.size() % 6, 1u);
}

TEST(Code128, RejectsDataAPrinterWouldNotPrint) {
    const QByteArray refused[] = {
        "", "12345",          // no start set
        "{D12",               // no such set
        bytes("{C\x64"),      // 100 is not a digit pair
        "{Ba{", "{Ba{X",      // function cut off, unknown function
        "{Aa",                // lower case is not in set A
        "{B\x80",             // beyond ASCII
        "{B{B",               // switch to the set in use
        "{C{S", "{Ba{S",      // set C has no shift; shift with nothing after it
    };
    for (const QByteArray& data : refused) EXPECT_TRUE(code128Elements(data).empty()) << data.toHex().toStdString();
}

} // namespace
} // namespace receipt_preview
