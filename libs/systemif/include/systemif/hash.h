#pragma once

#include <QString>

namespace systemif {
namespace hash {

// Lower-case hexadecimal SHA-1 of the file's contents; empty when the file cannot be read.
QString calculateFileSha1Hash(const QString& path);

}  // namespace hash
}  // namespace systemif
