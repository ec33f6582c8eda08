// The formatter over the real receipt engine: a customer's remark can no longer open the drawer or cut
// the paper, and the rest of the receipt is what the engine makes of the cleaned order.
#include "service_business/print_cmd_formater.h"

#include <gtest/gtest.h>

using namespace service_business::print_cmd_formater;
using namespace utility_business;

namespace {

const QString kRestaurant = QStringLiteral(R"({"id": 7, "name": "Golden Wok", "phone": "020-5550100", "address": "1 Harbour Road"})");

QString onlineOrder(const QString& remark)
{
    return QStringLiteral(R"({"id": "100234", "general": {"daySn": 12, "createdTime": 1700000000, "payment": "online",)"
                          R"( "remark": "%1"},)"
                          R"( "consignee": {"name": "Li", "phones": ["13800000000"], "address": "9 Pine Street"},)"
                          R"( "detail": {"groups": [{"name": "Basket 1", "type": "normal",)"
                          R"( "items": [{"name": "Fried rice", "price": 12.5, "quantity": 2}]}],)"
                          R"( "accounting": {"receivable": 25, "discount": 0, "receipt": 25}}})")
        .arg(remark);
}

SummaryPrintSettings settings()
{
    SummaryPrintSettings s;
    s.lines_between_copies = QStringLiteral("small");
    return s;
}

}  // namespace

TEST(FormatterWithEngine, PrintsRemarkWithoutDrawerOrCutCommands)
{
    // ESC p 0 25 250 pulses the drawer and GS V 1 cuts the paper; as JSON escapes and raw.
    const QString injected = QStringLiteral("no\\u001bp0\\u0019\\u00fa ice") + QChar(0x1d) + QStringLiteral("V\\u0001");
    const QByteArray dirty = formatOrder(kRestaurant, onlineOrder(injected), utility_enum::ORDER_ONLINE, settings());
    const QByteArray clean = formatOrder(kRestaurant, onlineOrder(QStringLiteral("nop0\u00fa iceV")),
                                         utility_enum::ORDER_ONLINE, settings());

    ASSERT_FALSE(clean.isEmpty());
    EXPECT_TRUE(clean.contains("nop0\xc3\xba iceV"));
    EXPECT_FALSE(dirty.contains("\x1bp"));
    EXPECT_EQ(dirty.count("\x1dV"), clean.count("\x1dV")) << "only the engine's own cuts remain";
    EXPECT_EQ(dirty, clean);
}

TEST(FormatterWithEngine, RefusesOrderTypeWithoutLayoutAndIncompleteOrder)
{
    EXPECT_TRUE(formatOrder(kRestaurant, onlineOrder(QStringLiteral("x")), static_cast<utility_enum::OrderType>(3),
                            settings())
                    .isEmpty());
    EXPECT_TRUE(formatOrder(kRestaurant, QStringLiteral(R"({"id": "1"})"), utility_enum::ORDER_ONLINE, settings()).isEmpty());
}
