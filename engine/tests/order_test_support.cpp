#include "order_test_support.h"

namespace engine_test {

const char kRestaurant[] = R"({"name":"蜀香阁"})";
const char kSettings58[] =
    R"({"width":"58mm","style":"normal","lines_between_copies":"middle","number_of_copies":1,"isPrintBarcodeEnabled":false})";

ParsedOrder::ParsedOrder(Kind kind, const std::string& order, const char* settings, const char* restaurant)
{
    code = kind == Online ? parse_online_order(&document, restaurant, order.c_str(), settings)
                          : parse_local_order(&document, restaurant, order.c_str(), settings);
}

const ItemGroup* ParsedOrder::group(int index) const
{
    const ItemGroup* group =
        document && document->order && document->order->detail ? document->order->detail->groups : nullptr;
    for (; group && index > 0; index--)
        group = group->next;
    return group;
}

std::vector<std::string> itemNames(const OrderItem* items)
{
    std::vector<std::string> names;
    for (const OrderItem* item = items; item; item = item->next)
        names.push_back(item->name ? item->name : "(null)");
    return names;
}

}  // namespace engine_test
