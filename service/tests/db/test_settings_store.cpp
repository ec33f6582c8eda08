// The settings store as data: each case of settings_cases.json starts from a home of real files, runs its
// steps against the store and checks what every step returns, logs first and leaves on disk, file by file
// and character for character. Values are compared as JSON, records through their own toJson().
#include "store_fixture.h"

#include "json_document_p.h"

#include "service_business/data_checker.h"
#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"
#include "service_business/json_db_updater.h"

#include "utility_business/log.h"

#include <cjson/cJSON.h>

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <functional>

using namespace utility_business;
using service_business::json_db::JsonDB;
namespace dc = service_business::data_manage::data_checker;

namespace {

QJsonObject g_cases;  // settings_cases.json

QJsonValue parsed(const QString& text) { return QJsonDocument::fromJson(('[' + text + ']').toUtf8()).array().at(0); }
QString compact(const QJsonValue& value) { return QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact).mid(1).chopped(1); }

QJsonValue value(bool b) { return b; }
QJsonValue value(int i) { return i; }
QJsonValue value(const QString& s) { return s; }
QJsonValue value(utility_enum::PrinterSettingsMode mode) { return int(mode); }
template <typename R>
QJsonValue value(const R& record) { return parsed(record.toJson()); }
template <typename R>
QJsonValue value(const QList<R>& items)
{
    QJsonArray array;
    for (const R& item : items) array << value(item);
    return array;
}
template <typename R>
QJsonValue value(const QMap<int, R>& items)
{
    QJsonObject object;
    for (auto it = items.begin(); it != items.end(); ++it) object[QString::number(it.key())] = value(it.value());
    return object;
}
template <typename R>
R record(const QJsonValue& v) { return R::fromJson(compact(v)); }

#define S(i) a[i].toString()
#define I(i) a[i].toInt()
#define R(T, i) record<T>(a[i])
#define UPDATE(name, ...) {#name, [](const QJsonArray& a) { Q_UNUSED(a); return value(JsonDB::updater()->name(__VA_ARGS__)); }}
#define BROWSE(name, ...) {#name, [](const QJsonArray& a) { Q_UNUSED(a); return value(JsonDB::browser()->name(__VA_ARGS__)); }}

const QMap<QString, std::function<QJsonValue(const QJsonArray&)>> kCalls = {
    UPDATE(addPrinter, R(PrinterInfo, 0)), UPDATE(removePrinter, I(0)), UPDATE(updatePrinterWidth, I(0), S(1)),
    UPDATE(enablePrinter, I(0), I(1), R(PrinterSettings, 2)), UPDATE(disablePrinter, I(0), I(1)),
    UPDATE(updatePrintCopies, I(0), I(1), R(PrintCopies, 2)), UPDATE(setBasisPrinterSettings, I(0), R(PrintCopies, 1)),
    UPDATE(setPrinterSettingsMode, I(0), utility_enum::PrinterSettingsMode(I(1))),
    UPDATE(setPrinterGlobalSettings, R(GlobalPrintSettings, 0)), UPDATE(setCurrentTone, R(ToneInfo, 0)),
    UPDATE(setSN, S(0)), UPDATE(setEnvSettings, S(0), S(1)), UPDATE(updateUserConfig, I(0), R(UserConfig, 1)),
    UPDATE(updateWindowInfo, I(0), R(WindowInfo, 1)), UPDATE(updateProfile, I(0), R(ProfileInfo, 1)),
    UPDATE(addProfile, R(ProfileInfo, 0)), UPDATE(removeProfile, I(0)), UPDATE(reloadBasisSetting),
    UPDATE(saveAppSetting), UPDATE(saveProfileSetting, I(0)),
    {"saveJsonFile", [](const QJsonArray& a) {
         return value(JsonDB::updater()->saveJsonFile(kelmoPathInfo().appdataDir() + '/' + S(0), S(1)));
     }},
    BROWSE(apiUrl, S(0)), BROWSE(startUrl), BROWSE(settingVersion), BROWSE(sn), BROWSE(getEnvSettings, S(0)),
    BROWSE(allTones), BROWSE(currentTone), BROWSE(proxyServersInfo), BROWSE(resourceFilesInfo), BROWSE(profilesMap),
    BROWSE(profileName, I(0)), BROWSE(profileInfo, I(0)), BROWSE(userConfig, I(0)), BROWSE(hasAppLaunchAtStartUp),
    BROWSE(windowInfo, I(0)), BROWSE(printerSettingsMode, I(0)), BROWSE(basisPrinterSettings, I(0)),
    BROWSE(printSettings, I(0), I(1)), BROWSE(printCopies, I(0), I(1)), BROWSE(enabledPrintCopies, I(0)),
    BROWSE(enabledPrinterList, I(0)), BROWSE(printerList), BROWSE(printerInfo, I(0)),
    BROWSE(printerCommonInfoList), BROWSE(globalPrintSettings),
    {"checkSettings", [](const QJsonArray&) { return value(dc::checkSettings()); }},
    {"checkResourceFiles", [](const QJsonArray&) { return value(dc::checkResourceFiles()); }},
};

