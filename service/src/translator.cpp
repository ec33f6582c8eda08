#include "translator_p.h"

#include "service_business/translator.h"

#include "resource_parser/res_loader.h"
#include "utility_business/kelmo_path_info.h"

#include <QTextCodec>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

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

std::u16string mapEach(std::u16string_view text, const std::vector<char16_t>& map, const std::vector<bool>& has)
{
    std::u16string result(text);
    for (char16_t& character : result)
        if (has[character]) character = map[character];
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
    while (readHex(text, pos, code)) m_gb2312[code & 0xFFFF] = true;
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
        const char16_t unit = static_cast<char16_t>(code & 0xFFFF);
        if (m_hasPinyin[unit]) continue;
        m_hasPinyin[unit] = true;
        const std::u16string_view pinyin = token.substr(0, std::min<size_t>(token.size() - 1, 0xFFFF));
        m_pinyinAt[unit] = static_cast<std::uint32_t>(m_pinyinText.size());
        m_pinyinSize[unit] = static_cast<std::uint16_t>(pinyin.size());
        m_pinyinText += pinyin;
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
        if (!m_hasSimplified[traditional]) {
            m_hasSimplified[traditional] = true;
            m_simplified[traditional] = simplified;
        }
        if (!m_hasTraditional[simplified]) {
            m_hasTraditional[simplified] = true;
            m_traditional[simplified] = traditional;
        }
    }
}

bool Tables::isInGB2312(char16_t character) const
{
    return character <= 0xFF || m_gb2312[character];
}

std::u16string Tables::toPinyin(char16_t character) const
{
    if (m_pinyinSize[character] == 0) return kNoPinyin;
    return m_pinyinText.substr(m_pinyinAt[character], m_pinyinSize[character]);
}

std::u16string Tables::toPinyin(std::u16string_view text) const
{
    std::u16string result;
    for (char16_t character : text) result += toPinyin(character);
    return result;
}

std::u16string Tables::toSimplifiedChinese(std::u16string_view text) const
{
    return mapEach(text, m_simplified, m_hasSimplified);
}

std::u16string Tables::toTraditionalChinese(std::u16string_view text) const
{
    return mapEach(text, m_traditional, m_hasTraditional);
}

namespace {

// Code pages whose bytes for a text are the bytes of its characters (outside surrogates) one after the
// other, with no byte-order mark or shift state: UTF-8, Latin-1, GB18030, GBK, GB2312, Big5, Shift_JIS,
// EUC-JP, EUC-KR, windows-1250 to 1258 and ISO 8859-x by their MIB numbers.
bool isStatelessCodePage(int mib)
{
    switch (mib) {
    case 106: case 4: case 114: case 113: case 2025: case 2026: case 17: case 18: case 38: return true;
    default: return (mib >= 2250 && mib <= 2258) || (mib >= 5 && mib <= 12) || (mib >= 109 && mib <= 112);
    }
}

bool isSurrogate(char16_t unit)
{
    return unit >= 0xD800 && unit <= 0xDFFF;
}

}  // namespace

PrintableBytes::PrintableBytes(const Tables& tables, QTextCodec* codec) : m_entries(0x10000)
{
    std::map<std::u16string, std::uint32_t> made;  // the same text is encoded once (most pinyin repeat)
    for (std::uint32_t unit = 0; unit < 0x10000 && m_exact; ++unit) {
        const char16_t character = static_cast<char16_t>(unit);
        const char16_t simplified = tables.m_hasSimplified[character] ? tables.m_simplified[character] : character;
        const std::u16string text =
            tables.isInGB2312(simplified) ? std::u16string(1, simplified) : tables.toPinyin(simplified);
        for (char16_t c : text)
            if (isSurrogate(c)) m_exact = false;  // the code page would need its neighbour
        const auto found = made.find(text);
        if (found != made.end()) {
            m_entries[unit] = found->second;
            continue;
        }
        const QByteArray bytes =
            codec->fromUnicode(reinterpret_cast<const QChar*>(text.data()), static_cast<int>(text.size()));
        if (bytes.size() > 0xFF || m_bytes.size() > 0xFFFFFF) {
            m_exact = false;
            break;
        }
        m_longest = std::max(m_longest, bytes.size());
        const std::uint32_t entry = static_cast<std::uint32_t>(m_bytes.size()) << 8 | std::uint32_t(bytes.size());
        m_bytes.append(bytes.constData(), static_cast<size_t>(bytes.size()));
        made.emplace(text, entry);
        m_entries[unit] = entry;
    }
    m_asciiIsItself = m_exact;
    for (std::uint32_t unit = 0; unit < 0x80 && m_asciiIsItself; ++unit) {
        const std::string_view bytes = of(static_cast<char16_t>(unit));
        m_asciiIsItself = bytes.size() == 1 && static_cast<unsigned char>(bytes[0]) == unit;
    }
}

const PrintableBytes* PrintableBytes::forCodec(QTextCodec* codec)
{
    // The code page last asked for answers without a lock; the tables are made once and kept for the process.
    struct Entry {
        QTextCodec* codec;
        std::unique_ptr<PrintableBytes> table;  // nullptr: convert this code page piece by piece
    };
    static std::atomic<const Entry*> last{nullptr};
    static std::mutex mutex;
    static std::map<QTextCodec*, std::unique_ptr<Entry>> entries;
    if (!codec) return nullptr;
    const Entry* entry = last.load(std::memory_order_acquire);
    if (entry && entry->codec == codec) return entry->table.get();

    std::lock_guard<std::mutex> lock(mutex);
    auto found = entries.find(codec);
    if (found == entries.end()) {
        std::unique_ptr<Entry> made(new Entry{codec, nullptr});
        if (isStatelessCodePage(codec->mibEnum())) {
            made->table.reset(new PrintableBytes(Tables::instance(), codec));
            if (!made->table->m_exact) made->table.reset();
        }
        found = entries.emplace(codec, std::move(made)).first;
    }
    last.store(found->second.get(), std::memory_order_release);
    return found->second->table.get();
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
