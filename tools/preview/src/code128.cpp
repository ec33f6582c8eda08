#include "code128_p.h"

#include <array>
#include <optional>

namespace receipt_preview {
namespace {

// Bar, space, bar, space, bar, space widths of symbol values 0 to 106 (106 is the stop, with a final bar).
constexpr std::array<const char*, 107> kPatterns = {
    "212222", "222122", "222221", "121223", "121322", "131222", "122213", "122312", "132212", "221213",
    "221312", "231212", "112232", "122132", "122231", "113222", "123122", "123221", "223211", "221132",
    "221231", "213212", "223112", "312131", "311222", "321122", "321221", "312212", "322112", "322211",
    "212123", "212321", "232121", "111323", "131123", "131321", "112313", "132113", "132311", "211313",
    "231113", "231311", "112133", "112331", "132131", "113123", "113321", "133121", "313121", "211331",
    "231131", "213113", "213311", "213131", "311123", "311321", "331121", "312113", "312311", "332111",
    "314111", "221411", "431111", "111224", "111422", "121124", "121421", "141122", "141221", "112214",
    "112412", "122114", "122411", "142112", "142211", "241211", "221114", "413111", "241112", "134111",
    "111242", "121142", "121241", "114212", "124112", "124211", "411212", "421112", "421211", "212141",
    "214121", "412121", "111143", "111341", "131141", "114113", "114311", "411113", "411311", "113141",
    "114131", "311141", "411131", "211412", "211214", "211232", "2331112"};

enum class CodeSet { A, B, C };

constexpr int kShift = 98;
constexpr int kCodeC = 99;
constexpr int kCodeB = 100;
constexpr int kCodeA = 101;
constexpr int kFnc1 = 102;
constexpr int kStartA = 103;
constexpr int kStop = 106;

// The value of a data byte in set A or B, or nothing when the set has no such character.
std::optional<int> characterValue(CodeSet set, int byte) {
    if (set == CodeSet::A) {
        if (byte < 0x20) return byte + 64;
        if (byte < 0x60) return byte - 32;
        return std::nullopt;
    }
    if (byte >= 0x20 && byte < 0x80) return byte - 32;
    return std::nullopt;
}

// The symbol values of the data, start code first, without checksum and stop.
std::optional<std::vector<int>> symbolValues(const QByteArray& data) {
    if (data.size() < 2 || data[0] != '{' || data[1] < 'A' || data[1] > 'C') return std::nullopt;
    CodeSet set = CodeSet(data[1] - 'A');
    std::vector<int> values{kStartA + int(set)};
    bool shifted = false;
    for (int i = 2; i < data.size(); ++i) {
        const int byte = static_cast<unsigned char>(data[i]);
        const CodeSet current = shifted ? (set == CodeSet::A ? CodeSet::B : CodeSet::A) : set;
        shifted = false;
        if (byte == '{' && current != CodeSet::C && i + 1 < data.size() && data[i + 1] == '{') {
            if (current != CodeSet::B) return std::nullopt;
            values.push_back('{' - 32);
            ++i;
            continue;
        }
        if (byte == '{') {
            if (++i >= data.size()) return std::nullopt;
            const char function = data[i];
            if (function == '1') {
                values.push_back(kFnc1);
            } else if (function >= 'A' && function <= 'C') {
                const CodeSet target = CodeSet(function - 'A');
                if (target == current) return std::nullopt;
                values.push_back(target == CodeSet::A ? kCodeA : target == CodeSet::B ? kCodeB : kCodeC);
                set = target;
            } else if (current == CodeSet::C) {
                return std::nullopt;
            } else if (function == 'S') {
                values.push_back(kShift);
                shifted = true;
            } else if (function == '2') {
                values.push_back(97);
            } else if (function == '3') {
                values.push_back(96);
            } else if (function == '4') {
                values.push_back(current == CodeSet::A ? kCodeA : kCodeB);
            } else {
                return std::nullopt;
            }
            continue;
        }
        if (current == CodeSet::C) {
            if (byte > 99) return std::nullopt;
            values.push_back(byte);
            continue;
        }
        const auto value = characterValue(current, byte);
        if (!value) return std::nullopt;
        values.push_back(*value);
    }
    if (shifted) return std::nullopt;
    return values;
}

} // namespace

std::vector<int> code128Elements(const QByteArray& data) {
    auto values = symbolValues(data);
    if (!values) return {};
    int checksum = (*values)[0];
    for (size_t i = 1; i < values->size(); ++i) checksum += int(i) * (*values)[i];
    values->push_back(checksum % 103);
    values->push_back(kStop);
    std::vector<int> elements;
    for (const int value : *values)
        for (const char* width = kPatterns[value]; *width; ++width) elements.push_back(*width - '0');
    return elements;
}

} // namespace receipt_preview
