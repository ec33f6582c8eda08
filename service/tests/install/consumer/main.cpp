// A client of the installed library: it includes every installed header and calls functions of each, so
// that a header whose functions the library does not export fails to link here. Runs in a home of its own
// (SERVICE_BUSINESS_HOME) with no bus broker.
#include <common/common.h>
#include <service_business/data_checker.h>
#include <service_business/export.h>
#include <service_business/json_db.h>
#include <service_business/json_db_browser.h>
#include <service_business/json_db_updater.h>
#include <service_business/notifications.h>
#include <service_business/os_printer_manager.h>
#include <service_business/print_cmd_formater.h>
#include <service_business/print_manager.h>
#include <service_business/printer.h>
#include <service_business/printer_manager.h>
#include <service_business/printer_status.h>
#include <service_business/profile.h>
#include <service_business/profile_manager.h>
#include <service_business/proxy_config.h>
#include <service_business/sender.h>
#include <service_business/sync_data.h>
#include <service_business/translator.h>
#include <systemif/print.h>
#include <url_transporter/downloader_req_info.h>
#include <utility_business/config.h>
#include <utility_business/ipc_define.h>
#include <utility_business/json_document.h>
#include <utility_business/kelmo_path_info.h>
#include <utility_business/log.h>
#include <utility_business/message_json.h>
#include <utility_business/process.h>
#include <utility_business/utility_enum.h>
#include <utility_business/utility_structs.h>

#include <cstdio>

using namespace service_business;

namespace {

int g_failures = 0;

void check(bool ok, const char* what)
{
    if (!ok) {
        std::printf("failed: %s\n", what);
        ++g_failures;
    }
}

}  // namespace

int main()
{
    // The store and the profiles.
    check(data_manage::data_checker::checkSettings(), "checkSettings");
    check(json_db::JsonDB::updater()->setEnvSettings(QStringLiteral("channel"), QStringLiteral("beta")), "setEnvSettings");
    check(json_db::JsonDB::browser()->getEnvSettings(QStringLiteral("channel")) == QLatin1String("beta"), "getEnvSettings");
    check(json_db::JsonDB::appDocument()->nodeExist({QStringLiteral("profiles")}), "appDocument");
    utility_business::ProfileInfo shop;
    shop.username = QStringLiteral("client");
    const auto profile = ProfileManager::addProfile(shop);
    check(profile && ProfileManager::profileList().size() == 1, "addProfile");
    check(profile && profile->setWindowInfo(utility_business::WindowInfo()), "Profile::setWindowInfo");
    check(PrinterManager::enabledPrinterInfoList(profile ? profile->id() : 0).isEmpty(), "enabledPrinterInfoList");
    check(!data_manage::sync_data::downloadAppSetting(), "downloadAppSetting (switched off)");
    check(data_manage::sync_data::downloadJson(nullptr).isEmpty(), "downloadJson");
    const transporter::DownloaderReqInfo request(data_manage::sync_data::appSettingUrl(QStringLiteral("https://s")));
    check(!request.url.isEmpty(), "appSettingUrl");

    // Text, records and JSON.
    check(Translator::isInGB2312(u'好') && Translator::toPinyin(u'喆') == u"zhe", "Translator");
    utility_business::JsonDocument doc;
    check(doc.setString({QStringLiteral("a")}, QStringLiteral("b")) && doc.toCompactString() == "{\"a\":\"b\"}",
          "JsonDocument");
    check(!utility_business::PrinterInfo().toJson().isEmpty(), "PrinterInfo::toJson");
    check(!utility_business::MessageJson(QStringLiteral("x")).toString().isEmpty(), "MessageJson");
    check(utility_business::ipc_define::PublishMsg::fromString(
              utility_business::ipc_define::PublishMsg(QStringLiteral("n"), QStringLiteral("t")).toString())
              .has_value(),
          "PublishMsg");
    check(common::func::joinPath(utility_business::kelmoPathInfo().appdataDir(), QStringLiteral("x")).endsWith("/x"),
          "kelmoPathInfo");
    utility_business::log::NormalLog("info", "client", __LINE__) << "installed client";
    check(utility_business::Config::get()->serverSendPort() > 0, "Config");
    (void)utility_business::process::hasKelmoAppRunning();

    // Printing: formatting and the print paths, without a printer.
    const QString restaurant = QStringLiteral(R"({"id":1,"name":"Client Test Kitchen"})");
    const QString order = QStringLiteral(R"({"id":"1001","general":{"localOrderType":"dine","daySn":3,"createdTime":0},
        "table":{"number":"A1","peopleCount":2},
        "detail":{"groups":[{"name":"Mains","type":"normal","items":[{"name":"Rice","price":2,"quantity":1}]}],
                  "accounting":{"receivable":2,"discount":0,"receipt":2}}})");
    const QByteArray bytes = print_cmd_formater::formatOrder(restaurant, order, utility_business::utility_enum::ORDER_DINE,
                                                             utility_business::SummaryPrintSettings());
    check(!bytes.isEmpty(), "formatOrder");
    check(Printer::buildDocument(bytes).size() > 0, "buildDocument");
    (void)OsPrinterManager::availableOSPrinterList();
    (void)PrinterManager::printerInfoList();
    check(PrinterStatus::stateName(PrinterManager::printerStatus(7).state) == QStringLiteral("unknown"),
          "PrinterStatus before any read");
    // Started on their own threads or waiting for printers: linked, not run here.
    void (*const printOrder)(const utility_business::PrinterInfo&, const QByteArray&, const std::function<void(bool)>&) =
        &PrintManager::printOrder;
    check(printOrder != nullptr, "PrintManager::printOrder");
    check(!ProxyConfig::needSetProxy(), "ProxyConfig (switched off)");

    // The bus, with no broker: each notification gives up within its limit.
    check(!Sender::publishData(1, utility_business::ipc_define::PublishMsg(QStringLiteral("n"), QStringLiteral("t")), 100),
          "Sender without a broker");
    utility::printOrderCallBack(1, QStringLiteral("done"), true);
    check(utility::closeApp(42), "closeApp of an unknown profile");

    std::printf("installed client: %d failures, receipt bytes: %d\n", g_failures, static_cast<int>(bytes.size()));
    return g_failures == 0 ? 0 : 1;
}
