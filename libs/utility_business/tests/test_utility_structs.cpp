// Every shared record against its golden JSON in records/: TYPE.json reads and writes back byte for byte,
// TYPE.default.json is what a default record and any unreadable text give; reads.json holds odd inputs.
#include "utility_business/utility_structs.h"

#include "ub_cases.h"

#include <functional>

using namespace utility_business;

namespace {

struct Record {
    std::string name;
    std::function<QString(const QString&)> readWrite;  // fromJson, then toJson
    std::function<QString()> defaults;
};

void PrintTo(const Record& record, std::ostream* out) { *out << record.name; }

template <class R>
Record record(const char* name)
{
    return {name, [](const QString& text) { return R::fromJson(text).toJson(); }, [] { return R().toJson(); }};
}

const std::vector<Record> kRecords = {
    record<PrinterInfo>("PrinterInfo"), record<PrintCopies>("PrintCopies"), record<PrinterSettings>("PrinterSettings"),
    record<GlobalPrintSettings>("GlobalPrintSettings"), record<SummaryPrintSettings>("SummaryPrintSettings"),
    record<PrinterProperties>("PrinterProperties"), record<ProfileInfo>("ProfileInfo"), record<UserConfig>("UserConfig"),
    record<WindowInfo>("WindowInfo"), record<ToneInfo>("ToneInfo"), record<ProxyServerInfo>("ProxyServerInfo"),
    record<ResourceFileInfo>("ResourceFileInfo")};

QString golden(const std::string& name)
{
    QFile file(QStringLiteral(UB_RECORDS_DIR "/%1.json").arg(QString::fromStdString(name)));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QStringLiteral("<missing>");
}

class RecordJson : public ::testing::TestWithParam<Record> {};
INSTANTIATE_TEST_SUITE_P(Records, RecordJson, ::testing::ValuesIn(kRecords),
                         [](const ::testing::TestParamInfo<Record>& info) { return info.param.name; });

TEST_P(RecordJson, ReadsAndWritesItsGoldenTextByteForByte)
{
    EXPECT_EQ(GetParam().readWrite(golden(GetParam().name)), golden(GetParam().name));
}

TEST_P(RecordJson, DefaultRecordAndUnreadableTextGiveTheGoldenDefaults)
{
    const QString defaults = golden(GetParam().name + ".default");
    EXPECT_EQ(GetParam().defaults(), defaults);
    for (const QString& text : {QString(), QStringLiteral("{\"id\":"), QStringLiteral("[1,2]"), QStringLiteral("\"x\"")})
        EXPECT_EQ(GetParam().readWrite(text), defaults) << text.toStdString();
}

TEST_P(RecordJson, OddInputsInReadsJsonGiveTheTabledText)
{
    for (const QJsonValue& row : tableRows(QStringLiteral(UB_RECORDS_DIR "/reads.json"))) {
        const QString in = row[QStringLiteral("in")].toString(), out = row[QStringLiteral("out")].toString();
        EXPECT_EQ(row[QStringLiteral("type")].toString().toStdString() == GetParam().name ? GetParam().readWrite(in) : out, out);
    }
}

TEST(RecordRead, ProxyHostFillsTheAddressAndSettingsGiveTheirCopies)
{
    EXPECT_EQ(ProxyServerInfo::fromJson(golden("ProxyServerInfo")).address, "10.0.0.1");
    EXPECT_EQ(PrinterSettings::fromJson(golden("PrinterSettings")).copies().toJson(), golden("PrintCopies"));
}

}  // namespace
