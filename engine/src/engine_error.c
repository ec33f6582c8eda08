/* Descriptions of the engine's result codes, for messages to people. */
#include "receipt_engine/receipt_engine.h"

const char *engine_error_text(EngineError code)
{
    switch (code) {
    case ENGINE_OK: return "success";
    case ENGINE_ERROR_RENDER: return "a line could not be rendered";
    case ENGINE_ERROR_INVALID_INPUT: return "missing input or incomplete document";
    case ENGINE_ERROR_ORDER_OBJECT: return "no order object";
    case ENGINE_ERROR_NO_MEMORY: return "out of memory or receipt too large";
    case ENGINE_ERROR_INPUT_TOO_LARGE: return "input text longer than the 32 MiB limit";
    case ENGINE_ERROR_RESTAURANT_JSON: return "restaurant JSON does not parse";
    case ENGINE_ERROR_ORDER_JSON: return "order JSON does not parse";
    case ENGINE_ERROR_SETTINGS_JSON: return "print-settings JSON does not parse";
    case ENGINE_ERROR_SUMMARY_JSON: return "summary JSON does not parse";
    case ENGINE_ERROR_GENERAL_SECTION: return "no \"general\" section";
    case ENGINE_ERROR_CONSIGNEE_SECTION: return "no consignee section";
    case ENGINE_ERROR_DETAIL_SECTION: return "no \"detail\" or \"accounting\" section";
    case ENGINE_ERROR_GROUP_SECTION: return "no item group";
    case ENGINE_ERROR_ITEM_SECTION: return "no item";
    case ENGINE_ERROR_PAPER_WIDTH: return "paper width is not 58mm or 80mm";
    case ENGINE_ERROR_PRINT_STYLE: return "print style is not normal or small";
    case ENGINE_ERROR_DIGEST_SECTION: return "no summary \"digest\" section";
    case ENGINE_ERROR_SUMMARY_ORDERS: return "no summary \"items\" list";
    default: return "unknown error";
    }
}