// Every save fails at its write, as on a full disk.
ssize_t failingWrite(int, const void*, size_t)
{
    errno = ENOSPC;
    return -1;
}
const json_save::FileOps kFullDisk = {failingWrite, ::fsync};

}  // namespace

class SettingsStore : public test_support::StoreHomeTest, public ::testing::WithParamInterface<QString> {
protected:
    void TearDown() override
    {
        json_save::setFileOpsForTesting(nullptr);
        StoreHomeTest::TearDown();
    }
    // A file's text: a string, or its lines ending in a line feed each; "@factory" is the factory file.
    static QString text(const QString& name, const QJsonValue& v)
    {
        if (v.toString() == QLatin1String("@factory")) return factoryText(QFileInfo(name).fileName());
        if (!v.isArray()) return v.toString();
        QString joined;
        for (const QJsonValue& line : v.toArray()) joined += line.toString() + '\n';
        return joined;
    }
    // Writes each file; null removes it, and a shared home is named by its key in "homes".
    void write(const QJsonValue& files) const
    {
        const QJsonObject object = files.isString() ? g_cases["homes"].toObject()[files.toString()].toObject() : files.toObject();
        for (auto it = object.begin(); it != object.end(); ++it) {
            if (it.value().isNull())
                QFile::remove(appdataPath(it.key()));
            else
                writeFile(appdataPath(it.key()), text(it.key(), it.value()));
        }
    }
    // "name": exact text, or null for no such file; "dir/": the entry names; "pattern*": the texts in name order.
    void expectFiles(const QJsonObject& files, const std::string& where) const
    {
        for (auto it = files.begin(); it != files.end(); ++it) {
            const QString path = appdataPath(it.key());
            const QFileInfo info(path);
            if (it.value().isNull()) {
                EXPECT_FALSE(info.exists()) << where << it.key().toStdString();
            } else if (it.key().endsWith('/')) {
                QStringList expected;
                for (const QJsonValue& name : it.value().toArray()) expected << name.toString();
                EXPECT_EQ(QDir(path).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden, QDir::Name),
                          expected) << where << it.key().toStdString();
            } else if (it.key().contains('*')) {
                QStringList expected, actual;
                for (const QJsonValue& v : it.value().toArray()) expected << text(it.key(), v);
                for (const QString& name : info.dir().entryList({info.fileName()}, QDir::Files | QDir::Hidden, QDir::Name))
                    actual << textOf(info.dir().filePath(name));
                EXPECT_EQ(actual, expected) << where << it.key().toStdString();
            } else {
                EXPECT_EQ(textOf(path), text(it.key(), it.value())) << where << it.key().toStdString();
            }
        }
    }
};

