// JsonDocument in memory: each row of cases/json_document.json starts from a text and runs steps
// [call, arguments..., expected result] against it.
#include "utility_business/json_document.h"

#include "cjson_blocks.h"
#include "ub_cases.h"

#include <QTemporaryDir>

using utility_business::JsonDocument;

namespace {

const QString kTable = QStringLiteral(UB_CASES_DIR "/json_document.json");

QStringList listOf(const QJsonValue& value) { return value.toVariant().toStringList(); }

// Runs one step on doc; its result as JSON (null for a step without one).
QJsonValue run(JsonDocument& doc, const QJsonArray& s)
{
    const QString call = s[0].toString();
    if (call == "compact") return doc.toCompactString();
    if (call == "toString") return s.size() == 2 ? doc.toString() : doc.toString(listOf(s[1]));
    QString error;
    if (call == "fromString") return doc.fromString(s[1].toString(), error) ? QJsonValue(true) : QJsonValue(error);
    if (call == "fromFile") {  // the text written to a file first; null: no file, false: a directory
        QTemporaryDir dir;
        QFile file(dir.filePath(QStringLiteral("f.json")));
        if (s[1].isString() && file.open(QIODevice::WriteOnly))
            file.write(s[1].toString().toUtf8()), file.close();
        return doc.fromFile(s[1].isBool() ? dir.path() : file.fileName());
    }
    if (call == "copyChanged") {  // a copy and an assigned copy, changed: the original stays
        JsonDocument copy(doc), assigned;
        copy.setInt(listOf(s[1]), 2), assigned = copy;
        return QJsonArray{doc.toCompactString(), assigned.toCompactString()};
    }
    if (call == "moveConstruct") return JsonDocument(std::move(doc)).toCompactString();
    if (call == "moveAssign") return (JsonDocument(QStringLiteral("{\"old\":1}")) = std::move(doc)).toCompactString();
    if (call == "root") return JsonDocument::nodeToString(doc.root()) + JsonDocument::nodeToString(nullptr);
    if (call == "reparse") return JsonDocument(doc.toCompactString()).getString(listOf(s[1]));
    if (call == "array") return QJsonArray::fromStringList(doc.array(listOf(s[1])));
    if (call == "addNode") return doc.addNode(s[1].toString(), listOf(s[2]));
    if (call == "removeNode") return doc.removeNode(listOf(s[1]));
    if (call == "addObjArray") return doc.addObjArray(listOf(s[1]), listOf(s[2]));
    if (call == "setInt") return doc.setInt(listOf(s[1]), s[2].toInt());
    if (call == "setBool") return doc.setBool(listOf(s[1]), s[2].toBool());
    if (call == "setString") return doc.setString(listOf(s[1]), s[2].toString());
    if (call == "setStringList") return doc.setStringList(listOf(s[1]), listOf(s[2]));
    if (call == "getString") return doc.getString(listOf(s[1]), s[2].toString());
    if (call == "getInt") return doc.getInt(listOf(s[1]), s[2].toInt());
    if (call == "getBool") return doc.getBool(listOf(s[1]), s[2].toBool());
    if (call == "getStringList") return QJsonArray::fromStringList(doc.getStringList(listOf(s[1])));
    if (call == "childrenNames") return QJsonArray::fromStringList(doc.childrenNames(listOf(s[1])));
    if (call == "nodeExist") return doc.nodeExist(listOf(s[1]));
    if (call == "shout") doc.transformStrings([](const QString& text) { return text.toUpper() + QStringLiteral("!"); });
    return QJsonValue();
}

class JsonDocumentCase : public ::testing::TestWithParam<int> {};
UB_CASE_TABLE(JsonDocumentCase, kTable);

TEST_P(JsonDocumentCase, EveryStepGivesTheTabledResultAndLeaksNothing)
{
    const QJsonObject row = tableRows(kTable)[GetParam()].toObject();
    const long blocks = test_support::cjsonBlocks();
    {
        JsonDocument doc(row[QStringLiteral("doc")].toString());
        for (const QJsonValue& step : row[QStringLiteral("steps")].toArray()) {
            const QJsonArray s = step.toArray();
            const auto text = [](const QJsonValue& value) { return QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact); };
            EXPECT_EQ(text(run(doc, s)), text(s.size() > 1 ? s.last() : QJsonValue())) << text(s).toStdString();
        }
    }
    EXPECT_EQ(test_support::cjsonBlocks(), blocks) << "cJSON blocks leaked";
}

}  // namespace
