#pragma once
// A JSON document addressed by key paths, keeping members in document order through parse, change and
// save, so a saved settings file keeps its layout and a re-serialised order keeps its member order.
//
// Key paths are a list of keys from the root: {"print", "printers", "3"}; keys match case-sensitively and
// the empty path is the root itself. A profile or a printer is addressed by its decimal id as a key. Every
// path operation on a missing path fails (or yields an empty result) without changing the document, except
// addNode and the setters, which create the intermediate objects. A failed operation never leaves a partial
// change behind.
//
// Text forms: toString() indents with four spaces and writes "key": value; toCompactString(), nodeToString()
// and array() have no white space. Whole numbers print as integers. A copy is a deep copy; a moved-from
// document reads as an empty object.

#include <QString>
#include <QStringList>

#include <functional>

struct cJSON;

namespace utility_business {

using KeyPath = QStringList;

class JsonDocument {
public:
    // Parses `text`; a text that does not parse gives an empty object document.
    explicit JsonDocument(const QString& text = QStringLiteral("{}"));
    ~JsonDocument();
    JsonDocument(const JsonDocument& other);
    JsonDocument& operator=(const JsonDocument& other);
    JsonDocument(JsonDocument&&) noexcept;
    JsonDocument& operator=(JsonDocument&&) noexcept;

    // Replaces the contents with the parsed file; false, document unchanged, if missing or not valid JSON.
    bool fromFile(const QString& path);
    // Replaces the contents with the parsed text; false and a message in errorOut if it does not parse.
    bool fromString(const QString& text, QString& errorOut);
    // Writes toString() and a final newline atomically and durably: a crash during the save leaves the old
    // text or the new one on disk, never a torn file. The text goes to a temporary file beside the target
    // (".<name>.tmp-XXXXXX"), which is synced and renamed over it; an existing target keeps its file mode and
    // a symbolic link is followed. False (file untouched, temporary removed) when any step fails.
    bool toFile(const QString& path) const;
    // Deletes the temporaries that saves interrupted by a crash left in `dir`; the number deleted. A save
    // under way in another process holds a lock on its temporary, which is left alone.
    static int removeStaleTemporaryFiles(const QString& dir);

    // The whole document as formatted JSON text.
    QString toString() const;
    // The sub-tree at the path as JSON text; empty text when the path does not exist.
    QString toString(const KeyPath& path) const;
    // The same, compact (no white space); what the engine and the bus receive.
    QString toCompactString() const;

    // Member names of the object at the path, in document order; empty for a missing path or a non-object.
    QStringList childrenNames(const KeyPath& path) const;
    // Parses `text` and stores it at the path, creating intermediate objects and replacing what was there
    // (an existing member keeps its position). False when the text does not parse or a non-object lies on the way.
    bool addNode(const QString& text, const KeyPath& path);
    // Deletes the member at the path; false when it does not exist.
    bool removeNode(const KeyPath& path);
    bool nodeExist(const KeyPath& path) const;
    // The entries of the array at the path, each as JSON text; empty when it is not an array.
    QStringList array(const KeyPath& path) const;
    // Stores an array of the given texts (each parsed) at the path; false if one does not parse.
    bool addObjArray(const QStringList& texts, const KeyPath& path);

    // Typed setters: create intermediate objects like addNode.
    bool setString(const KeyPath& path, const QString& value);
    bool setInt(const KeyPath& path, int value);
    bool setBool(const KeyPath& path, bool value);
    // Stores an array of strings.
    bool setStringList(const KeyPath& path, const QStringList& values);
    // Typed getters: the default when the path is missing or holds another type. getInt truncates a
    // fractional number towards zero and clamps one outside the int range.
    QString getString(const KeyPath& path, const QString& defaultValue = QString()) const;
    int getInt(const KeyPath& path, int defaultValue = 0) const;
    bool getBool(const KeyPath& path, bool defaultValue = false) const;
    // The string entries of the array at the path (other entries skipped); empty when it is not an array.
    QStringList getStringList(const KeyPath& path) const;

    // Applies fn to every string value of the document (not to keys), replacing it with the result.
    void transformStrings(const std::function<QString(const QString&)>& fn);

    // A parsed object as compact JSON text; empty for null.
    static QString nodeToString(const cJSON* node);
    const cJSON* root() const { return m_root; }

private:
    cJSON* m_root = nullptr;
};

}  // namespace utility_business