TEST_P(SettingsStore, StepsGiveTheirResultsLogsAndFiles)
{
    const QJsonObject c = g_cases["cases"].toObject()[GetParam()].toObject();
    write(c["home"]);
    write(c["also"]);
    int number = 0;
    for (const QJsonValue& v : c["steps"].toArray()) {
        const QJsonObject step = v.toObject();
        const std::string where = QStringLiteral("step %1 (%2): ").arg(++number).arg(step["call"].toString()).toStdString();
        if (step.contains("write")) write(step["write"]);
        if (step["reset"].toBool()) service_business::json_db::resetJsonDBForTests();
        if (step.contains("package")) usePackage(QStringLiteral(SB_TEST_PACKAGE_DIR));
        if (step.contains("fullDisk")) json_save::setFileOpsForTesting(step["fullDisk"].toBool() ? &kFullDisk : nullptr);
        if (step.contains("call")) {
            ASSERT_TRUE(kCalls.contains(step["call"].toString())) << where;
            JsonDB::db();  // loaded first, so that the capture holds only what the call logs
            log::Capture capture;
            const QJsonValue result = kCalls[step["call"].toString()](step["args"].toArray());
            if (step.contains("result")) {
                EXPECT_EQ(compact(result), compact(step["result"])) << where;
            }
            if (step.contains("log")) {
                ASSERT_FALSE(capture.records().empty()) << where;
                EXPECT_EQ(capture.records()[0].text, step["log"].toString().toStdString()) << where;
            }
            for (const QJsonValue& expected : step["logs"].toArray())
                EXPECT_TRUE(capture.containsText(expected.toString().toStdString())) << where << expected.toString().toStdString();
        }
        expectFiles(step["files"].toObject(), where);
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, SettingsStore, ::testing::ValuesIn([] {
                             QFile file(QStringLiteral(SB_STORE_CASES));
                             if (file.open(QIODevice::ReadOnly)) g_cases = QJsonDocument::fromJson(file.readAll()).object();
                             const QStringList names = g_cases["cases"].toObject().keys();
                             return std::vector<QString>(names.begin(), names.end());
                         }()),
                         [](const auto& info) { return info.param.toStdString(); });

namespace {
int g_allocations = 0;
int g_failingAllocation = -1;
void* countingMalloc(size_t size) { return g_allocations++ == g_failingAllocation ? nullptr : std::malloc(size); }
}  // namespace

using SettingsStoreOutOfMemory = test_support::StoreHomeTest;

// Each allocation of the JSON trees fails in turn: an add stores the whole profile or none of it.
TEST_F(SettingsStoreOutOfMemory, AddProfileStoresAllOrNothing)
{
    ProfileInfo info;
    info.username = QStringLiteral("carol");
    cJSON_Hooks failing{countingMalloc, std::free};
    for (g_failingAllocation = 0;; ++g_failingAllocation) {
        service_business::json_db::resetJsonDBForTests();
        writeFactoryFiles();
        ASSERT_TRUE(QDir(appdataPath("Profiles")).removeRecursively());
        JsonDB::db();
        g_allocations = 0;
        cJSON_InitHooks(&failing);
        const int id = JsonDB::updater()->addProfile(info);
        cJSON_InitHooks(nullptr);
        if (g_allocations <= g_failingAllocation) {
            EXPECT_EQ(id, 1) << "no allocation failed";
            break;
        }
        // When the defaults cannot be built the id is told although nothing is stored.
        EXPECT_TRUE(id == -1 || id == 1) << id << " at allocation " << g_failingAllocation;
        if (JsonDB::browser()->profilesMap().contains(1)) {
            EXPECT_EQ(id, 1);
            EXPECT_TRUE(textOf(appdataPath("Profiles/1/Settings-Local.json")).contains("carol"));
            EXPECT_TRUE(textOf(appdataPath("Settings-App.json")).contains("carol"));
            EXPECT_TRUE(QFileInfo::exists(appdataPath("Profiles/1/Settings-Runtime.json")));
        } else {
            EXPECT_EQ(textOf(appdataPath("Settings-App.json")), factoryText("Settings-App.json")) << g_failingAllocation;
        }
        if (HasFailure()) break;
    }
}
