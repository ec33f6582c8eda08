#include "utility_business/json_document.h"

#include "qt_print.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include <climits>

using utility_business::JsonDocument;

namespace {

QString compact(const JsonDocument& doc) { return doc.toCompactString(); }

}  // namespace

TEST(JsonDocumentParse, BadTextGivesEmptyObjectOrIsRefusedWithPositionKeepingTheDocument)
{
    for (const QString& text : {QStringLiteral("{\"a\":"), QString(), QStringLiteral("{} trailing")})
        EXPECT_EQ(compact(JsonDocument(text)), "{}") << text.toStdString();

    JsonDocument doc(QStringLiteral("{\"keep\":1}"));
    QString error;
    EXPECT_FALSE(doc.fromString(QStringLiteral("{\n  \"a\": tru\n}"), error));
    EXPECT_EQ(error, "invalid JSON at line 2, column 8");
    EXPECT_FALSE(doc.fromString(QStringLiteral("[\"\\u0000\", tru]"), error));  // the dropped NUL still counts
    EXPECT_EQ(error, "invalid JSON at line 1, column 12");
    EXPECT_FALSE(doc.fromString(QString(), error));
    EXPECT_EQ(error, "empty JSON text");
    EXPECT_FALSE(doc.fromString(QStringLiteral("[1] [2]"), error));
    EXPECT_EQ(compact(doc), "{\"keep\":1}");

    EXPECT_TRUE(doc.fromString(QStringLiteral(" {\"a\":1} \n\t"), error));
    EXPECT_EQ(compact(doc), "{\"a\":1}");
    EXPECT_TRUE(doc.fromString(QStringLiteral("[1,\"x\"]"), error));
    EXPECT_EQ(compact(doc), "[1,\"x\"]");
    EXPECT_FALSE(doc.setInt({"a"}, 1));  // no member can be set in an array
}

TEST(JsonDocumentParse, FromFileLoadsGoodFileWithByteOrderMarkAndKeepsDocumentOtherwise)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const auto write = [&](const char* name, const QByteArray& bytes) {
        QFile file(dir.filePath(name));
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    };
    ASSERT_TRUE(write("good.json", "\xEF\xBB\xBF{\"z\": 1, \"a\": [true]}\n"));  // as editors on other systems write
    ASSERT_TRUE(write("bad.json", "{\"z\": "));

    JsonDocument doc(QStringLiteral("{\"keep\":true}"));
    for (const QString& path : {dir.filePath("missing.json"), dir.filePath("bad.json"), dir.path()})
        EXPECT_FALSE(doc.fromFile(path)) << path.toStdString();
    EXPECT_EQ(compact(doc), "{\"keep\":true}");
    EXPECT_TRUE(doc.fromFile(dir.filePath("good.json")));
    EXPECT_EQ(compact(doc), "{\"z\":1,\"a\":[true]}");
}

TEST(JsonDocumentText, IndentedFormUsesFourSpacesAndKeepsMemberOrder)
{
    const JsonDocument doc(QStringLiteral(
        "{\"z\":1,\"a\":{\"y\":[1,{\"k\":null}],\"b\":{}},\"e\":[],\"t\":true,\"f\":false,\"s\":\"x\"}"));
    EXPECT_EQ(doc.toString(),
              "{\n"
              "    \"z\": 1,\n"
              "    \"a\": {\n"
              "        \"y\": [\n"
              "            1,\n"
              "            {\n"
              "                \"k\": null\n"
              "            }\n"
              "        ],\n"
              "        \"b\": {}\n"
              "    },\n"
              "    \"e\": [],\n"
              "    \"t\": true,\n"
              "    \"f\": false,\n"
              "    \"s\": \"x\"\n"
              "}");
    EXPECT_EQ(doc.toString({"a", "y"}), "[\n    1,\n    {\n        \"k\": null\n    }\n]");
    EXPECT_EQ(doc.toString({"s"}), "\"x\"");
    EXPECT_EQ(doc.toString({"a", "missing"}), QString());
}

