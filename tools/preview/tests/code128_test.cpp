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

TEST(Code128, EncodesTextInCodeSetB) {
    // 'A' = 33, 'b' = 66; checksum (104 + 33 + 2*66) mod 103 = 269 mod 103 = 63.
    const std::string expected = std::string("211214") + "111323" + "121421" + "111224" + "2331112";
    EXPECT_EQ(code128Elements("{BAb"), widths(expected));
}

TEST(Code128, EncodesControlCharactersInCodeSetA) {
    // Tab (0x09) is value 73 in set A; checksum (103 + 73) mod 103 = 73.
    const std::string expected = std::string("211412") + "142112" + "142112" + "2331112";
    EXPECT_EQ(code128Elements("{A\t"), widths(expected));
}

TEST(Code128, SwitchesSetsAndShifts) {
    // {B 'a' {C 12 {B {S then '\t' read in set A.
    // Values: 104, 65, 99, 12, 100, 98, 73; checksum (104 + 65 + 198 + 36 + 400 + 490 + 438) mod 103 = 83.
    const std::vector<int> elements = code128Elements(bytes("{Ba{C\x0c{B{S\t"));
    ASSERT_EQ(elements.size(), 8u * 6 + 7);
    EXPECT_EQ(std::vector<int>(elements.end() - 13, elements.end() - 7), widths("114212")); // checksum 83
}

TEST(Code128, EscapedBraceIsABraceInCodeSetB) {
    // '{' = 91; checksum (104 + 91) mod 103 = 92.
    const std::string expected = std::string("211214") + "412121" + "111143" + "2331112";
    EXPECT_EQ(code128Elements("{B{{"), widths(expected));
}

TEST(Code128, EverySymbolIsElevenModulesAndTheStopThirteen) {
    const std::vector<int> elements = code128Elements(bytes("{C\x00\x63{B !~{A\x1f"));
    ASSERT_FALSE(elements.empty());
    const int modules = std::accumulate(elements.begin(), elements.end(), 0);
    EXPECT_EQ((modules - 13) % 11, 0);
    EXPECT_EQ(elements.size() % 6, 1u);
}

TEST(Code128, RejectsDataAPrinterWouldNotPrint) {
    EXPECT_TRUE(code128Elements("").empty());
    EXPECT_TRUE(code128Elements("12345").empty());          // no start set
    EXPECT_TRUE(code128Elements("{D12").empty());           // no such set
    EXPECT_TRUE(code128Elements(bytes("{C\x64")).empty());  // 100 is not a digit pair
    EXPECT_TRUE(code128Elements("{Ba{").empty());           // function cut off
    EXPECT_TRUE(code128Elements("{Ba{X").empty());          // unknown function
    EXPECT_TRUE(code128Elements("{Aa").empty());            // lower case is not in set A
    EXPECT_TRUE(code128Elements("{B\x80").empty());         // beyond ASCII
    EXPECT_TRUE(code128Elements("{B{B").empty());           // switch to the set in use
    EXPECT_TRUE(code128Elements("{C{S").empty());           // set C has no shift
    EXPECT_TRUE(code128Elements("{Ba{S").empty());          // shift with nothing after it
}

} // namespace
} // namespace receipt_preview
