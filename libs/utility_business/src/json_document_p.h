#pragma once
//
//  Private to utility_business: not part of its interface.
//  It is shared by the JsonDocument sources and
//  their tests, and may change without notice.
//

#include <QByteArray>
#include <QString>

#include <sys/types.h>

struct cJSON;

namespace utility_business {
namespace json_text {

// Parses UTF-8 JSON text; trailing white space is allowed, anything else after the value is not. The caller
// owns the result (cJSON_Delete). On error null is returned and `error` (when given) says where.
cJSON* parse(const QByteArray& text, QString* error = nullptr);

// The node as UTF-8 JSON text: indented with four spaces, or without any white space.
QByteArray print(const cJSON* node, bool indented);

}  // namespace json_text

namespace json_save {

// The system calls of a save that a test may replace to simulate a full disk or a failing device.
struct FileOps {
    ssize_t (*write)(int fd, const void* data, size_t size);
    int (*fsync)(int fd);
};

// Replaces the calls for every later save; null restores the real ones.
void setFileOpsForTesting(const FileOps* ops);

// Replaces the file at `path` with `bytes` as described at JsonDocument::toFile.
bool writeFileAtomically(const QString& path, const QByteArray& bytes);

// Whether `fileName` has the form of a save's temporary file.
bool isTemporaryFileName(const QString& fileName);

}  // namespace json_save
}  // namespace utility_business
