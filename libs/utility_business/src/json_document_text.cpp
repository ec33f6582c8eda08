// JSON text in and out of cJSON trees. Printing is our own rather than cJSON_Print so that the settings
// files get a stable, readable layout and numbers print the same whatever the process locale is.
#include "json_document_p.h"

#include <cjson/cJSON.h>

#include <QLocale>
#include <QVector>

#include <cmath>

namespace utility_business {
namespace json_text {

namespace {

bool isJsonSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

QString positionText(const QByteArray& text, int offset)
{
    int line = 1;
    int column = 1;
    for (int i = 0; i < offset && i < text.size(); ++i) {
        if (text[i] == '\n') {
            ++line;
            column = 1;
        } else {
            ++column;
        }
    }
    return QStringLiteral("invalid JSON at line %1, column %2").arg(line).arg(column);
}

void appendString(QByteArray& out, const char* text)
{
    static const char hex[] = "0123456789abcdef";
    out += '"';
    for (const unsigned char* p = reinterpret_cast<const unsigned char*>(text ? text : ""); *p; ++p) {
        switch (*p) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\b': out += "\\b"; break;
        case '\f': out += "\\f"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (*p < 0x20) {
                out += "\\u00";
                out += hex[*p >> 4];
                out += hex[*p & 0xf];
            } else {
                out += static_cast<char>(*p);
            }
        }
    }
    out += '"';
}

// Whole numbers print as integers; others with the fewest digits that read back to the same double.
void appendNumber(QByteArray& out, double value)
{
    if (!std::isfinite(value)) {
        out += "null";  // JSON has no spelling for these
    } else if (value == std::trunc(value) && std::fabs(value) < 1e15) {
        out += value == 0 ? QByteArray("0") : QByteArray::number(value, 'f', 0);
    } else {
        out += QByteArray::number(value, 'g', QLocale::FloatingPointShortest);
    }
}

void newline(QByteArray& out, bool indented, int depth)
{
    if (!indented) return;
    out += '\n';
    out.append(depth * 4, ' ');
}

void appendNode(QByteArray& out, const cJSON* node, bool indented, int depth)
{
    if (cJSON_IsNull(node)) {
        out += "null";
    } else if (cJSON_IsFalse(node)) {
        out += "false";
    } else if (cJSON_IsTrue(node)) {
        out += "true";
    } else if (cJSON_IsNumber(node)) {
        appendNumber(out, node->valuedouble);
    } else if (cJSON_IsString(node)) {
        appendString(out, node->valuestring);
    } else if (cJSON_IsArray(node) || cJSON_IsObject(node)) {
        const bool object = cJSON_IsObject(node);
        out += object ? '{' : '[';
        if (node->child) {
            for (const cJSON* child = node->child; child; child = child->next) {
                newline(out, indented, depth + 1);
                if (object) {
                    appendString(out, child->string);
                    out += indented ? ": " : ":";
                }
                appendNode(out, child, indented, depth + 1);
                if (child->next) out += ',';
            }
            newline(out, indented, depth);
        }
        out += object ? '}' : ']';
    } else {
        out += "null";  // raw and invalid nodes never come out of the parser; print something that parses
    }
}

// The value of the four hexadecimal digits at `p`, or -1.
int hexValue(const char* p, const char* end)
{
    if (end - p < 4) return -1;
    int value = 0;
    for (int i = 0; i < 4; ++i) {
        const char c = p[i];
        const int digit = c >= '0' && c <= '9'   ? c - '0'
                          : c >= 'a' && c <= 'f' ? c - 'a' + 10
                          : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                                 : -1;
        if (digit < 0) return -1;
        value = value * 16 + digit;
    }
    return value;
}

bool isSurrogate(int unit, int first) { return unit >= first && unit < first + 0x400; }

// Two escapes cJSON cannot hold are rewritten before it parses. Qt's JSON writer escapes half a surrogate
// pair (a cut emoji) as it is, which strict parsers refuse; the rest of the client reads it as U+FFFD, so
// do we ("\ud83d" becomes "\ufffd"). A NUL ("\u0000") would end cJSON's C string and lose the rest of the
// text; it is dropped, and where it was in the result is recorded in `dropped` so that error positions
// stay right. The text is copied only when it holds one of them.
QByteArray withEscapesCJsonCanHold(const QByteArray& text, QVector<int>& dropped)
{
    QByteArray out;
    const char* const begin = text.constData();
    const char* const end = begin + text.size();
    int copiedUpTo = 0;  // text before this offset is in `out` already
    const auto rewrite = [&](const char* p, const char* with) {
        out += text.mid(copiedUpTo, static_cast<int>(p - begin) - copiedUpTo);
        out += with;
        copiedUpTo = static_cast<int>(p - begin) + 6;
    };
    for (const char* p = begin; p < end; ++p) {
        if (*p != '\\') continue;
        if (p + 1 >= end || p[1] != 'u') {
            ++p;  // an escaped character, perhaps a backslash
            continue;
        }
        const int unit = hexValue(p + 2, end);
        if (isSurrogate(unit, 0xD800) && p + 7 < end && p[6] == '\\' && p[7] == 'u' &&
            isSurrogate(hexValue(p + 8, end), 0xDC00)) {
            p += 11;  // a whole pair
            continue;
        }
        if (unit == 0) {
            rewrite(p, "");
            dropped << out.size();
        } else if (isSurrogate(unit, 0xD800) || isSurrogate(unit, 0xDC00)) {
            rewrite(p, "\\ufffd");
        } else {
            continue;
        }
        p += 5;
    }
    if (copiedUpTo == 0) return text;
    return out + text.mid(copiedUpTo);
}

}  // namespace

cJSON* parse(const QByteArray& original, QString* error)
{
    if (original.isEmpty()) {
        if (error) *error = QStringLiteral("empty JSON text");
        return nullptr;
    }
    QVector<int> dropped;
    const QByteArray text = withEscapesCJsonCanHold(original, dropped);
    const char* end = nullptr;
    cJSON* node = cJSON_ParseWithLengthOpts(text.constData(), static_cast<size_t>(text.size()), &end, false);
    const char* const textEnd = text.constData() + text.size();
    if (node && end) {
        while (end < textEnd && isJsonSpace(*end)) ++end;
        if (end != textEnd) {  // something follows the value
            cJSON_Delete(node);
            node = nullptr;
        }
    }
    if (!node && error) {
        const int rewritten = end ? static_cast<int>(end - text.constData()) : 0;
        int offset = rewritten;
        for (int at : dropped) {
            if (at <= rewritten) offset += 6;
        }
        *error = positionText(original, offset);
    }
    return node;
}

QByteArray print(const cJSON* node, bool indented)
{
    QByteArray out;
    if (node) appendNode(out, node, indented, 0);
    return out;
}

}  // namespace json_text
}  // namespace utility_business
