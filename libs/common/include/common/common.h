#pragma once
// Small pieces shared by every library of the service.

#include <QString>

#include <memory>
#include <string>

namespace common {

// Shared ownership of service objects (profiles, printers).
template <typename T>
using RefPtr = std::shared_ptr<T>;

namespace func {

// Joins two path parts with exactly one "/" between them; an empty part yields the other unchanged.
inline QString joinPath(const QString& left, const QString& right)
{
    if (left.isEmpty()) return right;
    if (right.isEmpty()) return left;
    const bool leftSlash = left.endsWith('/');
    const bool rightSlash = right.startsWith('/');
    if (leftSlash && rightSlash) return left + right.mid(1);
    if (leftSlash || rightSlash) return left + right;
    return left + '/' + right;
}

}  // namespace func
}  // namespace common

// Converts a UTF-8 standard string (an exception message, a C text) to a QString.
inline QString get_qstring(const std::string& text)
{
    return QString::fromStdString(text);
}