TEST(JsonDocumentText, NumbersStringsAndArrayEntriesHaveExactCompactForms)
{
    EXPECT_EQ(compact(JsonDocument(QStringLiteral(
                  "[1.0, -0.0, 2.5, -7, 0.1, 1e20, 123456789012, 3.141592653589793, 1e-7, 2147483648]"))),
              "[1,0,2.5,-7,0.1,1e+20,123456789012,3.141592653589793,1e-07,2147483648]");

    const QString value = QStringLiteral("a\"b\\c\nd\te\x01 ") + QString::fromUtf8("宫保鸡丁");
    JsonDocument doc;
    ASSERT_TRUE(doc.setString({"k\"ey"}, value));
    EXPECT_EQ(compact(doc), QString::fromUtf8("{\"k\\\"ey\":\"a\\\"b\\\\c\\nd\\te\\u0001 宫保鸡丁\"}"));
    EXPECT_EQ(JsonDocument(compact(doc)).getString({"k\"ey"}), value);
    // Half a surrogate pair, as Qt's writer leaves a cut emoji, reads as U+FFFD, and a NUL, which would end
    // the C string, is dropped alone; pairs and "\\u" stay.
    EXPECT_EQ(compact(JsonDocument(QStringLiteral(R"(["\ud83d","x\uDC00","\ud83d\ude00","\\ud83d","\ud83d\u0041","A\u0000B"])"))),
              QString::fromUtf8(R"(["�","x�","😀","\\ud83d","�A","AB"])"));

    const JsonDocument list(QStringLiteral("{\"list\":[{\"a\": 1, \"b\": [2]}, \"s\", 3], \"o\": {}}"));
    EXPECT_EQ(list.array({"list"}), (QStringList{"{\"a\":1,\"b\":[2]}", "\"s\"", "3"}));
    EXPECT_TRUE(list.array({"o"}).isEmpty());
    EXPECT_EQ(JsonDocument::nodeToString(list.root()), "{\"list\":[{\"a\":1,\"b\":[2]},\"s\",3],\"o\":{}}");
    EXPECT_EQ(JsonDocument::nodeToString(nullptr), QString());
}

TEST(JsonDocumentChange, ReplacedMembersKeepTheirPlaceNewOnesAppendAndPathsAreCreated)
{
    JsonDocument doc(QStringLiteral("{\"a\":1,\"b\":{\"c\":2,\"d\":3},\"e\":4}"));
    EXPECT_TRUE(doc.addNode(QStringLiteral("{\"x\":true}"), {"a"}));
    EXPECT_TRUE(doc.removeNode({"e"}));
    EXPECT_TRUE(doc.removeNode({"b", "c"}));
    EXPECT_TRUE(doc.addNode(QStringLiteral("{\"width\":\"80mm\"}"), {"print", "printers", "3"}));
    EXPECT_TRUE(doc.setInt({"b", "g"}, 6));
    EXPECT_TRUE(doc.addObjArray({"{\"filename\":\"a\"}", "{\"filename\":\"b\"}"}, {"resources"}));
    EXPECT_TRUE(doc.addObjArray({}, {"empty"}));
    EXPECT_EQ(compact(doc), "{\"a\":{\"x\":true},\"b\":{\"d\":3,\"g\":6},\"print\":{\"printers\":{\"3\":{\"width\":\"80mm\"}}},"
                            "\"resources\":[{\"filename\":\"a\"},{\"filename\":\"b\"}],\"empty\":[]}");
    EXPECT_TRUE(doc.addNode(QStringLiteral("{\"b\":2}"), {}));
    EXPECT_EQ(compact(doc), "{\"b\":2}");
}

TEST(JsonDocumentChange, FailsWithoutChangeOnBadTextMissingPathsOrNonObjectsOnTheWay)
{
    JsonDocument doc(QStringLiteral("{\"a\":{\"n\":5},\"l\":[1]}"));
    const QString before = compact(doc);
    EXPECT_FALSE(doc.addNode(QStringLiteral("{bad"), {"a", "b"}));
    EXPECT_FALSE(doc.addNode(QStringLiteral("1"), {"a", "n", "deeper", "still"}));
    EXPECT_FALSE(doc.addNode(QStringLiteral("1"), {"l", "0"}));
    EXPECT_FALSE(doc.setString({"a", "n", "x"}, QStringLiteral("v")));
    EXPECT_FALSE(doc.addObjArray({"{\"filename\":\"c\"}", "{broken"}, {"l"}));
    EXPECT_FALSE(doc.removeNode({"x"}));
    EXPECT_FALSE(doc.removeNode({"a", "n", "c"}));
    EXPECT_FALSE(doc.removeNode({}));
    EXPECT_EQ(compact(doc), before);
}

TEST(JsonDocumentQuery, ChildrenNamesAndNodeExistFollowDocumentOrderAndCase)
{
    const JsonDocument doc(QStringLiteral("{\"profiles\":{\"3\":{},\"1\":{},\"2\":{}},\"Basis\":1,\"list\":[1]}"));
    EXPECT_EQ(doc.childrenNames({"profiles"}), (QStringList{"3", "1", "2"}));
    EXPECT_EQ(doc.childrenNames({}), (QStringList{"profiles", "Basis", "list"}));
    EXPECT_TRUE(doc.childrenNames({"list"}).isEmpty());
    EXPECT_TRUE(doc.nodeExist({"profiles", "1"}));
    EXPECT_FALSE(doc.nodeExist({"basis"}));  // keys match case-sensitively
    EXPECT_FALSE(doc.nodeExist({"profiles", "4"}));
}

