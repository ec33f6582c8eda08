#include "translator.h"

#include "service_business/translator.h"

#include "resource_parser/res_loader.h"
#include "utility_business/kelmo_path_info.h"

#include <cstdint>

namespace service_business {
namespace Translator {

namespace {

const char16_t kNoPinyin[] = u"(*)";

// White space as the C locale's wide streams see it.
bool isSpace(char16_t c)
{
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\v' || c == u'\f' || c == u'\r';
}

int hexDigit(char16_t c)
{
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    return -1;
}

void skipSpace(std::u16string_view text, size_t& pos)
{
    while (pos < text.size() && isSpace(text[pos])) ++pos;
}

// Reads a hexadecimal number after white space, with an optional "0x", as a stream in hex mode does.
// False, with `pos` somewhere inside the token, when there is no number or it does not fit 32 bits.
bool readHex(std::u16string_view text, size_t& pos, std::uint32_t& value)
{
    skipSpace(text, pos);
    const std::u16string_view prefix = text.substr(pos, 2);
    if ((prefix == u"0x" || prefix == u"0X") && pos + 2 < text.size() && hexDigit(text[pos + 2]) >= 0) pos += 2;
    std::uint64_t number = 0;
    size_t digits = 0;
    for (int digit; pos < text.size() && (digit = hexDigit(text[pos])) >= 0; ++pos, ++digits) {
        number = number * 16 + static_cast<std::uint64_t>(digit);
        if (number > 0xFFFFFFFFu) return false;
    }
    value = static_cast<std::uint32_t>(number);
    return digits > 0;
}

// The next run of characters that are not white space; empty at the end of the text.
std::u16string_view readToken(std::u16string_view text, size_t& pos)
{
    skipSpace(text, pos);
    const size_t begin = pos;
    while (pos < text.size() && !isSpace(text[pos])) ++pos;
    return text.substr(begin, pos - begin);
}

std::u16string mapEach(std::u16string_view text, const std::unordered_map<char16_t, char16_t>& map)
{
    std::u16string result(text);
    for (char16_t& character : result) {
        const auto found = map.find(character);
        if (found != map.end()) character = found->second;
    }
    return result;
}

TableTexts packageTexts()
{
    const auto package = resource::ResLoader::get(utility_business::kelmoPathInfo().ostinelPakPath());
    return TableTexts{package->getFileText(QStringLiteral("data/gb2312.dat")).toStdU16String(),
                      package->getFileText(QStringLiteral("data/unicode_pinyin.dat")).toStdU16String(),
                      package->getFileText(QStringLiteral("data/traditional_simplified.dat")).toStdU16String()};
}

}  // namespace

Tables Tables::fromTexts(const TableTexts& texts)
{
    Tables tables;
    tables.readGb2312(texts.gb2312);
    tables.readPinyin(texts.unicodePinyin);
    tables.readPairs(texts.traditionalSimplified);
    return tables;
}

const Tables& Tables::instance()
{
    // A function-local static is initialised exactly once even when several threads arrive together.
    static const Tables tables = fromTexts(packageTexts());
    return tables;
}

void Tables::readGb2312(std::u16string_view text)
{
    size_t pos = 0;
    std::uint32_t code = 0;
    while (readHex(text, pos, code)) m_gb2312.insert(static_cast<char16_t>(code & 0xFFFF));
}

void Tables::readPinyin(std::u16string_view text)
{
    size_t lineStart = 0;
    while (lineStart < text.size()) {
        size_t lineEnd = text.find(u'\n', lineStart);
        if (lineEnd == std::u16string_view::npos) lineEnd = text.size();
        const std::u16string_view line = text.substr(lineStart, lineEnd - lineStart);
        lineStart = lineEnd + 1;

        size_t pos = 0;
        std::uint32_t code = 0;
        if (!readHex(line, pos, code)) continue;
        const std::u16string_view token = readToken(line, pos);
        if (token.empty()) continue;
        // The token's last character (the tone digit) is not printed.
        m_pinyin.emplace(static_cast<char16_t>(code & 0xFFFF), std::u16string(token.substr(0, token.size() - 1)));
    }
}

void Tables::readPairs(std::u16string_view text)
{
    size_t pos = 0;
    for (;;) {
        skipSpace(text, pos);
        if (pos >= text.size()) return;
        const char16_t traditional = text[pos++];
        skipSpace(text, pos);
        if (pos >= text.size()) return;
        const char16_t simplified = text[pos++];
        m_simplified.emplace(traditional, simplified);
        m_traditional.emplace(simplified, traditional);
    }
}

bool Tables::isInGB2312(char16_t character) const
{
    return character <= 0xFF || m_gb2312.count(character) > 0;
}

std::u16string Tables::toPinyin(char16_t character) const
{
    const auto found = m_pinyin.find(character);
    if (found == m_pinyin.end() || found->second.empty()) return kNoPinyin;
    return found->second;
}

std::u16string Tables::toPinyin(std::u16string_view text) const
{
    std::u16string result;
    for (char16_t character : text) result += toPinyin(character);
    return result;
}

std::u16string Tables::toSimplifiedChinese(std::u16string_view text) const
{
    return mapEach(text, m_simplified);
}

std::u16string Tables::toTraditionalChinese(std::u16string_view text) const
{
    return mapEach(text, m_traditional);
}

bool isInGB2312(char16_t character)
{
    return Tables::instance().isInGB2312(character);
}

std::u16string toPinyin(char16_t character)
{
    return Tables::instance().toPinyin(character);
}

std::u16string toPinyin(const std::u16string& text)
{
    return Tables::instance().toPinyin(text);
}

std::u16string toSimplifiedChinese(const std::u16string& text)
{
    return Tables::instance().toSimplifiedChinese(text);
}

std::u16string toTraditionalChinese(const std::u16string& text)
{
    return Tables::instance().toTraditionalChinese(text);
}

}  // namespace Translator
}  // namespace service_business
