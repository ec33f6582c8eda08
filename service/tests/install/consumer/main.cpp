// A client of the installed library: formats one dine-in order.
#include <service_business/print_cmd_formater.h>

#include <cstdio>

int main()
{
    const QString restaurant = QStringLiteral(R"({"id":1,"name":"Client Test Kitchen"})");
    const QString order = QStringLiteral(R"({"id":"1001","general":{"localOrderType":"dine","daySn":3,"createdTime":0},
        "table":{"number":"A1","peopleCount":2},
        "detail":{"groups":[{"name":"Mains","type":"normal","items":[{"name":"Rice","price":2,"quantity":1}]}],
                  "accounting":{"receivable":2,"discount":0,"receipt":2}}})");
    utility_business::SummaryPrintSettings settings;
    const QByteArray bytes = service_business::print_cmd_formater::formatOrder(
        restaurant, order, utility_business::utility_enum::ORDER_DINE, settings);
    std::printf("receipt bytes: %d\n", static_cast<int>(bytes.size()));
    return bytes.isEmpty() ? 1 : 0;
}