TEST(JsonDocumentValues, GettersGiveDefaultForMissingOrOtherTypeAndIntsTruncateAndClamp)
{
    const JsonDocument doc(QStringLiteral(
        "{\"s\":\"text\",\"i\":7,\"b\":true,\"n\":null,\"o\":{},\"l\":[\"a\",1,null,\"b\"],"
        "\"p\":2.9,\"m\":-2.9,\"big\":1e30,\"small\":-1e30}"));
    EXPECT_EQ(doc.getString({"s"}), "text");
    EXPECT_EQ(doc.getString({"i"}, QStringLiteral("dflt")), "dflt");
    EXPECT_EQ(doc.getString({"missing"}, QStringLiteral("dflt")), "dflt");
    EXPECT_EQ(doc.getInt({"i"}), 7);
    EXPECT_EQ(doc.getInt({"s"}, -1), -1);
    EXPECT_EQ(doc.getInt({"b"}, -1), -1);
    EXPECT_EQ(doc.getInt({"o", "deeper"}, 3), 3);
    EXPECT_TRUE(doc.getBool({"b"}));
    EXPECT_TRUE(doc.getBool({"i"}, true));
    EXPECT_FALSE(doc.getBool({"n"}));
    EXPECT_EQ(doc.getStringList({"l"}), (QStringList{"a", "b"}));
    EXPECT_TRUE(doc.getStringList({"s"}).isEmpty());
    EXPECT_EQ(doc.getInt({"p"}), 2);
    EXPECT_EQ(doc.getInt({"m"}), -2);
    EXPECT_EQ(doc.getInt({"big"}), INT_MAX);
    EXPECT_EQ(doc.getInt({"small"}), INT_MIN);
}

TEST(JsonDocumentValues, SettersCreatePathsAndReplaceOtherTypes)
{
    JsonDocument doc(QStringLiteral("{\"window_info\":{\"x\":\"left\"}}"));
    EXPECT_TRUE(doc.setInt({"window_info", "x"}, 620));
    EXPECT_TRUE(doc.setBool({"window_info", "maximize"}, false));
    EXPECT_TRUE(doc.setString({"general", "printerSettingsMode"}, QStringLiteral("basis")));
    EXPECT_TRUE(doc.setStringList({"restaurantNames"}, {"甲", "b"}));
    EXPECT_EQ(compact(doc), QString::fromUtf8("{\"window_info\":{\"x\":620,\"maximize\":false},"
                                              "\"general\":{\"printerSettingsMode\":\"basis\"},"
                                              "\"restaurantNames\":[\"甲\",\"b\"]}"));
}

TEST(JsonDocumentValues, TransformStringsChangesValuesNotKeys)
{
    JsonDocument doc(QStringLiteral("{\"k\":\"v\",\"n\":1,\"o\":{\"k\":[\"v\",{\"k\":\"longer value\"}]}}"));
    doc.transformStrings([](const QString& s) { return s.toUpper() + QStringLiteral("!"); });
    EXPECT_EQ(compact(doc), "{\"k\":\"V!\",\"n\":1,\"o\":{\"k\":[\"V!\",{\"k\":\"LONGER VALUE!\"}]}}");
}

TEST(JsonDocumentCopy, CopiesAreDeepAndMovedFromReadsAsEmptyAndUsable)
{
    JsonDocument original(QStringLiteral("{\"a\":{\"b\":1}}"));
    JsonDocument copy(original);
    ASSERT_TRUE(copy.setInt({"a", "b"}, 2));
    EXPECT_EQ(original.getInt({"a", "b"}), 1);

    JsonDocument moved(std::move(copy));
    EXPECT_EQ(moved.getInt({"a", "b"}), 2);
    EXPECT_EQ(copy.toString(), "{}");  // NOLINT(bugprone-use-after-move): the moved-from state is specified
    EXPECT_TRUE(copy.setInt({"again"}, 1));
    EXPECT_EQ(compact(copy), "{\"again\":1}");

    JsonDocument target(QStringLiteral("{\"old\":1}"));
    target = std::move(moved);
    EXPECT_EQ(compact(target), "{\"a\":{\"b\":2}}");
    EXPECT_EQ(compact(moved), "{}");  // NOLINT(bugprone-use-after-move)
}
