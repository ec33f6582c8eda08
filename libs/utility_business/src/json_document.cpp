#include "utility_business/json_document.h"

#include "json_document_p.h"

#include <cjson/cJSON.h>

#include <QFile>
#include <QFileInfo>

#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

namespace utility_business {

namespace {

// A key as cJSON stores it; false for a key that a C string cannot hold.
bool keyBytes(const QString& key, QByteArray& out)
{
    out = key.toUtf8();
    return !out.contains('\0');
}

cJSON* member(const cJSON* object, const QString& key)
{
    if (!cJSON_IsObject(object)) return nullptr;
    // Keys are short ASCII words or ids: those are looked up from the stack, without a UTF-8 copy.
    char ascii[64];
    const int size = key.size();
    if (size < int(sizeof ascii)) {
        const QChar* characters = key.constData();
        int i = 0;
        for (; i < size; ++i) {
            const ushort unit = characters[i].unicode();
            if (unit == 0 || unit >= 0x80) break;
            ascii[i] = static_cast<char>(unit);
        }
        if (i == size) {
            ascii[size] = '\0';
            return cJSON_GetObjectItemCaseSensitive(object, ascii);
        }
    }
    QByteArray bytes;
    if (!keyBytes(key, bytes)) return nullptr;
    return cJSON_GetObjectItemCaseSensitive(object, bytes.constData());
}

const cJSON* find(const cJSON* root, const KeyPath& path)
{
    const cJSON* node = root;
    for (const QString& key : path) {
        node = member(node, key);
        if (!node) return nullptr;
    }
    return node;
}

// Stores `item` at the path, creating the missing objects on the way; takes ownership of `item` whatever
// the outcome. Nothing in the document changes unless the whole store succeeds.
bool store(cJSON*& root, const KeyPath& path, cJSON* item)
{
    if (!item) return false;
    if (path.isEmpty()) {
        cJSON_Delete(root);
        root = item;
        return true;
    }
    QList<QByteArray> keys;
    for (const QString& key : path) {
        QByteArray bytes;
        if (!keyBytes(key, bytes)) {
            cJSON_Delete(item);
            return false;
        }
        keys.append(bytes);
    }
    if (!root) root = cJSON_CreateObject();

    // Walk the objects that exist already; a non-object on the way is a conflict, found before any change.
    cJSON* node = root;
    int depth = 0;
    for (; cJSON_IsObject(node) && depth < keys.size() - 1; ++depth) {
        cJSON* next = cJSON_GetObjectItemCaseSensitive(node, keys[depth].constData());
        if (!next) break;
        node = next;
    }
    if (!cJSON_IsObject(node)) {
        cJSON_Delete(item);
        return false;
    }

    // Build the missing tail as a detached tree, then attach it in one step.
    cJSON* value = item;
    for (int i = keys.size() - 1; i > depth; --i) {
        cJSON* object = cJSON_CreateObject();
        if (!object || !cJSON_AddItemToObject(object, keys[i].constData(), value)) {
            cJSON_Delete(object);
            cJSON_Delete(value);
            return false;
        }
        value = object;
    }
    const char* key = keys[depth].constData();
    const bool attached = cJSON_GetObjectItemCaseSensitive(node, key)
                              ? cJSON_ReplaceItemInObjectCaseSensitive(node, key, value)
                              : cJSON_AddItemToObject(node, key, value);
    if (!attached) cJSON_Delete(value);
    return attached;
}

void transform(cJSON* node, const std::function<QString(const QString&)>& fn)
{
    for (; node; node = node->next) {
        if (cJSON_IsString(node) && node->valuestring) {
            const QString before = QString::fromUtf8(node->valuestring);
            const QByteArray after = fn(before).toUtf8();
            if (after != node->valuestring) {
                auto* copy = static_cast<char*>(cJSON_malloc(static_cast<size_t>(after.size()) + 1));
                if (copy) {  // out of memory keeps the old value rather than losing it
                    std::memcpy(copy, after.constData(), static_cast<size_t>(after.size()) + 1);
                    cJSON_free(node->valuestring);
                    node->valuestring = copy;
                }
            }
        }
        transform(node->child, fn);
    }
}

}  // namespace

JsonDocument::JsonDocument(const QString& text) : m_root(json_text::parse(text.toUtf8()))
{
    if (!m_root) m_root = cJSON_CreateObject();
}

JsonDocument::~JsonDocument() { cJSON_Delete(m_root); }

JsonDocument::JsonDocument(const JsonDocument& other) : m_root(cJSON_Duplicate(other.m_root, true)) {}

JsonDocument& JsonDocument::operator=(const JsonDocument& other)
{
    if (this != &other) {
        cJSON* copy = cJSON_Duplicate(other.m_root, true);
        cJSON_Delete(m_root);
        m_root = copy;
    }
    return *this;
}

JsonDocument::JsonDocument(JsonDocument&& other) noexcept : m_root(std::exchange(other.m_root, nullptr)) {}

JsonDocument& JsonDocument::operator=(JsonDocument&& other) noexcept
{
    if (this != &other) {
        cJSON_Delete(m_root);
        m_root = std::exchange(other.m_root, nullptr);
    }
    return *this;
}

bool JsonDocument::fromFile(const QString& path)
{
    if (!QFileInfo(path).isFile()) return false;  // also keeps a FIFO or device from blocking the read
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return false;
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) return false;
    cJSON* parsed = json_text::parse(bytes);
    if (!parsed) return false;
    cJSON_Delete(m_root);
    m_root = parsed;
    return true;
}

