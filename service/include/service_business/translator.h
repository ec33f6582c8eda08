#pragma once
// Chinese text conversion applied to receipt text before it is printed: receipt printers that know only
// GB2312 cannot print rare or traditional characters, so text is simplified and what is still outside
// GB2312 is replaced by its pinyin.
//
// Strings are std::u16string: one UTF-16 code unit per element, the same units QString holds, so text
// moves between the two without conversion (QString::toStdU16String / fromStdU16String). A character
// outside the Basic Multilingual Plane is two units and each is treated on its own.
//
// The tables are read once per process, on the first call of any function, from "data/gb2312.dat",
// "data/unicode_pinyin.dat" and "data/traditional_simplified.dat" of the application resource package.
// A missing file leaves its table empty. Every function is safe to call from any thread.

#include "service_business/export.h"

#include <string>

namespace service_business {
namespace Translator {

// True for every character up to 0xFF and for the characters of GB2312.
SERVICE_BUSINESS_EXPORT bool isInGB2312(char16_t character);

// The character's pinyin without tone ("好" gives "hao"); "(*)" when it has none.
SERVICE_BUSINESS_EXPORT std::u16string toPinyin(char16_t character);

// The pinyin of every character, concatenated without separators.
SERVICE_BUSINESS_EXPORT std::u16string toPinyin(const std::u16string& text);

// Each traditional character replaced by its simplified form; everything else kept.
SERVICE_BUSINESS_EXPORT std::u16string toSimplifiedChinese(const std::u16string& text);

// Each simplified character replaced by its traditional form; everything else kept.
SERVICE_BUSINESS_EXPORT std::u16string toTraditionalChinese(const std::u16string& text);

}  // namespace Translator
}  // namespace service_business
