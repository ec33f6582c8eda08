#pragma once
//
//  Private to service_business: not part of its interface.
//  It exposes the translator's tables and their file
//  readers so that tests can feed them small texts.
//

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class QTextCodec;

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

    // Flat tables indexed by the UTF-16 unit: one look-up each, no hashing.
    std::vector<bool> m_gb2312 = std::vector<bool>(0x10000);
    std::vector<std::uint32_t> m_pinyinAt = std::vector<std::uint32_t>(0x10000);     // offset in m_pinyinText
    std::vector<std::uint16_t> m_pinyinSize = std::vector<std::uint16_t>(0x10000);  // 0: none or empty
    std::vector<bool> m_hasPinyin = std::vector<bool>(0x10000);                     // the first entry wins
    std::u16string m_pinyinText;                                                     // every pinyin, back to back
    std::vector<char16_t> m_simplified = std::vector<char16_t>(0x10000);            // traditional -> simplified
    std::vector<char16_t> m_traditional = std::vector<char16_t>(0x10000);           // simplified -> traditional
    std::vector<bool> m_hasSimplified = std::vector<bool>(0x10000);
    std::vector<bool> m_hasTraditional = std::vector<bool>(0x10000);

    friend class PrintableBytes;
};

// The printer bytes of every UTF-16 unit in one code page: the unit simplified, kept when GB2312 has it and
// spelt in pinyin ("(*)" without any) when not, then encoded. Made once per code page from the process-wide
// tables, so a receipt is converted with one look-up per unit.
class PrintableBytes {
public:
    // The table of codec, or nullptr when codec is not one whose bytes for a text are the bytes of its
    // characters one after the other (only such code pages can be converted unit by unit), or when the
    // tables would hand the code page a surrogate.
    static const PrintableBytes* forCodec(QTextCodec* codec);

    std::string_view of(char16_t unit) const
    {
        const std::uint32_t entry = m_entries[unit];
        return std::string_view(m_bytes.data() + (entry >> 8), entry & 0xFF);
    }
    // True when every ASCII unit stays the one byte it is.
    bool asciiIsItself() const { return m_asciiIsItself; }
    // The most bytes any one unit makes.
    int longest() const { return m_longest; }

private:
    PrintableBytes(const Tables& tables, QTextCodec* codec);

    std::vector<std::uint32_t> m_entries;  // offset << 8 | size, in m_bytes
    std::string m_bytes;
    bool m_asciiIsItself = false;
    bool m_exact = true;
    int m_longest = 0;
};

}  // namespace Translator
}  // namespace service_business