bool JsonDocument::fromString(const QString& text, QString& errorOut)
{
    cJSON* parsed = json_text::parse(text.toUtf8(), &errorOut);
    if (!parsed) return false;
    cJSON_Delete(m_root);
    m_root = parsed;
    return true;
}

bool JsonDocument::toFile(const QString& path) const
{
    return json_save::writeFileAtomically(path, json_text::print(m_root, true).append('\n'));
}

QString JsonDocument::toString() const
{
    return m_root ? QString::fromUtf8(json_text::print(m_root, true)) : QStringLiteral("{}");
}

QString JsonDocument::toString(const KeyPath& path) const
{
    const cJSON* node = find(m_root, path);
    return node ? QString::fromUtf8(json_text::print(node, true)) : QString();
}

QString JsonDocument::toCompactString() const
{
    return m_root ? QString::fromUtf8(json_text::print(m_root, false)) : QStringLiteral("{}");
}

QStringList JsonDocument::childrenNames(const KeyPath& path) const
{
    QStringList names;
    const cJSON* node = find(m_root, path);
    if (!cJSON_IsObject(node)) return names;
    for (const cJSON* child = node->child; child; child = child->next) names.append(QString::fromUtf8(child->string));
    return names;
}

bool JsonDocument::addNode(const QString& text, const KeyPath& path)
{
    return store(m_root, path, json_text::parse(text.toUtf8()));
}

bool JsonDocument::removeNode(const KeyPath& path)
{
    if (path.isEmpty()) return false;
    cJSON* parent = const_cast<cJSON*>(find(m_root, path.mid(0, path.size() - 1)));
    cJSON* node = member(parent, path.last());
    if (!node) return false;
    cJSON_Delete(cJSON_DetachItemViaPointer(parent, node));
    return true;
}

bool JsonDocument::nodeExist(const KeyPath& path) const { return find(m_root, path) != nullptr; }

QStringList JsonDocument::array(const KeyPath& path) const
{
    QStringList entries;
    const cJSON* node = find(m_root, path);
    if (!cJSON_IsArray(node)) return entries;
    for (const cJSON* child = node->child; child; child = child->next) entries.append(nodeToString(child));
    return entries;
}

bool JsonDocument::addObjArray(const QStringList& texts, const KeyPath& path)
{
    cJSON* list = cJSON_CreateArray();
    for (const QString& text : texts) {
        cJSON* entry = json_text::parse(text.toUtf8());
        if (!list || !entry || !cJSON_AddItemToArray(list, entry)) {
            cJSON_Delete(entry);
            cJSON_Delete(list);
            return false;
        }
    }
    return store(m_root, path, list);
}

bool JsonDocument::setString(const KeyPath& path, const QString& value)
{
    return store(m_root, path, cJSON_CreateString(value.toUtf8().constData()));
}

bool JsonDocument::setInt(const KeyPath& path, int value) { return store(m_root, path, cJSON_CreateNumber(value)); }

bool JsonDocument::setBool(const KeyPath& path, bool value) { return store(m_root, path, cJSON_CreateBool(value)); }

bool JsonDocument::setStringList(const KeyPath& path, const QStringList& values)
{
    cJSON* list = cJSON_CreateArray();
    for (const QString& value : values) {
        cJSON* entry = cJSON_CreateString(value.toUtf8().constData());
        if (!list || !entry || !cJSON_AddItemToArray(list, entry)) {
            cJSON_Delete(entry);
            cJSON_Delete(list);
            return false;
        }
    }
    return store(m_root, path, list);
}

QString JsonDocument::getString(const KeyPath& path, const QString& defaultValue) const
{
    const cJSON* node = find(m_root, path);
    return cJSON_IsString(node) ? QString::fromUtf8(node->valuestring) : defaultValue;
}

int JsonDocument::getInt(const KeyPath& path, int defaultValue) const
{
    const cJSON* node = find(m_root, path);
    if (!cJSON_IsNumber(node) || std::isnan(node->valuedouble)) return defaultValue;
    const double value = std::trunc(node->valuedouble);
    if (value >= static_cast<double>(std::numeric_limits<int>::max())) return std::numeric_limits<int>::max();
    if (value <= static_cast<double>(std::numeric_limits<int>::min())) return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

bool JsonDocument::getBool(const KeyPath& path, bool defaultValue) const
{
    const cJSON* node = find(m_root, path);
    return cJSON_IsBool(node) ? cJSON_IsTrue(node) : defaultValue;
}

QStringList JsonDocument::getStringList(const KeyPath& path) const
{
    QStringList values;
    const cJSON* node = find(m_root, path);
    if (!cJSON_IsArray(node)) return values;
    for (const cJSON* child = node->child; child; child = child->next)
        if (cJSON_IsString(child)) values.append(QString::fromUtf8(child->valuestring));
    return values;
}

void JsonDocument::transformStrings(const std::function<QString(const QString&)>& fn)
{
    if (fn) transform(m_root, fn);
}

QString JsonDocument::nodeToString(const cJSON* node)
{
    return node ? QString::fromUtf8(json_text::print(node, false)) : QString();
}

}  // namespace utility_business
