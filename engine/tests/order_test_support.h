#pragma once
// Order documents parsed from small texts for the parser and layout tests.

#include "order_parser_p.h"

#include <string>
#include <vector>

namespace engine_test {

extern const char kRestaurant[];  // a restaurant with a name
extern const char kSettings58[];  // complete settings: 58mm, normal, middle, one copy, no barcode

// A parsed order document, destroyed with the test.
struct ParsedOrder {
    enum Kind { Online, Local };
    ParsedOrder(Kind kind, const std::string& order, const char* settings = kSettings58,
                const char* restaurant = kRestaurant);
    ~ParsedOrder() { destroy_order_document(&document); }
    ParsedOrder(const ParsedOrder&) = delete;
    ParsedOrder& operator=(const ParsedOrder&) = delete;

    const Order* order() const { return document->order; }
    const ItemGroup* group(int index) const;

    OrderDocument* document = nullptr;
    EngineError code = ENGINE_OK;
};

// The names of a list of items, in order.
std::vector<std::string> itemNames(const OrderItem* items);

}  // namespace engine_test
