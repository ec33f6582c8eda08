#pragma once
//
//  This header is not part of the service's API. It exposes the translator's tables and their file
//  readers so that tests can feed them small texts.
//

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace service_business {
namespace Translator {

// The texts of the three data files.
struct TableTexts {
    std::u16string gb2312;                // hexadecimal codes separated by white space
    std::u16string unicodePinyin;         // lines of "<hex code> <pinyin><one more character>"
    std::u16string traditionalSimplified; // characters taken two at a time: traditional, simplified
};

// The conversion tables. Every reader inserts and never replaces, so the first entry of a key wins.
class Tables {
public:
    // Tables read from the three texts; what a text does not hold leaves its table empty.
    static Tables fromTexts(const TableTexts& texts);
    // The process-wide tables, read from the application resource package on the first call.
    static const Tables& instance();

    bool isInGB2312(char16_t character) const;
    std::u16string toPinyin(char16_t character) const;
    std::u16string toPinyin(std::u16string_view text) const;
    std::u16string toSimplifiedChinese(std::u16string_view text) const;
    std::u16string toTraditionalChinese(std::u16string_view text) const;

private:
    void readGb2312(std::u16string_view text);
    void readPinyin(std::u16string_view text);
    void readPairs(std::u16string_view text);

    std::unordered_set<char16_t> m_gb2312;
    std::unordered_map<char16_t, std::u16string> m_pinyin;
    std::unordered_map<char16_t, char16_t> m_simplified;   // traditional -> simplified
    std::unordered_map<char16_t, char16_t> m_traditional;  // simplified -> traditional
};

}  // namespace Translator
}  // namespace service_business
